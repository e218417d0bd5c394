#include "PMSnapshotImage.h"

#include "Utilities/KCLogger.h"

#include <cairo.h>
#include <gtk/gtk.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <sys/mman.h>
#include <unistd.h>

namespace {

// The image's pixel column or row of a document coordinate; rounding (not
// flooring) keeps neighbouring bands from overlapping or leaving a gap.
int pixelEdge(double offset, double scale, int limit)
{
    return static_cast<int>(std::clamp(std::round(offset * scale), 0.0, static_cast<double>(limit)));
}

} // namespace

std::optional<KCImage> PMSnapshotCanvas(const KCRect& rect, double scale)
{
    const double width = std::ceil(rect.size.width * scale);
    const double height = std::ceil(rect.size.height * scale);
    if (!std::isfinite(scale) || scale <= 0 || !(width >= 1 && height >= 1 && width <= PMSnapshotMaximumWidth)
        || width * height > static_cast<double>(PMSnapshotMaximumPixels)) {
        KCLog("No snapshot of %f x %f at scale %f", rect.size.width, rect.size.height, scale);
        return std::nullopt;
    }
    KCImage image;
    image.width = static_cast<int>(width);
    image.height = static_cast<int>(height);
    image.bytesPerRow = static_cast<size_t>(cairo_format_stride_for_width(CAIRO_FORMAT_ARGB32, image.width));
    image.pixels.assign(image.bytesPerRow * image.height, 0);
    return image;
}

void PMDrawSnapshotTexture(KCImage& image, const KCRect& rect, double scale, GdkTexture* texture, const KCRect& covered, const KCRect& band)
{
    const int textureWidth = texture ? gdk_texture_get_width(texture) : 0;
    const int textureHeight = texture ? gdk_texture_get_height(texture) : 0;
    if (textureWidth <= 0 || textureHeight <= 0 || !(covered.size.width > 0 && covered.size.height > 0))
        return;
    const int left = pixelEdge(band.origin.x - rect.origin.x, scale, image.width);
    const int right = pixelEdge(band.origin.x + band.size.width - rect.origin.x, scale, image.width);
    const int top = pixelEdge(band.origin.y - rect.origin.y, scale, image.height);
    const int bottom = pixelEdge(band.origin.y + band.size.height - rect.origin.y, scale, image.height);
    if (left >= right || top >= bottom)
        return;

    cairo_surface_t* source = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, textureWidth, textureHeight);
    cairo_surface_flush(source);
    gdk_texture_download(texture, cairo_image_surface_get_data(source), cairo_image_surface_get_stride(source));
    cairo_surface_mark_dirty(source);

    // Only the band's rows: an image taller than cairo allows is still
    // drawn, a band at a time.
    cairo_surface_t* target = cairo_image_surface_create_for_data(image.pixels.data() + static_cast<size_t>(top) * image.bytesPerRow,
        CAIRO_FORMAT_ARGB32, image.width, bottom - top, static_cast<int>(image.bytesPerRow));
    cairo_t* cairo = cairo_create(target);
    cairo_rectangle(cairo, left, 0, right - left, bottom - top);
    cairo_clip(cairo);
    cairo_translate(cairo, 0, -top);
    cairo_scale(cairo, scale, scale);
    cairo_translate(cairo, covered.origin.x - rect.origin.x, covered.origin.y - rect.origin.y);
    cairo_scale(cairo, covered.size.width / textureWidth, covered.size.height / textureHeight);
    cairo_set_source_surface(cairo, source, 0, 0);
    cairo_pattern_set_filter(cairo_get_source(cairo), CAIRO_FILTER_GOOD);
    // The document's own edge pixels continue past it, so filtering at the
    // edges does not fade into transparency.
    cairo_pattern_set_extend(cairo_get_source(cairo), CAIRO_EXTEND_PAD);
    cairo_set_operator(cairo, CAIRO_OPERATOR_SOURCE);
    cairo_paint(cairo);
    cairo_destroy(cairo);
    cairo_surface_flush(target);
    cairo_surface_destroy(target);
    cairo_surface_destroy(source);
}

KCValue PMSnapshotReplyBody(const std::optional<KCImage>& image)
{
    if (!image)
        return KCValue();
    return KCValue(KCDictionary {
        {"width", static_cast<uint64_t>(image->width)},
        {"height", static_cast<uint64_t>(image->height)},
        {"bytesPerRow", static_cast<uint64_t>(image->bytesPerRow)},
    });
}

int PMSnapshotPixelFile(const KCImage& image)
{
    int file = memfd_create("pagemoor-snapshot", MFD_CLOEXEC);
    const uint8_t* bytes = image.pixels.data();
    size_t left = image.pixels.size();
    while (file >= 0 && left > 0) {
        ssize_t written = write(file, bytes, left);
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0) {
            close(file);
            file = -1;
            break;
        }
        bytes += written;
        left -= static_cast<size_t>(written);
    }
    if (file < 0)
        KCLog("Cannot hand over the snapshot's pixels: %s", strerror(errno));
    return file;
}
