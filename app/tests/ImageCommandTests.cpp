// The image commands through the real pagemoor program: real files in, PNG files out.
#include "PMProgramRunner.h"
#include "Utilities/KCImageAdjustment.h"
#include "Utilities/KCImageLoading.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

// Writes an opaque 3 x 3 PNG whose pixel x, y is (20 + 100x, 20 + 100y, 7).
std::string writeGrid(const KCScratchDirectory& scratch)
{
    auto bitmap = KCBitmap::create(3, 3);
    for (size_t at = 0; at < 9; ++at) {
        const uint8_t pixel[] = {uint8_t(20 + 100 * (at % 3)), uint8_t(20 + 100 * (at / 3)), 7, 255};
        std::memcpy(bitmap->bytes() + at * 4, pixel, 4);
    }
    auto png = bitmap->PNGData();
    KCWriteTestFile(scratch.file("grid.png"), std::string(png->begin(), png->end()));
    return "'" + scratch.file("grid.png") + "' '" + scratch.file("out.png") + "' ";
}

uint32_t pixelOf(const KCBitmapRef& image, int x, int y)
{
    uint32_t pixel;
    std::memcpy(&pixel, image->bytes() + static_cast<size_t>(y) * image->bytesPerRow() + static_cast<size_t>(x) * 4, 4);
    return pixel;
}

TEST(ImageCommand, AdjustsTheColoursOfAFileOrSaysWhyNot)
{
    KCScratchDirectory scratch;
    PMProgramResult adjusted = PMRunPagemoor("image adjust " + writeGrid(scratch) + "--hue 120 --lightness=-50.0");
    ASSERT_EQ(adjusted.status, 0) << adjusted.err;
    KCBitmapRef out = ImageCreateWithURL(scratch.url("out.png"));
    ASSERT_TRUE(out);
    // (220, 20, 7) turned a third of the way round and darkened by half.
    EXPECT_EQ(pixelOf(out, 2, 0), pixelOf(ImageCreateFromImageAdjustingHSL(ImageCreateWithURL(scratch.url("grid.png")), 120, 0, -50), 2, 0));

    KCWriteTestFile(scratch.file("broken.png"), "\x89PNG\r\n\x1a\nnot really");
    for (std::string name : {"missing.png", "broken.png"}) {
        PMProgramResult failed = PMRunPagemoor("image adjust '" + scratch.file(name) + "' out.png --hue 10");
        EXPECT_NE(failed.status, 0);
        EXPECT_NE(failed.err.find(name), std::string::npos) << failed.err;
    }
}

TEST(ImageCommand, StretchesAnImageIntoACanvasUpright)
{
    KCScratchDirectory scratch;
    PMProgramResult stretched = PMRunPagemoor("image stretch " + writeGrid(scratch) + "--size 40x30 --caps 1,1");
    ASSERT_EQ(stretched.status, 0) << stretched.err;
    KCBitmapRef out = ImageCreateWithURL(scratch.url("out.png"));
    KCBitmapRef grid = ImageCreateWithURL(scratch.url("grid.png"));
    ASSERT_TRUE(out && grid);
    EXPECT_EQ(out->width(), 40);
    EXPECT_EQ(out->height(), 30);
    EXPECT_EQ(pixelOf(out, 0, 0), pixelOf(grid, 0, 0));
    EXPECT_EQ(pixelOf(out, 39, 29), pixelOf(grid, 2, 2));
    EXPECT_EQ(pixelOf(out, 20, 15), pixelOf(grid, 1, 1));

    PMProgramResult badSize = PMRunPagemoor("image stretch " + writeGrid(scratch) + "--size 40.5x30 --caps 1,1");
    EXPECT_NE(badSize.status, 0);
    EXPECT_NE(badSize.err.find("--size"), std::string::npos) << badSize.err;
}

} // namespace
