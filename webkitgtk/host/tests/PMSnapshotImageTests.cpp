#include "host/PMBookScheme.h"
#include "host/PMSnapshotImage.h"

#include <gtk/gtk.h>
#include <gtest/gtest.h>

namespace {

// A texture whose left half is red and right half blue, in GDK's default
// memory layout (cairo's ARGB32).
GdkTexture* halves(int width, int height)
{
    std::vector<uint32_t> pixels(static_cast<size_t>(width) * height);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x)
            pixels[static_cast<size_t>(y) * width + x] = x < width / 2 ? 0xFFFF0000u : 0xFF0000FFu;
    }
    GBytes* bytes = g_bytes_new(pixels.data(), pixels.size() * 4);
    GdkTexture* texture = gdk_memory_texture_new(width, height, GDK_MEMORY_DEFAULT, bytes, static_cast<gsize>(width) * 4);
    g_bytes_unref(bytes);
    return texture;
}

uint32_t pixel(const KCImage& image, int x, int y)
{
    uint32_t value;
    memcpy(&value, image.pixels.data() + static_cast<size_t>(y) * image.bytesPerRow + static_cast<size_t>(x) * 4, 4);
    return value;
}

TEST(PMSnapshotImage, CropsTheDocumentRectangleAndScalesIt)
{
    GdkTexture* texture = halves(40, 20);
    // The right half, doubled.
    auto image = PMImageFromTexture(texture, KCRect {{20, 0}, {20, 20}}, 2.0);
    ASSERT_TRUE(image);
    EXPECT_EQ(image->width, 40);
    EXPECT_EQ(image->height, 40);
    EXPECT_GE(image->bytesPerRow, 160u);
    EXPECT_EQ(pixel(*image, 2, 2), 0xFF0000FFu);
    // The document's last pixels stay opaque.
    EXPECT_EQ(pixel(*image, 39, 39), 0xFF0000FFu);

    // Halved: the whole texture in 20 x 10, red then blue.
    image = PMImageFromTexture(texture, KCRect {{0, 0}, {40, 20}}, 0.5);
    ASSERT_TRUE(image);
    EXPECT_EQ(image->width, 20);
    EXPECT_EQ(image->height, 10);
    EXPECT_EQ(pixel(*image, 2, 5), 0xFFFF0000u);
    EXPECT_EQ(pixel(*image, 17, 5), 0xFF0000FFu);

    KCValue reply = PMSnapshotReplyBody(image);
    EXPECT_EQ(reply["width"].uint64Value(), 20u);
    EXPECT_EQ(reply["pixels"].data()->size(), image->bytesPerRow * 10);
    g_object_unref(texture);
}

TEST(PMSnapshotImage, RefusesWhatCannotBeDrawn)
{
    GdkTexture* texture = halves(8, 8);
    EXPECT_FALSE(PMImageFromTexture(nullptr, KCRect {{0, 0}, {8, 8}}, 1));
    EXPECT_FALSE(PMImageFromTexture(texture, KCRect {{0, 0}, {8, 8}}, 0));
    EXPECT_FALSE(PMImageFromTexture(texture, KCRect {{0, 0}, {8, 8}}, std::nan("")));
    EXPECT_FALSE(PMImageFromTexture(texture, KCRect {{0, 0}, {0, 8}}, 1));
    EXPECT_FALSE(PMImageFromTexture(texture, KCRect {{0, 0}, {1e9, 8}}, 1));
    EXPECT_TRUE(PMSnapshotReplyBody(std::nullopt).isNull());
    g_object_unref(texture);
}

TEST(PMBookScheme, BookURIsMapBackToFileURIs)
{
    EXPECT_EQ(PMFileURIForBookURI("pmbook:///cache/b/OEBPS/a%20b.css"), "file:///cache/b/OEBPS/a%20b.css");
    EXPECT_FALSE(PMFileURIForBookURI("file:///cache/b/x.css"));
    EXPECT_FALSE(PMFileURIForBookURI("pmbookx:///x"));
}

} // namespace
