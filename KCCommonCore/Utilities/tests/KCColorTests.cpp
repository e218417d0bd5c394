#include "Utilities/KCColor.h"

#include <gtest/gtest.h>

namespace {

TEST(KCColor, LighteningAndDarkeningMoveBrightnessAndSaturationOnly)
{
    KCColor grey = KCColor::colorWithWhite(0.5, 0.4);
    EXPECT_EQ(grey.lightenedColorByFactor(0), grey);
    EXPECT_EQ(grey.lightenedColorByFactor(0.5), KCColor::colorWithWhite(0.75, 0.4));
    EXPECT_EQ(grey.darkenedColorByFactor(0.5), KCColor::colorWithWhite(0.25, 0.4));
    // An RGB grey within the tolerance takes the grey path and comes back a calibrated white.
    EXPECT_EQ(KCColor::colorWithRed(0.5, 0.5, 0.5004, 1).lightenedColorByFactor(0.5).colorSpace(), KCColorSpace::CalibratedWhite);

    KCColor colour = KCColor::colorWithSRGBRed(0.8, 0.3, 0.45, 0.6);
    double h0, s0, b0, h, s, b, a;
    ASSERT_TRUE(colour.getHue(&h0, &s0, &b0, nullptr));
    struct Case {
        KCColor result;
        double saturation, brightness;
    } cases[] = {
        {colour.lightenedColorByFactor(0), s0, b0},
        {colour.lightenedColorByFactor(1), 0, 1},
        {colour.lightenedColorByFactor(0.25), 0.75 * s0, 0.75 * b0 + 0.25},
        {colour.darkenedColorByFactor(0.25), 0.75 * s0 + 0.25, 0.75 * b0},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(c.result.colorSpace(), KCColorSpace::CalibratedRGB);
        ASSERT_TRUE(c.result.getHue(&h, &s, &b, &a));
        EXPECT_NEAR(s, c.saturation, 1e-12);
        EXPECT_NEAR(b, c.brightness, 1e-12);
        EXPECT_EQ(a, 0.6);
        if (s > 0) {
            EXPECT_NEAR(h, h0, 1e-12);
        }
    }
}

TEST(KCColor, GrayscaleToleranceIsRelativeToTheSecondComponentInSinglePrecision)
{
    struct Case {
        KCColor colour;
        bool grey;
    } cases[] = {
        {KCColor::colorWithRed(0.5, 0.5, 0.5, 1), true},
        {KCColor::colorWithRed(0.5, 0.5, 0.5004, 1), true},
        {KCColor::colorWithRed(0.5, 0.5, 0.51, 1), false},
        {KCColor::withWhite(0.3, 1, KCColorSpace::DeviceWhite), true},
        // Noise on black is colour: the tolerance of 0 is 0.
        {KCColor::colorWithRed(0, 0, 1e-9, 1), false},
        {KCColor::colorWithRed(1e-9, 0, 0, 1), false},
        // Inside 0.001 widened from a float (0.0010000000474974513) but not inside 0.001.
        {KCColor::colorWithRed(0.50050000001, 0.5, 0.5, 1), true},
        // Inside the tolerance of green, not of red.
        {KCColor::colorWithRed(0.5, 0.50050025, 0.50050025, 1), true},
    };
    for (const Case& c : cases) {
        double r, g, b;
        c.colour.getRed(&r, &g, &b, nullptr);
        EXPECT_EQ(c.colour.p_isGrayscale(), c.grey) << r << " " << g << " " << b;
    }
}

TEST(KCColor, HueSaturationBrightnessRoundTripInEverySector)
{
    for (double hue : {0.0, 0.1, 0.25, 0.45, 0.6, 0.75, 0.95}) {
        double h, s, b;
        ASSERT_TRUE(KCColor::colorWithHue(hue, 0.7, 0.8, 0.5).getHue(&h, &s, &b, nullptr));
        EXPECT_NEAR(h, hue, 1e-12);
        EXPECT_NEAR(s, 0.7, 1e-12);
        EXPECT_NEAR(b, 0.8, 1e-12);
    }
    EXPECT_EQ(KCColor::colorWithHue(1.0 / 3, 1, 1, 1), KCColor::colorWithRed(0, 1, 0, 1));
    EXPECT_EQ(KCColor::colorWithHue(1, 1, 1, 1), KCColor::colorWithHue(0, 1, 1, 1));
}

} // namespace
