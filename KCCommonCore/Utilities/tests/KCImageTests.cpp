#include "Utilities/KCImage.h"
#include "Utilities/KCImageAdjustment.h"
#include "Utilities/KCImageLoading.h"
#include "Utilities/KCStretchableImage.h"
#include "Utilities/tests/KCTestFiles.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>

namespace {

using Pixel = std::array<uint8_t, 4>;

KCBitmapRef imageWithPixels(int width, int height, const std::vector<Pixel>& pixels)
{
    auto bitmap = KCBitmap::create(width, height);
    std::memcpy(bitmap->bytes(), pixels.data(), bitmap->byteCount());
    return bitmap;
}

Pixel pixelAt(const KCBitmap& bitmap, int x, int y)
{
    Pixel pixel;
    std::memcpy(pixel.data(), bitmap.bytes() + static_cast<size_t>(y) * bitmap.bytesPerRow() + static_cast<size_t>(x) * 4, 4);
    return pixel;
}

Pixel adjusted(Pixel pixel, float hue, float saturation, float lightness)
{
    return pixelAt(*ImageCreateFromImageAdjustingHSL(imageWithPixels(1, 1, {pixel}), hue, saturation, lightness), 0, 0);
}

TEST(KCImageAdjustment, ShiftsHueSaturationAndLightnessOfStoredBytes)
{
    struct Case {
        Pixel pixel;
        float hue, saturation, lightness;
        Pixel expected;
    } cases[] = {
        {{255, 0, 0, 255}, 120, 0, 0, {0, 255, 0, 255}},
        {{0, 0, 255, 255}, 120, 0, 0, {255, 0, 0, 255}},
        // A grey has no hue to turn, until it is given saturation: then the shift alone is its hue.
        {{128, 128, 128, 255}, 200, 0, 0, {128, 128, 128, 255}},
        {{128, 128, 128, 255}, 200, -50, 0, {128, 128, 128, 255}},
        {{128, 128, 128, 255}, 120, 50, 0, {64, 128, 64, 255}},
        // The largest channel goes to 255 and the others keep their share of it;
        // premultiplied bytes are taken as they are, so the colour may pass its alpha.
        {{200, 100, 50, 255}, 0, 0, 100, {255, 127, 63, 255}},
        {{100, 50, 25, 128}, 0, 0, 100, {255, 127, 63, 128}},
        {{200, 100, 50, 77}, 30, 40, -100, {0, 0, 0, 77}},
        // Beyond a whole turn either way the sector is out of range: (t, p, p), the fraction truncated towards zero.
        {{255, 255, 255, 255}, 810, 50, 0, {191, 127, 127, 255}},
        {{255, 255, 255, 255}, -810, 50, 0, {63, 127, 127, 255}},
    };
    for (const Case& c : cases)
        EXPECT_EQ(adjusted(c.pixel, c.hue, c.saturation, c.lightness), c.expected) << "case " << &c - cases;
}

// A large image is adjusted in bands on several threads: every pixel, the
// last odd ones included, comes out as it does in an image of its own.
TEST(KCImageAdjustment, BandsOfALargeImageMeetWithoutSeams)
{
    const int width = 1021, height = 1031;
    auto bitmap = KCBitmap::create(width, height);
    for (size_t at = 0; at < bitmap->byteCount(); ++at)
        bitmap->bytes()[at] = static_cast<uint8_t>(at % 4 == 3 ? 255 : (at * 2654435761u) >> 24);
    KCBitmapRef image(std::move(bitmap));
    KCBitmapRef whole = ImageCreateFromImageAdjustingHSL(image, 75, 30, -20);
    for (int y : {0, height / 2 - 1, height / 2, height / 2 + 1, height - 1})
        for (int x = 0; x < width; ++x)
            ASSERT_EQ(pixelAt(*whole, x, y), adjusted(pixelAt(*image, x, y), 75, 30, -20)) << x << "," << y;
}

TEST(KCImageAdjustment, NegativeHueIsTheSameTurnAndUnchangedParametersAnswerTheSameImage)
{
    std::vector<Pixel> pixels;
    for (int i = 0; i < 64; ++i)
        pixels.push_back({static_cast<uint8_t>(i * 37), static_cast<uint8_t>(i * 91 + 5), static_cast<uint8_t>(255 - i * 13), static_cast<uint8_t>(i * 4 + 3)});
    KCBitmapRef image = imageWithPixels(8, 8, pixels);

    KCBitmapRef minus = ImageCreateFromImageAdjustingHSL(image, -90, 10, -20);
    KCBitmapRef plus = ImageCreateFromImageAdjustingHSL(image, 270, 10, -20);
    ASSERT_TRUE(minus && plus);
    EXPECT_EQ(std::memcmp(minus->bytes(), plus->bytes(), plus->byteCount()), 0);
    EXPECT_NE(std::memcmp(image->bytes(), plus->bytes(), plus->byteCount()), 0);

    for (float hue : {0.0f, 360.0f, -360.0f})
        EXPECT_EQ(ImageCreateFromImageAdjustingHSL(image, hue, 0, 0), image) << hue;
    EXPECT_NE(ImageCreateFromImageAdjustingHSL(image, 0, 0, 1), image);
    EXPECT_EQ(ImageCreateFromImageAdjustingHSL(nullptr, 10, 0, 0), nullptr);
}

TEST(KCStretchableImage, NineSlicesKeepCornersStretchTheMiddleAndStandUpright)
{
    // Three columns by four rows: the square drawn is the top three rows, so
    // the fourth row's colour must appear nowhere.
    std::vector<Pixel> pixels;
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 3; ++x)
            pixels.push_back({static_cast<uint8_t>(10 + 100 * x), static_cast<uint8_t>(10 + 60 * y), 200, 255});
    KCBitmapRef image = imageWithPixels(3, 4, pixels);

