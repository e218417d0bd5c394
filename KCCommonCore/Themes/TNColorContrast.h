#pragma once
// How well text reads on a colour: WCAG 2 relative luminance and contrast
// ratio. Every RGB space is read as sRGB and a grey as equal sRGB parts; a
// colour that is not opaque is first composited over what lies behind it.
// Errors: none.
#include "Utilities/KCColor.h"

// `color` drawn over the opaque `backdrop`, as an opaque sRGB colour.
KCColor TNCompositedColor(const KCColor& color, const KCColor& backdrop);
// 0 for black to 1 for white.
double TNRelativeLuminance(const KCColor& color);
// From 1 to 21: `text` over `background`, which lies over `backdrop`.
double TNContrastRatio(const KCColor& text, const KCColor& background, const KCColor& backdrop);
