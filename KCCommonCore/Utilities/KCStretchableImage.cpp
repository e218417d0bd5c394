#include "KCStretchableImage.h"

namespace {

// Draws a piece over `destination` (y down), scaled to fill it; the stretched
// single pixels are padded to the destination's edges rather than faded out.
void drawPiece(cairo_t* context, const KCBitmap& piece, const KCRect& destination)
{
    if (!(destination.size.width > 0 && destination.size.height > 0))
        return;
    KCCairoSurfacePointer surface = piece.cairoSurface();
    cairo_save(context);
    cairo_translate(context, destination.origin.x, destination.origin.y);
    cairo_scale(context, destination.size.width / piece.width(), destination.size.height / piece.height());
    cairo_set_source_surface(context, surface.get(), 0, 0);
    cairo_pattern_set_extend(cairo_get_source(context), CAIRO_EXTEND_PAD);
    cairo_rectangle(context, 0, 0, piece.width(), piece.height());
    cairo_fill(context);
    cairo_restore(context);
}

} // namespace

void ContextDrawStretchableImage(cairo_t* context, const KCBitmapRef& image, const KCRect& rect, double leftCap, double topCap)
{
    if (!context || !image)
        return;
    double width = image->width();
    double height = image->width();
    double rightCap = width - leftCap - 1;
    double bottomCap = height - topCap - 1;
    double minX = rect.origin.x;
    double minY = rect.origin.y;
    double maxX = minX + rect.size.width;
    double maxY = minY + rect.size.height;
    double middleWidth = rect.size.width - leftCap - rightCap;
    double middleHeight = rect.size.height - topCap - bottomCap;

    struct Piece {
        KCRect source;       // pixels, y down from the image's top row
        KCRect destination;  // y up from the rectangle's bottom edge
    };
    const Piece pieces[] = {
        {{{0, 0}, {leftCap, topCap}}, {{minX, maxY - topCap}, {leftCap, topCap}}},
        {{{leftCap, 0}, {1, topCap}}, {{minX + leftCap, maxY - topCap}, {middleWidth, topCap}}},
        {{{width - rightCap, 0}, {rightCap, topCap}}, {{maxX - rightCap, maxY - topCap}, {rightCap, topCap}}},
        {{{0, topCap}, {leftCap, 1}}, {{minX, minY + bottomCap}, {leftCap, middleHeight}}},
        {{{leftCap, topCap}, {1, 1}}, {{minX + leftCap, minY + bottomCap}, {middleWidth, middleHeight}}},
        {{{width - rightCap, topCap}, {rightCap, 1}}, {{maxX - rightCap, minY + bottomCap}, {rightCap, middleHeight}}},
        {{{0, height - bottomCap}, {leftCap, bottomCap}}, {{minX, minY}, {leftCap, bottomCap}}},
        {{{leftCap, height - bottomCap}, {1, bottomCap}}, {{minX + leftCap, minY}, {middleWidth, bottomCap}}},
        {{{width - rightCap, height - bottomCap}, {rightCap, bottomCap}}, {{maxX - rightCap, minY}, {rightCap, bottomCap}}},
    };
    for (const Piece& piece : pieces) {
        std::unique_ptr<KCBitmap> cut = image->subBitmap(piece.source);
        if (!cut)
            continue;
        // Mirrored about the rectangle's middle into the context's y-down space.
        KCRect destination = piece.destination;
        destination.origin.y = minY + maxY - destination.origin.y - destination.size.height;
        drawPiece(context, *cut, destination);
    }
}
