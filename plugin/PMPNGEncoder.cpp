#include "PMPNGEncoder.h"

#include "Utilities/KCLogger.h"

#include <cairo.h>
#include <cstring>

namespace {

cairo_status_t appendToData(void* closure, const unsigned char* bytes, unsigned int length)
{
    auto* data = static_cast<KCData*>(closure);
    data->insert(data->end(), bytes, bytes + length);
    return CAIRO_STATUS_SUCCESS;
}

} // namespace

std::optional<KCData> PMPNGDataFromImage(const PMImage& image)
{
    size_t rowBytes = static_cast<size_t>(image.width) * 4;
    if (image.width <= 0 || image.height <= 0 || image.bytesPerRow < rowBytes
        || image.pixels.size() / image.bytesPerRow < static_cast<size_t>(image.height)) {
        KCLog("Cannot encode an image of %d x %d with %lu bytes per row and %lu bytes", image.width, image.height,
            static_cast<unsigned long>(image.bytesPerRow), static_cast<unsigned long>(image.pixels.size()));
        return std::nullopt;
    }
    // A surface of cairo's own stride, so that any row length of the engine works.
    cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, image.width, image.height);
    std::optional<KCData> png;
    if (cairo_surface_status(surface) == CAIRO_STATUS_SUCCESS) {
        cairo_surface_flush(surface);
        unsigned char* pixels = cairo_image_surface_get_data(surface);
        int stride = cairo_image_surface_get_stride(surface);
        for (int row = 0; row < image.height; ++row)
            std::memcpy(pixels + static_cast<size_t>(row) * static_cast<size_t>(stride), image.pixels.data() + static_cast<size_t>(row) * image.bytesPerRow, rowBytes);
        cairo_surface_mark_dirty(surface);
        KCData data;
        if (cairo_surface_write_to_png_stream(surface, appendToData, &data) == CAIRO_STATUS_SUCCESS)
            png = std::move(data);
    }
    if (!png)
        KCLog("PNG encoding of a %d x %d image failed: %s", image.width, image.height, cairo_status_to_string(cairo_surface_status(surface)));
    cairo_surface_destroy(surface);
    return png;
}
