// The hue, saturation and lightness pass over a 2048 x 2048 image, against a
// plain memcpy of the same bytes measured in the same run. "MP/s" is
// megapixels a second; "xMemcpy" is how many copies fit in one pass, both
// timed by the fastest run on the wall clock (the pass uses every processor),
// so that other programs on a busy machine count as little as they can.
#include "Utilities/KCImageAdjustment.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <random>

namespace {

constexpr int kSide = 2048;
constexpr double kPixels = double(kSide) * kSide;

// Premultiplied pixels of every hue, saturation and alpha, in no order.
const KCBitmapRef& sampleImage()
{
    static const KCBitmapRef image = [] {
        auto bitmap = KCBitmap::create(kSide, kSide);
        std::mt19937 random(11);
        for (size_t at = 0; at < bitmap->byteCount(); at += 4) {
            uint8_t alpha = static_cast<uint8_t>(random());
            for (size_t channel = 0; channel < 3; ++channel)
                bitmap->bytes()[at + channel] = static_cast<uint8_t>(random() % (alpha + 1u));
            bitmap->bytes()[at + 3] = alpha;
        }
        return KCBitmapRef(std::move(bitmap));
    }();
    return image;
}

double wallSeconds()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

// Seconds of the fastest of a few copies of the image's bytes.
double memcpySeconds()
{
    const KCBitmap& image = *sampleImage();
    std::vector<uint8_t> target(image.byteCount());
    double best = 1e9;
    for (int run = 0; run < 20; ++run) {
        double start = wallSeconds();
        std::memcpy(target.data(), image.bytes(), image.byteCount());
        benchmark::DoNotOptimize(target.data());
        benchmark::ClobberMemory();
        best = std::min(best, wallSeconds() - start);
    }
    return best;
}

void BM_AdjustHSL(benchmark::State& state)
{
    const KCBitmapRef& image = sampleImage();
    double copy = memcpySeconds();
    double best = 1e9;
    for (auto _ : state) {
        double start = wallSeconds();
        KCBitmapRef adjusted = ImageCreateFromImageAdjustingHSL(image, 120, 20, -10);
        benchmark::DoNotOptimize(adjusted.get());
        best = std::min(best, wallSeconds() - start);
    }
    state.counters["MP/s"] = benchmark::Counter(kPixels / 1e6, benchmark::Counter::kIsIterationInvariantRate);
    state.counters["xMemcpy"] = best / copy;
}
BENCHMARK(BM_AdjustHSL)->Unit(benchmark::kMillisecond)->MinTime(2);

void BM_Memcpy(benchmark::State& state)
{
    const KCBitmap& image = *sampleImage();
    std::vector<uint8_t> target(image.byteCount());
    for (auto _ : state) {
        std::memcpy(target.data(), image.bytes(), image.byteCount());
        benchmark::DoNotOptimize(target.data());
        benchmark::ClobberMemory();
    }
    state.counters["MP/s"] = benchmark::Counter(kPixels / 1e6, benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(BM_Memcpy)->Unit(benchmark::kMillisecond);

} // namespace
