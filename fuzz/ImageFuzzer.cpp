// Any bytes as an image file: loading, the colour pass and stretchable
// drawing never crash, whatever the file says about its size or format. The
// first three bytes choose the colour shift and the caps; the rest is the file.
#include "Utilities/KCImageAdjustment.h"
#include "Utilities/KCImageLoading.h"
#include "Utilities/KCStretchableImage.h"

#include "PMFuzzSandbox.h"

#include <gdk-pixbuf/gdk-pixbuf.h>

#include <cstdlib>
#include <fstream>

namespace {

namespace fs = std::filesystem;

fs::path sandbox;

} // namespace

// Some of the desktop's image loaders reserve in one piece whatever length a
// header claims, and give up cleanly when that fails; let it fail, as it
// would on a machine without that much memory, instead of counting it as ours.
extern "C" const char* __asan_default_options()
{
    return "allocator_may_return_null=1:max_allocation_size_mb=512";
}

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    sandbox = PMFuzzSandbox("image");
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    if (size < 3)
        return 0;
    const fs::path file = sandbox / "image";
    std::ofstream(file, std::ios::binary | std::ios::trunc).write(reinterpret_cast<const char*>(bytes + 3), static_cast<std::streamsize>(size - 3));

    // Large pictures would only spend the run's time in the loaders.
    int width = 0;
    int height = 0;
    if (gdk_pixbuf_get_file_info(file.c_str(), &width, &height) && int64_t(width) * height > (1 << 20))
        return 0;
    KCBitmapRef image = ImageCreateWithURL(*KCURL::fileURLWithPath(file.string()));
    if (!image)
        return 0;
    // Hue from -720 to 710 degrees (beyond a whole turn either way), saturation and lightness from -128 % to 127 %.
    float hue = (static_cast<int>(bytes[0]) - 128) * 5.6f;
    KCBitmapRef adjusted = ImageCreateFromImageAdjustingHSL(image, hue, static_cast<int8_t>(bytes[1]), static_cast<int8_t>(bytes[2]));
    if (!adjusted || adjusted->width() != image->width() || adjusted->height() != image->height())
        std::abort();

    KCCairoSurfacePointer canvas(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, 64, 48));
    cairo_t* context = cairo_create(canvas.get());
    ContextDrawStretchableImage(context, adjusted, {{3, 2}, {57, 41}}, bytes[1] % 8, bytes[2] % 8);
    cairo_destroy(context);
    return 0;
}
