#pragma once
// Drawing a stretchable image into a rectangle of a cairo context: the four
// corners keep their pixel size, the edges and the middle stretch the one
// pixel column or row between the caps (nine pieces in all).
// Errors: none; pieces that cannot be cut from the image are left out.
#include "KCBitmap.h"

// `rect` is in the context's coordinates. The pieces are laid out with y
// growing upwards from the rectangle's bottom edge, so that the image's top
// row ends at the rectangle's top, as the image stands. The image's height is
// taken to be its width: stretchable images are square.
void ContextDrawStretchableImage(cairo_t* context, const KCBitmapRef& image, const KCRect& rect, double leftCap, double topCap);
