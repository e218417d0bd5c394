#pragma once
// Reads back the PNG images that the engine writes, with a decoder other than
// the encoder the engine uses, as a viewer would read them.
#include "Utilities/KCValue.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// The largest difference of a channel between two colours.
int PMTestColourDifference(const std::array<int, 3>& a, const std::array<int, 3>& b);

// The decoded pixels, for looking at what was drawn.
struct PMTestPNGImage {
    int width = 0;
    int height = 0;
    std::vector<uint8_t> rgba;  // four bytes a pixel, rows without padding

    std::array<int, 3> at(int x, int y) const;
    // Whether every pixel is fully opaque: a part left undrawn is not.
    bool opaque() const;
    // The largest difference of a channel at (x, y) between two images.
    int difference(const PMTestPNGImage& other, int x, int y) const { return PMTestColourDifference(at(x, y), other.at(x, y)); }
    // The standard deviation of the brightness of rows [top, bottom): near 0
    // for a blank page.
    double brightnessDeviation(int top, int bottom) const;
};

// Nothing when the bytes do not decode as a PNG image.
std::optional<PMTestPNGImage> PMTestPNGImageOfData(const KCData& png);
std::optional<PMTestPNGImage> PMTestPNGImageOfFile(const std::string& path);
