#pragma once
// Ranges, sizes and rectangles shared by every interface.
#include <cstdint>
#include <limits>

// The not-found marker of a range location: the largest signed 64-bit value.
inline constexpr uint64_t KCNotFound = static_cast<uint64_t>(std::numeric_limits<int64_t>::max());

struct KCRange {
    uint64_t location = KCNotFound;
    uint64_t length = 0;

    constexpr uint64_t end() const { return location + length; }
    constexpr bool found() const { return location != KCNotFound; }
    friend constexpr bool operator==(const KCRange&, const KCRange&) = default;
};

struct KCSize {
    double width = 0;
    double height = 0;
    friend constexpr bool operator==(const KCSize&, const KCSize&) = default;
};

struct KCPoint {
    double x = 0;
    double y = 0;
    friend constexpr bool operator==(const KCPoint&, const KCPoint&) = default;
};

struct KCRect {
    KCPoint origin;
    KCSize size;
    friend constexpr bool operator==(const KCRect&, const KCRect&) = default;
};
