#pragma once
// A colour as settings and themes carry it: four components from 0 to 1,
// tagged with the colour space they are meant in. White spaces keep their
// grey level in all three colour components.
// Conversions between the RGB spaces (calibrated, device, sRGB) are taken as
// identity, as are those between the two white spaces; grey and RGB convert
// by the usual rules (a grey is equal parts of red, green and blue; the grey of
// an RGB colour is its Rec. 601 luma).
// Errors: none; reads answer false when the colour cannot be converted.
enum class KCColorSpace { CalibratedRGB, SRGB, CalibratedWhite, DeviceWhite, DeviceRGB };

class KCColor {
public:
    KCColor(double red, double green, double blue, double alpha, KCColorSpace space = KCColorSpace::DeviceRGB)
        : m_red(red), m_green(green), m_blue(blue), m_alpha(alpha), m_space(space) {}

    // Constructors pinned to a space.
    static KCColor colorWithWhite(double white, double alpha) { return withWhite(white, alpha, KCColorSpace::CalibratedWhite); }
    static KCColor colorWithRed(double red, double green, double blue, double alpha)
    {
        return KCColor(red, green, blue, alpha, KCColorSpace::CalibratedRGB);
    }
    static KCColor colorWithSRGBRed(double red, double green, double blue, double alpha)
    {
        return KCColor(red, green, blue, alpha, KCColorSpace::SRGB);
    }
    // From hue, saturation and brightness (HSB/HSV, all 0 to 1), in calibrated RGB.
    static KCColor colorWithHue(double hue, double saturation, double brightness, double alpha);
    // A grey: red, green and blue are all `white`.
    static KCColor withWhite(double white, double alpha, KCColorSpace space = KCColorSpace::DeviceWhite)
    {
        return KCColor(white, white, white, alpha, space);
    }

    double red() const { return m_red; }
    double green() const { return m_green; }
    double blue() const { return m_blue; }
    double white() const { return m_red; }  // meaningful in the white spaces
    double alpha() const { return m_alpha; }
    KCColorSpace colorSpace() const { return m_space; }
    bool isWhiteSpace() const { return m_space == KCColorSpace::CalibratedWhite || m_space == KCColorSpace::DeviceWhite; }

    // Components after conversion to calibrated RGB (getRed, getHue) or to
    // calibrated white (getWhite). Outputs may be null.
    bool getRed(double* red, double* green, double* blue, double* alpha) const;
    bool getHue(double* hue, double* saturation, double* brightness, double* alpha) const;
    bool getWhite(double* white, double* alpha) const;

    // Brightness towards 1 and saturation towards 0 (lighten), or the other way
    // (darken), by `factor`; hue and alpha kept. Greys stay calibrated greys.
    KCColor lightenedColorByFactor(double factor) const;
    KCColor darkenedColorByFactor(double factor) const;
    // A white space, or red, green and blue equal within a relative tolerance.
    bool p_isGrayscale() const;

    // Exact: the same components and the same space.
    friend bool operator==(const KCColor&, const KCColor&) = default;

private:
    double m_red;
    double m_green;
    double m_blue;
    double m_alpha;
    KCColorSpace m_space;
};
