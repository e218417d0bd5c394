#include "PMTestPNG.h"

#include <gdk-pixbuf/gdk-pixbuf.h>

#include <fstream>
#include <iterator>

std::optional<PMTestPNGSize> PMTestPNGSizeOfData(const KCData& png)
{
    GdkPixbufLoader* loader = gdk_pixbuf_loader_new_with_type("png", nullptr);
    bool decoded = loader && gdk_pixbuf_loader_write(loader, png.data(), png.size(), nullptr)
        && gdk_pixbuf_loader_close(loader, nullptr);
    GdkPixbuf* image = decoded ? gdk_pixbuf_loader_get_pixbuf(loader) : nullptr;
    std::optional<PMTestPNGSize> size;
    if (image)
        size = PMTestPNGSize {gdk_pixbuf_get_width(image), gdk_pixbuf_get_height(image)};
    if (loader)
        g_object_unref(loader);
    return size;
}

std::optional<PMTestPNGSize> PMTestPNGSizeOfFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return PMTestPNGSizeOfData(KCData(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()));
}
