#include "KCImageLoading.h"

#include "KCLogger.h"

#include <gdk-pixbuf/gdk-pixbuf.h>

const char* const KCImageErrorDomain = "KCImageErrorDomain";

namespace {

KCBitmapRef fail(KCError* error, KCImageErrorCode code, const std::string& message)
{
    KCLog("%@", message);
    KCSetError(error, KCError(KCImageErrorDomain, static_cast<int64_t>(code), message));
    return nullptr;
}

uint8_t premultiplied(unsigned colour, unsigned alpha)
{
    return static_cast<uint8_t>((colour * alpha + 127) / 255);
}

// The loader's pixels (straight alpha, or none) as premultiplied RGBA.
std::unique_ptr<KCBitmap> bitmapWithPixbuf(GdkPixbuf* pixbuf)
{
    int channels = gdk_pixbuf_get_n_channels(pixbuf);
    bool hasAlpha = gdk_pixbuf_get_has_alpha(pixbuf);
    if (gdk_pixbuf_get_colorspace(pixbuf) != GDK_COLORSPACE_RGB || gdk_pixbuf_get_bits_per_sample(pixbuf) != 8 || channels != (hasAlpha ? 4 : 3))
        return nullptr;
    auto bitmap = KCBitmap::create(gdk_pixbuf_get_width(pixbuf), gdk_pixbuf_get_height(pixbuf));
    if (!bitmap)
        return nullptr;
    const guint8* pixels = gdk_pixbuf_read_pixels(pixbuf);
    size_t stride = static_cast<size_t>(gdk_pixbuf_get_rowstride(pixbuf));
    for (int y = 0; y < bitmap->height(); ++y) {
        const guint8* source = pixels + static_cast<size_t>(y) * stride;
        uint8_t* target = bitmap->bytes() + static_cast<size_t>(y) * bitmap->bytesPerRow();
        for (int x = 0; x < bitmap->width(); ++x, source += channels, target += 4) {
            unsigned alpha = hasAlpha ? source[3] : 255;
            target[0] = premultiplied(source[0], alpha);
            target[1] = premultiplied(source[1], alpha);
            target[2] = premultiplied(source[2], alpha);
            target[3] = static_cast<uint8_t>(alpha);
        }
    }
    return bitmap;
}

} // namespace

KCBitmapRef ImageCreateWithURL(const KCURL& url, KCError* error)
{
    if (!url.isFileURL())
        return fail(error, KCImageErrorCode::CannotRead, "Cannot read an image from " + url.absoluteString() + ": not a file");
    // The size first, from the header alone: a file whose size no loader can
    // read has no pixels either, and a huge one is refused before decoding.
    int width = 0;
    int height = 0;
    if (!g_file_test(url.path().c_str(), G_FILE_TEST_IS_REGULAR))
        return fail(error, KCImageErrorCode::CannotRead, "Cannot read the image " + url.path() + ": no such file");
    if (!gdk_pixbuf_get_file_info(url.path().c_str(), &width, &height))
        return fail(error, KCImageErrorCode::CannotDecode, "Cannot read the image " + url.path() + ": not an image any loader knows");
    if (int64_t(width) * height > KCImageMaximumPixels)
        return fail(error, KCImageErrorCode::CannotDecode, KCStringWithFormat("Cannot use the image %@: %d x %d pixels is too large", url.path(), width, height));
    GError* problem = nullptr;
    GdkPixbuf* pixbuf = gdk_pixbuf_new_from_file(url.path().c_str(), &problem);
    if (!pixbuf) {
        bool unreadable = problem && problem->domain == G_FILE_ERROR;
        std::string message = "Cannot read the image " + url.path() + ": " + (problem ? problem->message : "no loader answered");
        g_clear_error(&problem);
        return fail(error, unreadable ? KCImageErrorCode::CannotRead : KCImageErrorCode::CannotDecode, message);
    }
    std::unique_ptr<KCBitmap> bitmap = bitmapWithPixbuf(pixbuf);
    width = gdk_pixbuf_get_width(pixbuf);
    height = gdk_pixbuf_get_height(pixbuf);
    g_object_unref(pixbuf);
    if (!bitmap)
        return fail(error, KCImageErrorCode::CannotDecode,
            KCStringWithFormat("Cannot use the image %@: %d x %d pixels in a layout or size this system does not draw", url.path(), width, height));
    return bitmap;
}
