#include "Utilities/KCColor.h"
#include "Utilities/KCImage.h"

#include <cairo.h>
#include <gtest/gtest.h>

#include <cstring>

namespace {

TEST(KCColor, WhiteFillsEveryComponentAndEqualityIsExact)
{
    KCColor grey = KCColor::withWhite(0.25, 0.5);
    EXPECT_EQ(grey, KCColor(0.25, 0.25, 0.25, 0.5, KCColorSpace::DeviceWhite));
    EXPECT_EQ(grey.colorSpace(), KCColorSpace::DeviceWhite);
    EXPECT_NE(grey, KCColor::withWhite(0.25, 0.5, KCColorSpace::CalibratedWhite));
    EXPECT_NE(grey, KCColor::withWhite(0.25 + 1e-12, 0.5));
    EXPECT_NE(KCColor(0, 0, 0, 1), KCColor(0, 0, 0, 0.999));
}

// Rows padded past their pixels, as the engine's snapshots come.
KCImage solidImage(int width, int height, uint32_t argb)
{
    KCImage image {width, height, static_cast<size_t>(width) * 4 + 8, {}};
    image.pixels.resize(image.bytesPerRow * static_cast<size_t>(height));
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            std::memcpy(&image.pixels[static_cast<size_t>(y) * image.bytesPerRow + static_cast<size_t>(x) * 4], &argb, 4);
    return image;
}

struct PNGReader {
    const KCData& data;
    size_t offset = 0;
    static cairo_status_t read(void* closure, unsigned char* out, unsigned int length)
    {
        auto* reader = static_cast<PNGReader*>(closure);
        if (reader->data.size() - reader->offset < length)
            return CAIRO_STATUS_READ_ERROR;
        std::memcpy(out, reader->data.data() + reader->offset, length);
        reader->offset += length;
        return CAIRO_STATUS_SUCCESS;
    }
};

TEST(KCImage, PNGDataDecodesToTheSamePixels)
{
    // Opaque, and half transparent (premultiplied) to check the rounding.
    for (uint32_t argb : {0xFF336699u, 0x80204060u}) {
        auto png = solidImage(240, 300, argb).PNGData();
        ASSERT_TRUE(png);
        PNGReader reader {*png};
        cairo_surface_t* surface = cairo_image_surface_create_from_png_stream(PNGReader::read, &reader);
        ASSERT_EQ(cairo_surface_status(surface), CAIRO_STATUS_SUCCESS);
        EXPECT_EQ(cairo_image_surface_get_width(surface), 240);
        EXPECT_EQ(cairo_image_surface_get_height(surface), 300);
        uint32_t pixel;
        std::memcpy(&pixel, cairo_image_surface_get_data(surface) + 7 * cairo_image_surface_get_stride(surface) + 4 * 11, 4);
        EXPECT_EQ(pixel, argb);
        cairo_surface_destroy(surface);
    }
}

TEST(KCImage, PNGDataHasNoHeightLimit)
{
    // Taller than cairo draws: the header says so.
    auto png = solidImage(2, 40000, 0xFF000000).PNGData();
    ASSERT_TRUE(png);
    ASSERT_GT(png->size(), 24u);
    EXPECT_EQ(((*png)[20] << 24) | ((*png)[21] << 16) | ((*png)[22] << 8) | (*png)[23], 40000);
}

TEST(KCImage, ImagesWhoseSizeAndPixelsDisagreeAreRefused)
{
    EXPECT_TRUE(solidImage(3, 2, 0).PNGData());
    KCImage shortRows = solidImage(3, 2, 0);
    shortRows.bytesPerRow = 8;
    EXPECT_FALSE(shortRows.PNGData());
    KCImage missingPixels = solidImage(3, 2, 0);
    missingPixels.pixels.resize(10);
    EXPECT_FALSE(missingPixels.PNGData());
    EXPECT_FALSE(KCImage {}.PNGData());
}

} // namespace
