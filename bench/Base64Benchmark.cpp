// Base64 of a 1 MiB buffer, both ways; the byte rate is of the binary side.
#include "Utilities/KCBase64.h"

#include <benchmark/benchmark.h>

#include <random>

namespace {

constexpr size_t kSize = 1 << 20;

const KCData& sampleData()
{
    static const KCData data = [] {
        KCData made(kSize);
        std::mt19937 random(7);
        for (auto& byte : made)
            byte = static_cast<uint8_t>(random());
        return made;
    }();
    return data;
}

void BM_Encode(benchmark::State& state)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(KCBase64Encoding(sampleData()));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kSize));
}
BENCHMARK(BM_Encode);

void BM_DecodeUTF16(benchmark::State& state)
{
    std::string encoded = KCBase64Encoding(sampleData());
    std::u16string text(encoded.begin(), encoded.end());
    for (auto _ : state)
        benchmark::DoNotOptimize(KCDataWithBase64EncodedString(text));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kSize));
}
BENCHMARK(BM_DecodeUTF16);

void BM_DecodeASCII(benchmark::State& state)
{
    std::string encoded = KCBase64Encoding(sampleData());
    for (auto _ : state)
        benchmark::DoNotOptimize(KCDataWithBase64EncodedString(std::string_view(encoded)));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kSize));
}
BENCHMARK(BM_DecodeASCII);

// Text wrapped at 76 columns, as mail bodies carry it: the careful path at every line end.
void BM_DecodeWrappedLines(benchmark::State& state)
{
    std::string encoded = KCBase64Encoding(sampleData());
    std::u16string text;
    for (size_t at = 0; at < encoded.size(); at += 76) {
        text.append(encoded.begin() + at, encoded.begin() + std::min(at + 76, encoded.size()));
        text += u"\r\n";
    }
    for (auto _ : state)
        benchmark::DoNotOptimize(KCDataWithBase64EncodedString(text));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kSize));
}
BENCHMARK(BM_DecodeWrappedLines);

} // namespace