    KCCairoSurfacePointer surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, 40, 40));
    cairo_t* context = cairo_create(surface.get());
    ContextDrawStretchableImage(context, image, {{5, 7}, {30, 30}}, 1, 1);
    cairo_destroy(context);
    auto canvas = KCBitmap::createWithSurface(surface.get());
    ASSERT_TRUE(canvas);

    auto source = [&](int x, int y) { return pixels[static_cast<size_t>(y * 3 + x)]; };
    struct Probe {
        int x, y;  // in the 30 x 30 rectangle, y down
        Pixel expected;
    } probes[] = {
        {0, 0, source(0, 0)}, {29, 0, source(2, 0)}, {0, 29, source(0, 2)}, {29, 29, source(2, 2)},  // corners
        {1, 0, source(1, 0)}, {28, 0, source(1, 0)}, {0, 28, source(0, 1)}, {29, 15, source(2, 1)}, {15, 29, source(1, 2)},  // edges
        {1, 1, source(1, 1)}, {28, 28, source(1, 1)}, {-1, 0, {}}, {0, -1, {}}, {30, 29, {}}, {29, 30, {}},  // middle, outside
    };
    for (const Probe& probe : probes)
        EXPECT_EQ(pixelAt(*canvas, 5 + probe.x, 7 + probe.y), probe.expected) << "at " << probe.x << ", " << probe.y;
}

// A PNG file read back by the loader.
KCBitmapRef readBack(const KCScratchDirectory& scratch, const KCData& png)
{
    KCWriteTestFile(scratch.file("written.png"), std::string(png.begin(), png.end()));
    return ImageCreateWithURL(scratch.url("written.png"));
}

// Rows padded past their pixels, as the engine's snapshots come; `argb` as cairo keeps it.
KCImage solidImage(int width, int height, uint32_t argb)
{
    KCImage image {width, height, static_cast<size_t>(width) * 4 + 8, {}};
    image.pixels.resize(image.bytesPerRow * static_cast<size_t>(height));
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            std::memcpy(&image.pixels[static_cast<size_t>(y) * image.bytesPerRow + static_cast<size_t>(x) * 4], &argb, 4);
    return image;
}

TEST(KCImage, PNGDataDecodesToTheSamePixels)
{
    KCScratchDirectory scratch;
    // Opaque, and half transparent (premultiplied) to check the rounding.
    for (auto [argb, pixel] : {std::pair {0xFF336699u, Pixel {0x33, 0x66, 0x99, 0xFF}}, {0x80204060u, Pixel {0x20, 0x40, 0x60, 0x80}}}) {
        auto png = solidImage(240, 300, argb).PNGData();
        ASSERT_TRUE(png);
        KCBitmapRef read = readBack(scratch, *png);
        ASSERT_TRUE(read);
        EXPECT_EQ(read->width(), 240);
        EXPECT_EQ(read->height(), 300);
        EXPECT_EQ(pixelAt(*read, 11, 7), pixel);
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
    KCImage shortRows = solidImage(3, 2, 0);
    shortRows.bytesPerRow = 8;
    EXPECT_FALSE(shortRows.PNGData());
    KCImage missingPixels = solidImage(3, 2, 0);
    missingPixels.pixels.resize(10);
    EXPECT_FALSE(missingPixels.PNGData());
    EXPECT_FALSE(KCImage {}.PNGData());
}

TEST(KCImageLoading, ReadsWhatWasWrittenAndNothingFromBrokenOrMissingFiles)
{
    KCScratchDirectory scratch;
    // Opaque, transparent and half-transparent pixels survive the straight alpha of the file.
    KCBitmapRef written = imageWithPixels(2, 2, {{255, 0, 0, 255}, {0, 0, 0, 0}, {40, 80, 120, 128}, {1, 2, 3, 7}});
    auto png = written->PNGData();
    ASSERT_TRUE(png);
    KCBitmapRef read = readBack(scratch, *png);
    ASSERT_TRUE(read);
    ASSERT_EQ(read->width(), 2);
    ASSERT_EQ(read->height(), 2);
    EXPECT_EQ(std::memcmp(read->bytes(), written->bytes(), 16), 0);

    std::string corrupt(png->begin(), png->begin() + 40);
    corrupt += std::string(64, 'x');
    KCWriteTestFile(scratch.file("corrupt.png"), corrupt);
    struct Case {
        std::string name;
        KCImageErrorCode code;
    } cases[] = {{"corrupt.png", KCImageErrorCode::CannotDecode}, {"missing.png", KCImageErrorCode::CannotRead}};
    for (const Case& c : cases) {
        KCError error;
        EXPECT_EQ(ImageCreateWithURL(scratch.url(c.name), &error), nullptr) << c.name;
        EXPECT_EQ(error.domain, KCImageErrorDomain) << c.name;
        EXPECT_EQ(error.code, static_cast<int64_t>(c.code)) << c.name;
    }
}

} // namespace
