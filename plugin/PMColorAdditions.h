#pragma once
// The plug-in's colour additions for the reader.
#include <cstdint>

enum class PMColorSpace { CalibratedRGB, SRGB, CalibratedWhite, DeviceWhite, DeviceRGB };

struct PMColor {
    double red = 0;
    double green = 0;
    double blue = 0;
    double alpha = 1;
    PMColorSpace colorSpace = PMColorSpace::DeviceRGB;
};

// 0xRRGGBB, opaque, in device RGB; each component is computed in single
// precision, as the reader's colours are.
PMColor colorWithHexValue(uint64_t value);
