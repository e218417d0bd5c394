#include "KCImage.h"

#include "KCLogger.h"

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

std::optional<KCData> KCImage::PNGData() const
{
    size_t rowBytes = static_cast<size_t>(width) * 4;
    if (width <= 0 || height <= 0 || bytesPerRow < rowBytes
        || pixels.size() / bytesPerRow < static_cast<size_t>(height)) {
        KCLog("Cannot encode an image of %d x %d with %lu bytes per row and %lu bytes", width, height,
            static_cast<unsigned long>(bytesPerRow), static_cast<unsigned long>(pixels.size()));
        return std::nullopt;
    }
    // A surface of cairo's own stride, so that any row length of the engine works.
    cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height);
    if (cairo_surface_status(surface) == CAIRO_STATUS_SUCCESS) {
        cairo_surface_flush(surface);
        unsigned char* target = cairo_image_surface_get_data(surface);
        int stride = cairo_image_surface_get_stride(surface);
        for (int row = 0; row < height; ++row)
            std::memcpy(target + static_cast<size_t>(row) * static_cast<size_t>(stride), pixels.data() + static_cast<size_t>(row) * bytesPerRow, rowBytes);
        cairo_surface_mark_dirty(surface);
    }
    std::optional<KCData> png = KCPNGDataWithSurface(surface);
    cairo_surface_destroy(surface);
    return png;
}

std::optional<KCData> KCPNGDataWithSurface(cairo_surface_t* surface)
{
    KCData data;
    cairo_status_t status = cairo_surface_status(surface);
    if (status == CAIRO_STATUS_SUCCESS)
        status = cairo_surface_write_to_png_stream(surface, appendToData, &data);
    if (status == CAIRO_STATUS_SUCCESS)
        return data;
    KCLog("PNG encoding of a %d x %d image failed: %s", cairo_image_surface_get_width(surface), cairo_image_surface_get_height(surface),
        cairo_status_to_string(status));
    return std::nullopt;
}
