#pragma once
// Reads back the PNG images that the engine writes, with a decoder other than
// the encoder the engine uses, as a viewer would read them.
#include "Utilities/KCValue.h"

#include <optional>
#include <string>

struct PMTestPNGSize {
    int width = 0;
    int height = 0;
    friend bool operator==(const PMTestPNGSize&, const PMTestPNGSize&) = default;
};

// Nothing when the bytes do not decode as a PNG image.
std::optional<PMTestPNGSize> PMTestPNGSizeOfData(const KCData& png);
std::optional<PMTestPNGSize> PMTestPNGSizeOfFile(const std::string& path);
