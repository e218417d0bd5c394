#include "KCImageAdjustment.h"

#include <cstdint>

namespace {

struct HSLShift {
    float hue;  // a fraction of a turn, 0 to 1
    float saturation;
    float lightness;
};

// The integer part of x; x itself when it has no fraction to drop (or is not a number).
inline float wholePart(float x)
{
    return x > -8388608.0f && x < 8388608.0f ? static_cast<float>(static_cast<int32_t>(x)) : x;
}

// The integer part of component × 255 kept to its low byte, as a byte store
// keeps it. Beyond 2^31 a float has no bits below 256, so 0 is its low byte;
// a component that is not a number stores 0.
inline uint8_t storedByte(float component)
{
    float scaled = component * 255;
    return static_cast<uint8_t>(scaled > -2147483648.0f && scaled < 2147483648.0f ? static_cast<int32_t>(scaled) : 0);
}

// One pixel, in place. The colour bytes are read as stored: premultiplied
// colours are deliberately not divided by their alpha first.
inline void adjustPixel(uint8_t* pixel, const HSLShift& shift)
{
    float red = pixel[0] / 255.0f;
    float green = pixel[1] / 255.0f;
    float blue = pixel[2] / 255.0f;
    float max = red > green ? red : green;
    max = max > blue ? max : blue;
    float min = red < green ? red : green;
    min = min < blue ? min : blue;
    float value = max;
    float saturation = max > 0 ? (max - min) / max : 0;
    float hue = 0;
    if (saturation != 0) {
        float delta = max - min;
        if (max == red)
            hue = min == green ? 5 + (max - blue) / delta : 1 - (max - green) / delta;
        else if (max == green)
            hue = min == blue ? 1 + (max - red) / delta : 3 - (max - blue) / delta;
        else
            hue = min == red ? 3 + (max - green) / delta : 5 - (max - red) / delta;
    }
    hue = hue / 6 + shift.hue;
    if (hue > 1)
        hue -= 1;

    if (shift.saturation > 0)
        saturation = saturation + (1 - saturation) * shift.saturation;
    else if (shift.saturation < 0)
        saturation = saturation * (1 + shift.saturation);
    if (shift.lightness > 0)
        value = value + (1 - value) * shift.lightness;
    else if (shift.lightness < 0)
        value = value * (1 + shift.lightness);

    float sector = hue == 1 ? 0 : hue * 6;
    float whole = wholePart(sector);
    float fraction = sector - whole;
    int index = whole >= 0 && whole <= 5 ? static_cast<int>(whole) : 6;
    float p = (1 - saturation) * value;
    float q = (1 - fraction * saturation) * value;
    float t = (1 - (1 - fraction) * saturation) * value;
    float r, g, b;
    switch (index) {
    case 0: r = value, g = t, b = p; break;
    case 1: r = q, g = value, b = p; break;
    case 2: r = p, g = value, b = t; break;
    case 3: r = p, g = q, b = value; break;
    case 4: r = t, g = p, b = value; break;
    case 5: r = value, g = p, b = q; break;
    default: r = t, g = p, b = p; break;  // only a shift beyond a whole turn either way gets here
    }
    pixel[0] = storedByte(r);
    pixel[1] = storedByte(g);
    pixel[2] = storedByte(b);
}

} // namespace

KCBitmapRef ImageCreateFromImageAdjustingHSL(const KCBitmapRef& image, float hue, float saturation, float lightness)
{
    HSLShift shift {hue / 360, saturation / 100, lightness / 100};
    if (shift.hue < 0)
        shift.hue += 1;
    if ((shift.hue == 0 || shift.hue == 1) && shift.saturation == 0 && shift.lightness == 0)
        return image;
    std::unique_ptr<KCBitmap> bitmap = BitmapContextCreateWithImage(image.get());
    if (!bitmap)
        return nullptr;
    uint8_t* end = bitmap->bytes() + bitmap->byteCount();
    for (uint8_t* pixel = bitmap->bytes(); pixel != end; pixel += 4)
        adjustPixel(pixel, shift);
    return bitmap;
}
