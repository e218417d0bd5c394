#include "host/PMBookScheme.h"
#include "host/PMSnapshotImage.h"

#include <gtk/gtk.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

namespace {

// A texture whose left half is `left` and right half `right`, in GDK's
// default memory layout (cairo's ARGB32).
GdkTexture* halves(int width, int height, uint32_t left = 0xFFFF0000u, uint32_t right = 0xFF0000FFu)
{
    std::vector<uint32_t> pixels(static_cast<size_t>(width) * height);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x)
            pixels[static_cast<size_t>(y) * width + x] = x < width / 2 ? left : right;
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

// The rectangle drawn from one texture that shows the whole 40 x 20 document.
std::optional<KCImage> drawn(GdkTexture* texture, const KCRect& rect, double scale)
{
    auto image = PMSnapshotCanvas(rect, scale);
    if (image)
        PMDrawSnapshotTexture(*image, rect, scale, texture, {{0, 0}, {40, 20}}, rect);
    return image;
}

TEST(PMSnapshotImage, CropsTheDocumentRectangleAndScalesIt)
{
    GdkTexture* texture = halves(40, 20);
    // The right half, doubled.
    auto image = drawn(texture, {{20, 0}, {20, 20}}, 2.0);
    ASSERT_TRUE(image);
    EXPECT_EQ(image->width, 40);
    EXPECT_EQ(image->height, 40);
    EXPECT_GE(image->bytesPerRow, 160u);
    EXPECT_EQ(pixel(*image, 2, 2), 0xFF0000FFu);
    // The document's last pixels stay opaque.
    EXPECT_EQ(pixel(*image, 39, 39), 0xFF0000FFu);
    // Textures at device scale 2 are the end-to-end snapshot tests' (GDK_SCALE=2).

    KCValue reply = PMSnapshotReplyBody(image);
    EXPECT_EQ(reply["width"].uint64Value(), 40u);
    EXPECT_EQ(reply["bytesPerRow"].uint64Value(), image->bytesPerRow);
    g_object_unref(texture);
}

TEST(PMSnapshotImage, BandsFromSeveralTexturesMeetWithoutSeams)
{
    // A 10 x 25 document drawn from three 10 x 10 views at device scale 2;
    // the last view stands at the document's end, overlapping the second.
    GdkTexture* top = halves(20, 20, 0xFFFF0000u, 0xFFFF0000u);
    GdkTexture* middle = halves(20, 20, 0xFF00FF00u, 0xFF00FF00u);
    GdkTexture* bottom = halves(20, 20, 0xFF0000FFu, 0xFF0000FFu);
    const KCRect rect {{0, 0}, {10, 25}};
    for (double scale : {1.0, 0.7}) {
        auto image = PMSnapshotCanvas(rect, scale);
        ASSERT_TRUE(image);
        PMDrawSnapshotTexture(*image, rect, scale, top, {{0, 0}, {10, 10}}, {{0, 0}, {10, 10}});
        PMDrawSnapshotTexture(*image, rect, scale, middle, {{0, 10}, {10, 10}}, {{0, 10}, {10, 10}});
        PMDrawSnapshotTexture(*image, rect, scale, bottom, {{0, 15}, {10, 10}}, {{0, 20}, {10, 10}});
        // Every row is drawn, each from the view that owns it.
        for (int y = 0; y < image->height; ++y) {
            double document = (y + 0.5) / scale;
            uint32_t expected = document < 10 ? 0xFFFF0000u : document < 20 ? 0xFF00FF00u : 0xFF0000FFu;
            if (std::abs(document - 10) > 1 / scale && std::abs(document - 20) > 1 / scale) {
                EXPECT_EQ(pixel(*image, 5, y), expected) << scale << " row " << y;
            }
            EXPECT_EQ(pixel(*image, 5, y) >> 24, 0xFFu) << scale << " row " << y;
        }
    }
    g_object_unref(top);
    g_object_unref(middle);
    g_object_unref(bottom);
}

TEST(PMSnapshotImage, RefusesWhatCannotBeDrawn)
{
    EXPECT_FALSE(PMSnapshotCanvas({{0, 0}, {8, 8}}, 0));
    EXPECT_FALSE(PMSnapshotCanvas({{0, 0}, {8, 8}}, std::nan("")));
    EXPECT_FALSE(PMSnapshotCanvas({{0, 0}, {0, 8}}, 1));
    EXPECT_FALSE(PMSnapshotCanvas({{0, 0}, {1e9, 8}}, 1));
    // Tall is fine up to the pixel bound, past cairo's own height limit.
    EXPECT_TRUE(PMSnapshotCanvas({{0, 0}, {100, 40000}}, 1));
    EXPECT_FALSE(PMSnapshotCanvas({{0, 0}, {600, 1e6}}, 1));
    EXPECT_TRUE(PMSnapshotReplyBody(std::nullopt).isNull());

    // A texture without pixels leaves the image as it was.
    auto image = PMSnapshotCanvas({{0, 0}, {4, 4}}, 1);
    ASSERT_TRUE(image);
    PMDrawSnapshotTexture(*image, {{0, 0}, {4, 4}}, 1, nullptr, {{0, 0}, {4, 4}}, {{0, 0}, {4, 4}});
    EXPECT_EQ(pixel(*image, 1, 1), 0u);
}

TEST(PMBookScheme, BookURIsMapBackToFileURIs)
{
    EXPECT_EQ(PMFileURIForBookURI("pmbook:///cache/b/OEBPS/a%20b.css"), "file:///cache/b/OEBPS/a%20b.css");
    EXPECT_FALSE(PMFileURIForBookURI("file:///cache/b/x.css"));
    EXPECT_FALSE(PMFileURIForBookURI("pmbookx:///x"));
}

} // namespace
