#include "PMTestPNG.h"
#include "Utilities/tests/KCTestFiles.h"

#include <gdk-pixbuf/gdk-pixbuf.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace {

// Nothing when the bytes do not decode as a PNG image; the caller unrefs.
GdkPixbuf* decode(const KCData& png)
{
    GdkPixbufLoader* loader = gdk_pixbuf_loader_new_with_type("png", nullptr);
    bool decoded = loader && gdk_pixbuf_loader_write(loader, png.data(), png.size(), nullptr)
        && gdk_pixbuf_loader_close(loader, nullptr);
    GdkPixbuf* image = decoded ? gdk_pixbuf_loader_get_pixbuf(loader) : nullptr;
    if (image)
        g_object_ref(image);
    if (loader)
        g_object_unref(loader);
    return image;
}

} // namespace

std::array<int, 3> PMTestPNGImage::at(int x, int y) const
{
    const uint8_t* pixel = rgba.data() + (static_cast<size_t>(y) * width + x) * 4;
    return {pixel[0], pixel[1], pixel[2]};
}

bool PMTestPNGImage::opaque() const
{
    for (size_t i = 3; i < rgba.size(); i += 4) {
        if (rgba[i] != 255)
            return false;
    }
    return true;
}

int PMTestColourDifference(const std::array<int, 3>& a, const std::array<int, 3>& b)
{
    int largest = 0;
    for (size_t channel = 0; channel < 3; ++channel)
        largest = std::max(largest, std::abs(a[channel] - b[channel]));
    return largest;
}

double PMTestPNGImage::brightnessDeviation(int top, int bottom) const
{
    double sum = 0;
    double squares = 0;
    const size_t begin = static_cast<size_t>(std::clamp(top, 0, height)) * width;
    const size_t end = static_cast<size_t>(std::clamp(bottom, 0, height)) * width;
    for (size_t i = begin; i < end; ++i) {
        double brightness = (rgba[i * 4] + rgba[i * 4 + 1] + rgba[i * 4 + 2]) / 3.0;
        sum += brightness;
        squares += brightness * brightness;
    }
    if (end <= begin)
        return 0;
    double mean = sum / static_cast<double>(end - begin);
    return std::sqrt(std::max(0.0, squares / static_cast<double>(end - begin) - mean * mean));
}

std::optional<PMTestPNGImage> PMTestPNGImageOfData(const KCData& png)
{
    GdkPixbuf* image = decode(png);
    if (!image)
        return std::nullopt;
    PMTestPNGImage decoded {gdk_pixbuf_get_width(image), gdk_pixbuf_get_height(image), {}};
    const int channels = gdk_pixbuf_get_n_channels(image);
    const int stride = gdk_pixbuf_get_rowstride(image);
    const guint8* pixels = gdk_pixbuf_read_pixels(image);
    decoded.rgba.reserve(static_cast<size_t>(decoded.width) * decoded.height * 4);
    for (int y = 0; y < decoded.height; ++y) {
        for (int x = 0; x < decoded.width; ++x) {
            const guint8* pixel = pixels + static_cast<size_t>(y) * stride + static_cast<size_t>(x) * channels;
            decoded.rgba.insert(decoded.rgba.end(), pixel, pixel + 3);
            decoded.rgba.push_back(channels == 4 ? pixel[3] : 255);
        }
    }
    g_object_unref(image);
    return decoded;
}

std::optional<PMTestPNGImage> PMTestPNGImageOfFile(const std::string& path)
{
    std::string bytes = KCReadTestFile(path);
    return PMTestPNGImageOfData(KCData(bytes.begin(), bytes.end()));
}
