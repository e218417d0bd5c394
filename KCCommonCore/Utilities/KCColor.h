#pragma once
// A colour as settings and themes carry it: red, green, blue and alpha from
// 0 to 1, tagged with the colour space they are meant in.

enum class KCColorSpace { CalibratedRGB, SRGB, CalibratedWhite, DeviceWhite, DeviceRGB };

class KCColor {
public:
    KCColor(double red, double green, double blue, double alpha, KCColorSpace space = KCColorSpace::DeviceRGB)
        : m_red(red), m_green(green), m_blue(blue), m_alpha(alpha), m_space(space) {}
    // A grey: red, green and blue are all `white`.
    static KCColor withWhite(double white, double alpha, KCColorSpace space = KCColorSpace::DeviceWhite)
    {
        return KCColor(white, white, white, alpha, space);
    }

    double red() const { return m_red; }
    double green() const { return m_green; }
    double blue() const { return m_blue; }
    double alpha() const { return m_alpha; }
    KCColorSpace colorSpace() const { return m_space; }

    // Exact: the same components and the same space.
    friend bool operator==(const KCColor&, const KCColor&) = default;

private:
    double m_red;
    double m_green;
    double m_blue;
    double m_alpha;
    KCColorSpace m_space;
};
