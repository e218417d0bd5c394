#include "TNColorContrast.h"

#include <algorithm>
#include <cmath>

namespace {

double linearised(double component)
{
    return component <= 0.04045 ? component / 12.92 : std::pow((component + 0.055) / 1.055, 2.4);
}

} // namespace

KCColor TNCompositedColor(const KCColor& color, const KCColor& backdrop)
{
    double red = 0, green = 0, blue = 0, alpha = 0, backRed = 0, backGreen = 0, backBlue = 0;
    color.getRed(&red, &green, &blue, &alpha);
    backdrop.getRed(&backRed, &backGreen, &backBlue, nullptr);
    auto over = [alpha](double front, double back) { return front * alpha + back * (1 - alpha); };
    return KCColor::colorWithSRGBRed(over(red, backRed), over(green, backGreen), over(blue, backBlue), 1.0);
}

double TNRelativeLuminance(const KCColor& color)
{
    double red = 0, green = 0, blue = 0;
    color.getRed(&red, &green, &blue, nullptr);
    return 0.2126 * linearised(red) + 0.7152 * linearised(green) + 0.0722 * linearised(blue);
}

double TNContrastRatio(const KCColor& text, const KCColor& background, const KCColor& backdrop)
{
    KCColor ground = TNCompositedColor(background, backdrop);
    double front = TNRelativeLuminance(TNCompositedColor(text, ground));
    double back = TNRelativeLuminance(ground);
    return (std::max(front, back) + 0.05) / (std::min(front, back) + 0.05);
}
