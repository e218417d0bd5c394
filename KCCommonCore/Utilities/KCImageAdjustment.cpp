#include "KCImageAdjustment.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <system_error>
#include <thread>
#include <vector>

// The vector helpers below are always inlined, so no call ever passes a wide
// vector across the ABI that GCC warns about.
#pragma GCC diagnostic ignored "-Wpsabi"

// Every helper is inlined into each compiled copy of the pass, so that it runs
// on that copy's vectors.
#define KC_LANE_HELPER __attribute__((always_inline)) inline

// On x86 the pass is compiled twice, for any processor and for those with
// 256-bit vectors, and the loader picks one at start-up.
#if defined(__x86_64__)
#define KC_WIDE_VECTOR_CLONES __attribute__((target_clones("avx2", "default")))
#else
#define KC_WIDE_VECTOR_CLONES
#endif

namespace {

// The pass runs on several pixels at once, lane by lane exactly as one pixel
// would go: the same single-precision operations in the same order, with
// choices made by masks instead of branches.
constexpr size_t kLanes = 8;
typedef float Floats __attribute__((vector_size(kLanes * sizeof(float))));
typedef int32_t Ints __attribute__((vector_size(kLanes * sizeof(int32_t))));

KC_LANE_HELPER Floats splat(float value)
{
    return Floats {} + value;
}

KC_LANE_HELPER Ints splat(int32_t value)
{
    return Ints {} + value;
}

template <typename Vector>
KC_LANE_HELPER Vector pick(Ints mask, Vector ifSet, Vector otherwise)
{
    return mask ? ifSet : otherwise;
}

// byte / 255 in single precision without a division. byte × 2^-8 is exact,
// and byte × (1/255 − 2^-8) errs by far less than the distance from any
// byte / 255 to a half-way point between two floats, so the sum rounds to
// the quotient's own float (all 256 bytes checked).
KC_LANE_HELPER Floats byteFraction(Ints bytes)
{
    Floats x = __builtin_convertvector(bytes, Floats);
    return x * 0x1p-8f + x * 0x1.010102p-16f;
}

struct HSLShift {
    float hue;  // a fraction of a turn, 0 to 1 (or beyond, for shifts beyond a whole turn)
    float saturation;
    float lightness;
};

// The integer part of every lane, and the same as a float. Lanes without a
// fraction to drop (huge, or not a number) keep their value and count as 6,
// past every sector; with ordinary parameters every lane is a small number.
template <bool Ordinary>
KC_LANE_HELPER Ints wholeParts(Floats x, Floats& whole)
{
    if constexpr (Ordinary) {
        Ints truncated = __builtin_convertvector(x, Ints);
        whole = __builtin_convertvector(truncated, Floats);
        return truncated;
    }
    Ints small = (x > -8388608.0f) & (x < 8388608.0f);
    Ints truncated = __builtin_convertvector(pick(small, x, splat(0.0f)), Ints);
    whole = pick(small, __builtin_convertvector(truncated, Floats), x);
    return pick(small, truncated, splat(6));
}

// The integer part of component × 255 kept to its low byte, as a byte store
// keeps it. Beyond 2^31 a float has no bits below 256, so 0 is its low byte;
// a component that is not a number stores 0. Ordinary parameters keep every
// component near 0…1.
template <bool Ordinary>
KC_LANE_HELPER Ints storedBytes(Floats component)
{
    Floats scaled = component * 255.0f;
    if constexpr (Ordinary)
        return __builtin_convertvector(scaled, Ints) & 0xFF;
    Ints inRange = (scaled > -2147483648.0f) & (scaled < 2147483648.0f);
    return __builtin_convertvector(pick(inRange, scaled, splat(0.0f)), Ints) & 0xFF;
}

// kLanes pixels from `source` to `target` (which may be the same). The colour
// bytes are read as stored: premultiplied colours are deliberately not
// divided by their alpha first.
template <bool Ordinary>
KC_LANE_HELPER void adjustPixels(const uint8_t* source, uint8_t* target, const HSLShift& shift)
{
    Ints words;
    std::memcpy(&words, source, sizeof words);
    Floats red = byteFraction(words & 0xFF);
    Floats green = byteFraction((words >> 8) & 0xFF);
    Floats blue = byteFraction((words >> 16) & 0xFF);
    Floats max = pick(red > green, red, green);
    max = pick(max > blue, max, blue);
    Floats min = pick(red < green, red, green);
    min = pick(min < blue, min, blue);
    Floats value = max;
    Floats one = splat(1.0f);
    // Black divides 0 by 1 instead of by 0: a saturation of 0 either way.
    Floats saturation = (max - min) / pick(max > 0, max, one);

    // Hue in sixths, read off the channel before or after the largest one
    // (red, green, blue, round again), upwards from a base when the smallest
    // is the one after, else downwards.
    Ints redLargest = max == red;
    Ints greenLargest = max == green;
    Floats after = pick(redLargest, green, pick(greenLargest, blue, red));
    Floats before = pick(redLargest, blue, pick(greenLargest, red, green));
    Ints upwards = min == after;
    Floats channel = pick(upwards, before, after);
    Floats base = pick(redLargest, pick(upwards, splat(5.0f), one), pick(greenLargest, pick(upwards, one, splat(3.0f)), pick(upwards, splat(3.0f), splat(5.0f))));
    Ints coloured = saturation != 0;
    Floats quotient = (max - channel) / pick(coloured, max - min, one);
    Floats hue = pick(coloured, pick(upwards, base + quotient, base - quotient), splat(0.0f));
    hue = hue / 6.0f + shift.hue;
    hue = pick(hue > 1, hue - 1, hue);

    if (shift.saturation > 0)
        saturation = saturation + (1 - saturation) * shift.saturation;
    else if (shift.saturation < 0)
        saturation = saturation * (1 + shift.saturation);
    if (shift.lightness > 0)
        value = value + (1 - value) * shift.lightness;
    else if (shift.lightness < 0)
        value = value * (1 + shift.lightness);

    Floats sector = pick(hue == 1, splat(0.0f), hue * 6.0f);
    Floats whole;
    Ints index = wholeParts<Ordinary>(sector, whole);
    Floats fraction = sector - whole;
    Floats p = (1 - saturation) * value;
    Floats q = (1 - fraction * saturation) * value;
    Floats t = (1 - (1 - fraction) * saturation) * value;
    // By sector: 0 (v, t, p), 1 (q, v, p), 2 (p, v, t), 3 (p, q, v), 4 (t, p, v),
    // 5 (v, p, q); any other (a shift beyond a whole turn either way) (t, p, p).
    Ints is0 = index == 0, is1 = index == 1, is2 = index == 2, is3 = index == 3, is4 = index == 4, is5 = index == 5;
    Floats r = pick(is0 | is5, value, pick(is1, q, pick(is2 | is3, p, t)));
    Floats g = pick(is0, t, pick(is1 | is2, value, pick(is3, q, p)));
    Floats b = pick(is2, t, pick(is3 | is4, value, pick(is5, q, p)));

    words = (words & static_cast<int32_t>(0xFF000000u)) | storedBytes<Ordinary>(r) | storedBytes<Ordinary>(g) << 8 | storedBytes<Ordinary>(b) << 16;
    std::memcpy(target, &words, sizeof words);
}

template <bool Ordinary>
KC_LANE_HELPER void adjustAll(const uint8_t* source, uint8_t* target, size_t byteCount, const HSLShift& shift)
{
    constexpr size_t stride = kLanes * 4;
    size_t whole = byteCount - byteCount % stride;
    for (size_t at = 0; at < whole; at += stride)
        adjustPixels<Ordinary>(source + at, target + at, shift);
    if (whole != byteCount) {
        uint8_t rest[stride] = {};
        std::memcpy(rest, source + whole, byteCount - whole);
        adjustPixels<Ordinary>(rest, rest, shift);
        std::memcpy(target + whole, rest, byteCount - whole);
    }
}

// Ordinary parameters (at most a turn, at most 100 % either way) skip the
// guards that only extreme ones need.
KC_WIDE_VECTOR_CLONES void adjustBytes(const uint8_t* source, uint8_t* target, size_t byteCount, const HSLShift& shift)
{
    if (shift.hue >= 0 && shift.hue <= 1 && shift.saturation >= -1 && shift.saturation <= 1 && shift.lightness >= -1 && shift.lightness <= 1)
        adjustAll<true>(source, target, byteCount, shift);
    else
        adjustAll<false>(source, target, byteCount, shift);
}

// Pixels are independent: a large image is cut into one band of whole
// vectors per processor, each read, adjusted and written by a thread of its
// own (the new image's memory is first touched there too).
void adjust(const KCBitmap& image, KCBitmap& adjusted, const HSLShift& shift)
{
    constexpr size_t kBandUnit = kLanes * 4;
    constexpr size_t kSmallestBand = size_t(1) << 20;  // bytes; below it a thread costs more than it saves
    const size_t byteCount = image.byteCount();
    size_t bands = std::clamp<size_t>(byteCount / kSmallestBand, 1, std::max(1u, std::thread::hardware_concurrency()));
    size_t bandBytes = (byteCount / bands + kBandUnit - 1) / kBandUnit * kBandUnit;
    std::vector<std::jthread> helpers;
    for (size_t from = bandBytes; from < byteCount; from += bandBytes) {
        size_t count = std::min(bandBytes, byteCount - from);
        try {
            helpers.emplace_back(adjustBytes, image.bytes() + from, adjusted.bytes() + from, count, std::cref(shift));
        } catch (const std::system_error&) {
            adjustBytes(image.bytes() + from, adjusted.bytes() + from, count, shift);  // no thread to be had: this one does the band
        }
    }
    adjustBytes(image.bytes(), adjusted.bytes(), std::min(bandBytes, byteCount), shift);
}

} // namespace

KCBitmapRef ImageCreateFromImageAdjustingHSL(const KCBitmapRef& image, float hue, float saturation, float lightness)
{
    HSLShift shift {hue / 360, saturation / 100, lightness / 100};
    if (shift.hue < 0)
        shift.hue += 1;
    if ((shift.hue == 0 || shift.hue == 1) && shift.saturation == 0 && shift.lightness == 0)
        return image;
    if (!image)
        return nullptr;
    std::unique_ptr<KCBitmap> adjusted = KCBitmap::createWithoutClearing(image->width(), image->height());
    if (!adjusted)
        return nullptr;
    adjust(*image, *adjusted, shift);
    return adjusted;
}
