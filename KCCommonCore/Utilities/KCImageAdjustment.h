#pragma once
// Shifting the hue, saturation and lightness of every pixel of an image.
// Errors: none; nullptr for a null image.
#include "KCBitmap.h"

// `hue` in degrees, `saturation` and `lightness` in percent (-100 to 100).
// Parameters that change nothing answer the very image given (no copy);
// otherwise a new image. The pass works on the premultiplied bytes as they are
// stored, in single precision, and keeps every alpha byte.
KCBitmapRef ImageCreateFromImageAdjustingHSL(const KCBitmapRef& image, float hue, float saturation, float lightness);
