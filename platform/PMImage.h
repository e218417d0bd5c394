#pragma once
// A bitmap made by the engine: 32-bit pixels, premultiplied alpha, in the
// native-endian ARGB order that cairo's ARGB32 format uses.
#include <cstddef>
#include <cstdint>
#include <vector>

struct PMImage {
    int width = 0;
    int height = 0;
    size_t bytesPerRow = 0;
    std::vector<uint8_t> pixels;  // height * bytesPerRow bytes
};
