#include "PMSnapshotImage.h"

#include "Utilities/KCLogger.h"

#include <cairo.h>
#include <gtk/gtk.h>

#include <cmath>

std::optional<KCImage> PMImageFromTexture(GdkTexture* texture, const KCRect& rect, double scale)
{
    if (!texture || !std::isfinite(scale) || scale <= 0)
        return std::nullopt;
    const int textureWidth = gdk_texture_get_width(texture);
    const int textureHeight = gdk_texture_get_height(texture);
    const double width = std::ceil(rect.size.width * scale);
    const double height = std::ceil(rect.size.height * scale);
    // Larger than any page a reader shows; guards the allocation below.
    if (!(width >= 1 && height >= 1 && width <= 16384 && height <= 16384) || textureWidth <= 0 || textureHeight <= 0) {
        KCLog("No snapshot of %f x %f at scale %f", rect.size.width, rect.size.height, scale);
        return std::nullopt;
    }

    cairo_surface_t* source = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, textureWidth, textureHeight);
    cairo_surface_flush(source);
    gdk_texture_download(texture, cairo_image_surface_get_data(source), cairo_image_surface_get_stride(source));
    cairo_surface_mark_dirty(source);

    KCImage image;
    image.width = static_cast<int>(width);
    image.height = static_cast<int>(height);
    image.bytesPerRow = static_cast<size_t>(cairo_format_stride_for_width(CAIRO_FORMAT_ARGB32, image.width));
    image.pixels.assign(image.bytesPerRow * image.height, 0);
    cairo_surface_t* target = cairo_image_surface_create_for_data(image.pixels.data(), CAIRO_FORMAT_ARGB32, image.width, image.height, static_cast<int>(image.bytesPerRow));
    cairo_t* cairo = cairo_create(target);
    cairo_scale(cairo, scale, scale);
    cairo_set_source_surface(cairo, source, -rect.origin.x, -rect.origin.y);
    cairo_pattern_set_filter(cairo_get_source(cairo), CAIRO_FILTER_GOOD);
    // The document's own edge pixels continue past it, so filtering at the
    // edges does not fade into transparency.
    cairo_pattern_set_extend(cairo_get_source(cairo), CAIRO_EXTEND_PAD);
    cairo_paint(cairo);
    cairo_destroy(cairo);
    cairo_surface_flush(target);
    cairo_surface_destroy(target);
    cairo_surface_destroy(source);
    return image;
}

KCValue PMSnapshotReplyBody(const std::optional<KCImage>& image)
{
    if (!image)
        return KCValue();
    return KCValue(KCDictionary {
        {"width", static_cast<uint64_t>(image->width)},
        {"height", static_cast<uint64_t>(image->height)},
        {"bytesPerRow", static_cast<uint64_t>(image->bytesPerRow)},
        {"pixels", image->pixels},
    });
}
