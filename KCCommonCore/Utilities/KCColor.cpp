#include "KCColor.h"

#include <algorithm>
#include <cmath>

namespace {

void store(double* out, double value)
{
    if (out)
        *out = value;
}

// Rec. 601 luma: the grey an RGB colour is seen as.
double lumaOf(double red, double green, double blue)
{
    return 0.299 * red + 0.587 * green + 0.114 * blue;
}

}  // namespace

KCColor KCColor::colorWithHue(double hue, double saturation, double brightness, double alpha)
{
    if (saturation <= 0)
        return colorWithRed(brightness, brightness, brightness, alpha);
    // Hue goes round: 1 is 0 again, and so is anything that is not a number.
    double turn = std::isfinite(hue) ? hue - std::floor(hue) : 0;
    double sector = turn * 6;
    int index = static_cast<int>(std::floor(sector));
    double fraction = sector - index;
    double p = brightness * (1 - saturation);
    double q = brightness * (1 - saturation * fraction);
    double t = brightness * (1 - saturation * (1 - fraction));
    switch (index) {
    case 0: return colorWithRed(brightness, t, p, alpha);
    case 1: return colorWithRed(q, brightness, p, alpha);
    case 2: return colorWithRed(p, brightness, t, alpha);
    case 3: return colorWithRed(p, q, brightness, alpha);
    case 4: return colorWithRed(t, p, brightness, alpha);
    default: return colorWithRed(brightness, p, q, alpha);
    }
}

bool KCColor::getRed(double* red, double* green, double* blue, double* alpha) const
{
    store(red, m_red);
    store(green, isWhiteSpace() ? m_red : m_green);
    store(blue, isWhiteSpace() ? m_red : m_blue);
    store(alpha, m_alpha);
    return true;
}

bool KCColor::getHue(double* hue, double* saturation, double* brightness, double* alpha) const
{
    double r, g, b;
    if (!getRed(&r, &g, &b, alpha))
        return false;
    double max = std::max({r, g, b});
    double min = std::min({r, g, b});
    double delta = max - min;
    double h = 0;
    if (delta > 0) {
        if (max == r)
            h = std::fmod((g - b) / delta, 6.0);
        else if (max == g)
            h = (b - r) / delta + 2;
        else
            h = (r - g) / delta + 4;
        h /= 6;
        if (h < 0)
            h += 1;
    }
    store(hue, h);
    store(saturation, max > 0 ? delta / max : 0);
    store(brightness, max);
    return true;
}

bool KCColor::getWhite(double* white, double* alpha) const
{
    store(white, isWhiteSpace() ? m_red : lumaOf(m_red, m_green, m_blue));
    store(alpha, m_alpha);
    return true;
}

KCColor KCColor::lightenedColorByFactor(double factor) const
{
    double w, h, s, b, a;
    if (p_isGrayscale())
        return getWhite(&w, &a) ? colorWithWhite((1 - w) * factor + w, a) : *this;
    if (!getHue(&h, &s, &b, &a))
        return *this;
    return colorWithHue(h, (1 - factor) * s, (1 - b) * factor + b, a);
}

KCColor KCColor::darkenedColorByFactor(double factor) const
{
    double w, h, s, b, a;
    if (p_isGrayscale())
        return getWhite(&w, &a) ? colorWithWhite((1 - factor) * w, a) : *this;
    if (!getHue(&h, &s, &b, &a))
        return *this;
    return colorWithHue(h, (1 - s) * factor + s, (1 - factor) * b, a);
}

bool KCColor::p_isGrayscale() const
{
    if (isWhiteSpace())
        return true;
    double r, g, b;
    if (!getRed(&r, &g, &b, nullptr))
        return false;
    // The tolerance is a single-precision constant, relative to the second
    // component of each pair.
    const double tolerance = static_cast<double>(0.001f);
    auto close = [tolerance](double x, double y) { return x == y || std::fabs(x - y) < std::fabs(tolerance * y); };
    return close(r, g) && close(r, b) && close(g, b);
}
