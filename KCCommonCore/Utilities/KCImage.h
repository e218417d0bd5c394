#pragma once
// A bitmap drawn by the engine: 8 bits per channel with premultiplied alpha,
// each pixel one native-endian 32-bit ARGB word (cairo's ARGB32), rows
// possibly longer than their pixels.
// Errors: PNGData() and KCPNGDataWithSurface answer nothing and log when the
// size and the pixels disagree or the encoder fails.
#include "KCValue.h"

#include <cairo.h>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

struct KCImage {
    int width = 0;
    int height = 0;
    size_t bytesPerRow = 0;
    std::vector<uint8_t> pixels;  // height * bytesPerRow bytes

    // The image as one PNG file, of any size.
    std::optional<KCData> PNGData() const;
};

// A cairo image surface as one PNG file.
std::optional<KCData> KCPNGDataWithSurface(cairo_surface_t* surface);
