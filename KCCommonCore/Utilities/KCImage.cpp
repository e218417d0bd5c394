#include "KCImage.h"

#include "KCLogger.h"

#include <png.h>

#include <cstring>

namespace {

void appendToData(png_structp png, png_bytep bytes, png_size_t length)
{
    auto* data = static_cast<KCData*>(png_get_io_ptr(png));
    data->insert(data->end(), bytes, bytes + length);
}

// One premultiplied ARGB32 row as straight RGBA bytes, rounded as cairo does.
void unpremultiplyRow(const uint8_t* source, int width, uint8_t* target)
{
    for (int x = 0; x < width; ++x, source += 4, target += 4) {
        uint32_t pixel;
        std::memcpy(&pixel, source, 4);
        const uint32_t alpha = pixel >> 24;
        for (int channel = 0; channel < 3; ++channel) {
            const uint32_t value = (pixel >> (16 - 8 * channel)) & 0xFF;
            target[channel] = static_cast<uint8_t>(alpha ? (value * 255 + alpha / 2) / alpha : 0);
        }
        target[3] = static_cast<uint8_t>(alpha);
    }
}

// The encoder reports failure by jumping back here; nothing that needs
// destroying lives in this frame.
bool writeRows(png_structp png, png_infop info, int width, int height, const uint8_t* pixels, size_t bytesPerRow, uint8_t* row)
{
    if (setjmp(png_jmpbuf(png)))
        return false;
    // Pages are mostly flat colour and text: one cheap filter and a light
    // compression encode a long chapter four times as fast as the encoder's
    // defaults, and smaller.
    png_set_filter(png, 0, PNG_FILTER_SUB);
    png_set_compression_level(png, 3);
    png_set_IHDR(png, info, static_cast<png_uint_32>(width), static_cast<png_uint_32>(height), 8, PNG_COLOR_TYPE_RGB_ALPHA,
        PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    for (int y = 0; y < height; ++y) {
        unpremultiplyRow(pixels + static_cast<size_t>(y) * bytesPerRow, width, row);
        png_write_row(png, row);
    }
    png_write_end(png, nullptr);
    return true;
}

// Premultiplied ARGB32 rows as one PNG file, a row at a time: any height, and
// one row beside the pixels.
std::optional<KCData> encodePNG(int width, int height, const uint8_t* pixels, size_t bytesPerRow)
{
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    std::vector<uint8_t> row(static_cast<size_t>(width) * 4);
    KCData data;
    bool written = false;
    if (info) {
        png_set_write_fn(png, &data, appendToData, nullptr);
        written = writeRows(png, info, width, height, pixels, bytesPerRow, row.data());
    }
    png_destroy_write_struct(&png, &info);
    if (!written) {
        KCLog("PNG encoding of a %d x %d image failed", width, height);
        return std::nullopt;
    }
    return data;
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
    return encodePNG(width, height, pixels.data(), bytesPerRow);
}

std::optional<KCData> KCPNGDataWithSurface(cairo_surface_t* surface)
{
    if (cairo_surface_status(surface) != CAIRO_STATUS_SUCCESS || cairo_image_surface_get_format(surface) != CAIRO_FORMAT_ARGB32
        || cairo_image_surface_get_width(surface) <= 0 || cairo_image_surface_get_height(surface) <= 0) {
        KCLog("Cannot encode a surface that is not a drawn ARGB32 image");
        return std::nullopt;
    }
    cairo_surface_flush(surface);
    return encodePNG(cairo_image_surface_get_width(surface), cairo_image_surface_get_height(surface),
        cairo_image_surface_get_data(surface), static_cast<size_t>(cairo_image_surface_get_stride(surface)));
}
