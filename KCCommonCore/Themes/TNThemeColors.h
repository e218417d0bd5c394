#pragma once
// The constructors the theme tables are written in: integer components are
// 255ths, decimals are used as written.
#include "Utilities/KCColor.h"

inline KCColor TNRGB(int red, int green, int blue, double alpha)
{
    return KCColor::colorWithRed(red / 255.0, green / 255.0, blue / 255.0, alpha);
}
inline KCColor TNSRGB(int red, int green, int blue, double alpha)
{
    return KCColor::colorWithSRGBRed(red / 255.0, green / 255.0, blue / 255.0, alpha);
}
inline KCColor TNDeviceRGB(int red, int green, int blue, double alpha)
{
    return KCColor(red / 255.0, green / 255.0, blue / 255.0, alpha, KCColorSpace::DeviceRGB);
}
inline KCColor TNGrey(int level, double alpha)
{
    return KCColor::colorWithWhite(level / 255.0, alpha);
}
inline KCColor TNWhite(double white, double alpha)
{
    return KCColor::colorWithWhite(white, alpha);
}
inline KCColor TNOpaqueBlack()
{
    return KCColor::colorWithWhite(0.0, 1.0);
}
