#include "KCBitmap.h"

#include "KCImage.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

// cairo's ARGB32 pixel: one native-endian word, alpha in the high byte, colour premultiplied as ours.
uint32_t cairoPixel(const uint8_t* rgba)
{
    return static_cast<uint32_t>(rgba[3]) << 24 | static_cast<uint32_t>(rgba[0]) << 16 | static_cast<uint32_t>(rgba[1]) << 8 | rgba[2];
}

void storeCairoPixel(uint32_t argb, uint8_t* rgba)
{
    rgba[0] = static_cast<uint8_t>(argb >> 16);
    rgba[1] = static_cast<uint8_t>(argb >> 8);
    rgba[2] = static_cast<uint8_t>(argb);
    rgba[3] = static_cast<uint8_t>(argb >> 24);
}

} // namespace

std::unique_ptr<KCBitmap> KCBitmap::create(int width, int height)
{
    auto bitmap = createWithoutClearing(width, height);
    if (bitmap)
        std::memset(bitmap->bytes(), 0, bitmap->byteCount());
    return bitmap;
}

std::unique_ptr<KCBitmap> KCBitmap::createWithoutClearing(int width, int height)
{
    if (width < 1 || height < 1 || width > kMaximumSide || height > kMaximumSide)
        return nullptr;
    return std::unique_ptr<KCBitmap>(new KCBitmap(width, height));
}

std::unique_ptr<KCBitmap> KCBitmap::createWithSurface(cairo_surface_t* surface)
{
    if (!surface || cairo_surface_status(surface) != CAIRO_STATUS_SUCCESS || cairo_surface_get_type(surface) != CAIRO_SURFACE_TYPE_IMAGE
        || cairo_image_surface_get_format(surface) != CAIRO_FORMAT_ARGB32)
        return nullptr;
    cairo_surface_flush(surface);
    auto bitmap = create(cairo_image_surface_get_width(surface), cairo_image_surface_get_height(surface));
    if (!bitmap)
        return nullptr;
    const unsigned char* source = cairo_image_surface_get_data(surface);
    size_t stride = static_cast<size_t>(cairo_image_surface_get_stride(surface));
    for (int y = 0; y < bitmap->m_height; ++y) {
        const unsigned char* row = source + static_cast<size_t>(y) * stride;
        uint8_t* target = bitmap->bytes() + static_cast<size_t>(y) * bitmap->bytesPerRow();
        for (int x = 0; x < bitmap->m_width; ++x) {
            uint32_t argb;
            std::memcpy(&argb, row + static_cast<size_t>(x) * 4, 4);
            storeCairoPixel(argb, target + static_cast<size_t>(x) * 4);
        }
    }
    return bitmap;
}

std::unique_ptr<KCBitmap> KCBitmap::subBitmap(const KCRect& pixelRect) const
{
    double left = std::max(0.0, std::floor(pixelRect.origin.x));
    double top = std::max(0.0, std::floor(pixelRect.origin.y));
    double right = std::min<double>(m_width, std::ceil(pixelRect.origin.x + pixelRect.size.width));
    double bottom = std::min<double>(m_height, std::ceil(pixelRect.origin.y + pixelRect.size.height));
    // Written so that NaN edges leave nothing.
    if (!(right > left && bottom > top))
        return nullptr;
    auto piece = create(static_cast<int>(right - left), static_cast<int>(bottom - top));
    for (int y = 0; y < piece->m_height; ++y) {
        const uint8_t* source = bytes() + (static_cast<size_t>(top) + static_cast<size_t>(y)) * bytesPerRow() + static_cast<size_t>(left) * 4;
        std::memcpy(piece->bytes() + static_cast<size_t>(y) * piece->bytesPerRow(), source, piece->bytesPerRow());
    }
    return piece;
}

KCCairoSurfacePointer KCBitmap::cairoSurface() const
{
    KCCairoSurfacePointer surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, m_width, m_height));
    if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS)
        return surface;
    cairo_surface_flush(surface.get());
    unsigned char* target = cairo_image_surface_get_data(surface.get());
    size_t stride = static_cast<size_t>(cairo_image_surface_get_stride(surface.get()));
    for (int y = 0; y < m_height; ++y) {
        const uint8_t* row = bytes() + static_cast<size_t>(y) * bytesPerRow();
        for (int x = 0; x < m_width; ++x) {
            uint32_t argb = cairoPixel(row + static_cast<size_t>(x) * 4);
            std::memcpy(target + static_cast<size_t>(y) * stride + static_cast<size_t>(x) * 4, &argb, 4);
        }
    }
    cairo_surface_mark_dirty(surface.get());
    return surface;
}

std::optional<KCData> KCBitmap::PNGData() const
{
    return KCPNGDataWithSurface(cairoSurface().get());
}

std::unique_ptr<KCBitmap> BitmapContextCreateWithImage(const KCBitmap* image)
{
    return image ? std::make_unique<KCBitmap>(*image) : nullptr;
}
