// The themes against their colour tables, written out here by hand, and the factories.
#include "Themes/TNAnnotationThemeClasses.h"
#include "Themes/TNColorContrast.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <latch>
#include <map>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

// Readable failures: the space's number and the four components.
void PrintTo(const KCColor& color, std::ostream* out)
{
    *out << "space " << static_cast<int>(color.colorSpace()) << " (" << color.red() << ", " << color.green() << ", " << color.blue() << ", " << color.alpha() << ")";
}

namespace {

using Getter = TNThemeColor (TNAnnotationTheme::*)() const;
using Theme = std::shared_ptr<const TNAnnotationTheme>;

KCColor rgb(int r, int g, int b, double a) { return KCColor(r / 255.0, g / 255.0, b / 255.0, a, KCColorSpace::CalibratedRGB); }
KCColor srgb(int r, int g, int b, double a) { return KCColor(r / 255.0, g / 255.0, b / 255.0, a, KCColorSpace::SRGB); }
KCColor dev(int r, int g, int b, double a) { return KCColor(r / 255.0, g / 255.0, b / 255.0, a, KCColorSpace::DeviceRGB); }
KCColor white(double w, double a) { return KCColor(w, w, w, a, KCColorSpace::CalibratedWhite); }
KCColor grey(int w, double a) { return white(w / 255.0, a); }
const KCColor black = white(0.0, 1.0);
const TNThemeColor none;

const std::map<std::string, Getter> kGetters = {
    {"colorBarColor", &TNAnnotationTheme::colorBarColor},
    {"highlightColor", &TNAnnotationTheme::highlightColor},
    {"noteColor", &TNAnnotationTheme::noteColor},
    {"noteBorderColor", &TNAnnotationTheme::noteBorderColor},
    {"highlightBaseColor", &TNAnnotationTheme::highlightBaseColor},
    {"highlightStriationColor", &TNAnnotationTheme::highlightStriationColor},
    {"underlineColor", &TNAnnotationTheme::underlineColor},
    {"noteBackgroundTopColor", &TNAnnotationTheme::noteBackgroundTopColor},
    {"noteBackgroundBottomColor", &TNAnnotationTheme::noteBackgroundBottomColor},
    {"noteOuterStrokeColor", &TNAnnotationTheme::noteOuterStrokeColor},
    {"noteInnerStrokeColor", &TNAnnotationTheme::noteInnerStrokeColor},
    {"noteBorderTopColor", &TNAnnotationTheme::noteBorderTopColor},
    {"noteBorderBottomColor", &TNAnnotationTheme::noteBorderBottomColor},
    {"noteLinesColor", &TNAnnotationTheme::noteLinesColor},
    {"noteShadowColor", &TNAnnotationTheme::noteShadowColor},
    {"notesSidebarTextColor", &TNAnnotationTheme::notesSidebarTextColor},
    {"noteTextColor", &TNAnnotationTheme::noteTextColor},
    {"noteMarkerColor", &TNAnnotationTheme::noteMarkerColor},
    {"noteMarkerBorderColor", &TNAnnotationTheme::noteMarkerBorderColor},
    {"noteMarkerStrikethroughColor", &TNAnnotationTheme::noteMarkerStrikethroughColor},
    {"noteMarkerTextColor", &TNAnnotationTheme::noteMarkerTextColor},
    {"noteEditorTextColor", &TNAnnotationTheme::noteEditorTextColor},
};

struct Row {
    std::string property;
    TNThemeColor day;
    TNThemeColor night;
};

// What every desktop theme answers unless its own table says otherwise.
const std::vector<Row> kCommon = {
    {"underlineColor", black, black},
    {"noteShadowColor", black, black},
    {"noteLinesColor", grey(0, 0.1), white(1.0, 0.08)},
    {"notesSidebarTextColor", KCColor(0.337, 0.506, 0.612, 1, KCColorSpace::CalibratedRGB), KCColor(0.337, 0.506, 0.612, 1, KCColorSpace::CalibratedRGB)},
    {"noteEditorTextColor", black, white(1.0, 1.0)},
    {"noteMarkerStrikethroughColor", rgb(217, 11, 0, 1), rgb(217, 11, 0, 1)},
    {"noteMarkerTextColor", none, none},
};

struct Family {
    const char* name;
    std::function<Theme(bool)> factory;
    int64_t style;
    bool strokes;
    std::vector<Row> rows;  // the values the desktop class ends up with
};

const std::vector<Family> kFamilies = {
    {"green", TNAnnotationTheme::greenTheme, 1, false, {
        {"colorBarColor", rgb(178, 233, 46, 1), rgb(178, 233, 46, 1)},
        {"highlightBaseColor", rgb(191, 240, 77, 1), rgb(150, 214, 0, 1)},
        {"highlightStriationColor", rgb(191, 240, 77, 1), rgb(150, 214, 0, 1)},
        {"highlightColor", dev(191, 240, 77, 1), dev(44, 83, 13, 1)},
        {"noteBackgroundTopColor", rgb(224, 247, 174, 1), rgb(77, 125, 47, 1)},
        {"noteBackgroundBottomColor", rgb(204, 230, 147, 1), rgb(62, 100, 37, 1)},
        {"noteBorderTopColor", rgb(137, 171, 65, 0.75), rgb(103, 163, 65, 1)},
        {"noteBorderBottomColor", rgb(117, 145, 55, 0.75), rgb(82, 130, 52, 1)},
        {"noteMarkerColor", srgb(196, 243, 97, 1), rgb(62, 100, 37, 1)},
        {"noteMarkerBorderColor", srgb(165, 193, 109, 1), rgb(82, 130, 52, 1)},
        {"noteColor", srgb(203, 244, 120, 1), rgb(62, 100, 37, 1)},
        {"noteBorderColor", srgb(165, 193, 109, 1), rgb(82, 130, 52, 1)},
        {"noteTextColor", rgb(31, 43, 13, 1), grey(235, 1)},
    }},
    {"blue", TNAnnotationTheme::blueTheme, 2, true, {
        {"colorBarColor", rgb(174, 204, 252, 1), rgb(174, 204, 252, 1)},
        {"highlightBaseColor", rgb(174, 204, 252, 1), rgb(119, 147, 210, 0.9)},
        {"highlightColor", dev(174, 204, 252, 1), dev(47, 50, 120, 1)},
        {"highlightStriationColor", rgb(174, 204, 252, 1), rgb(58, 56, 128, 1)},
        {"noteBackgroundTopColor", rgb(218, 233, 253, 1), rgb(79, 84, 173, 1)},
        {"noteBackgroundBottomColor", rgb(200, 221, 250, 1), rgb(69, 72, 149, 1)},
        {"noteOuterStrokeColor", rgb(15, 35, 124, 0.45), grey(0, 0.4)},
        {"noteInnerStrokeColor", white(1.0, 0.029), white(1.0, 0.08)},
        {"noteBorderTopColor", rgb(108, 154, 217, 0.75), rgb(97, 103, 212, 1)},
        {"noteBorderBottomColor", rgb(95, 135, 191, 0.75), rgb(85, 91, 186, 1)},
        {"noteColor", srgb(200, 219, 251, 1), rgb(69, 72, 149, 1)},
        {"noteBorderColor", srgb(142, 174, 224, 1), rgb(85, 91, 186, 1)},
        {"noteMarkerColor", srgb(187, 213, 252, 1), rgb(69, 72, 149, 1)},
        {"noteMarkerBorderColor", srgb(142, 174, 224, 1), rgb(85, 91, 186, 1)},
        {"noteTextColor", rgb(28, 39, 62, 1), grey(235, 1)},
    }},
    {"yellow", TNAnnotationTheme::yellowTheme, 3, true, {
        {"colorBarColor", rgb(255, 226, 125, 1), rgb(255, 226, 125, 1)},
        {"highlightBaseColor", rgb(250, 239, 90, 1), rgb(193, 179, 0, 0.9)},
        {"highlightColor", dev(250, 239, 90, 1), dev(105, 81, 7, 1)},
        {"highlightStriationColor", rgb(250, 239, 99, 1), rgb(125, 108, 10, 1)},
        {"noteBackgroundTopColor", rgb(250, 246, 198, 1), rgb(151, 120, 18, 1)},
        {"noteBackgroundBottomColor", rgb(250, 242, 153, 1), rgb(125, 100, 15, 1)},
        {"noteOuterStrokeColor", rgb(54, 36, 4, 0.4), grey(0, 0.4)},
        {"noteInnerStrokeColor", white(1.0, 0.35), white(1.0, 0.08)},
        {"noteBorderTopColor", rgb(204, 161, 40, 0.75), rgb(202, 160, 24, 1)},
        {"noteBorderBottomColor", rgb(179, 140, 35, 0.75), rgb(176, 130, 21, 1)},
        {"noteColor", srgb(249, 245, 145, 1), rgb(125, 100, 15, 1)},
        {"noteBorderColor", srgb(207, 177, 84, 1), rgb(176, 130, 21, 1)},
        {"noteMarkerColor", srgb(249, 243, 119, 1), rgb(125, 100, 15, 1)},
        {"noteMarkerBorderColor", srgb(207, 177, 84, 1), rgb(176, 130, 21, 1)},
        {"noteTextColor", rgb(42, 31, 10, 1), grey(235, 1)},
    }},
    {"pink", TNAnnotationTheme::pinkTheme, 4, true, {
        {"colorBarColor", white(0.3, 1), white(0.3, 1)},
        {"highlightBaseColor", rgb(250, 170, 210, 1), rgb(218, 135, 181, 0.8)},
        {"highlightColor", dev(250, 170, 210, 1), dev(110, 54, 73, 1)},
        {"highlightStriationColor", rgb(250, 170, 210, 1), rgb(135, 58, 107, 1)},
        {"noteBackgroundTopColor", rgb(254, 219, 235, 1), rgb(158, 87, 109, 1)},
        {"noteBackgroundBottomColor", rgb(255, 204, 228, 1), rgb(132, 72, 91, 1)},
        {"noteOuterStrokeColor", rgb(65, 2, 74, 0.42), grey(0, 0.4)},
        {"noteInnerStrokeColor", white(1.0, 0.15), white(1.0, 0.08)},
        {"noteBorderTopColor", rgb(194, 126, 158, 0.75), rgb(209, 115, 145, 1)},
        {"noteBorderBottomColor", rgb(168, 109, 137, 0.75), rgb(184, 101, 127, 1)},
        {"noteColor", srgb(255, 203, 228, 1), rgb(132, 72, 91, 1)},
        {"noteBorderColor", srgb(205, 152, 177, 1), rgb(184, 101, 127, 1)},
        {"noteMarkerColor", srgb(255, 186, 218, 1), rgb(132, 72, 91, 1)},
        {"noteMarkerBorderColor", srgb(205, 152, 177, 1), rgb(184, 101, 127, 1)},
        {"noteTextColor", rgb(50, 24, 37, 1), grey(235, 1)},
    }},
    {"purple", TNAnnotationTheme::purpleTheme, 5, true, {
        {"colorBarColor", rgb(217, 171, 238, 1), rgb(217, 171, 238, 1)},
        {"highlightBaseColor", rgb(217, 171, 238, 1), rgb(211, 168, 229, 0.8)},
        {"highlightColor", dev(217, 171, 238, 1), dev(80, 45, 110, 1)},
        {"highlightStriationColor", rgb(217, 171, 238, 1), rgb(103, 54, 115, 1)},
        {"noteBackgroundTopColor", rgb(240, 218, 247, 1), rgb(120, 73, 153, 1)},
        {"noteBackgroundBottomColor", rgb(229, 197, 240, 1), rgb(101, 62, 128, 1)},
        {"noteOuterStrokeColor", rgb(28, 1, 49, 0.45), grey(0, 0.4)},
        {"noteInnerStrokeColor", white(1.0, 0.09), white(1.0, 0.08)},
        {"noteBorderTopColor", rgb(165, 123, 179, 0.75), rgb(160, 98, 204, 1)},
        {"noteBorderBottomColor", rgb(141, 105, 153, 0.75), rgb(140, 86, 179, 1)},
        {"noteColor", srgb(230, 196, 241, 1), rgb(101, 62, 128, 1)},
        {"noteBorderColor", srgb(182, 149, 192, 1), rgb(140, 86, 179, 1)},
        {"noteMarkerColor", srgb(228, 185, 241, 1), rgb(101, 62, 128, 1)},
        {"noteMarkerBorderColor", srgb(182, 149, 192, 1), rgb(140, 86, 179, 1)},
        {"noteTextColor", rgb(39, 23, 44, 1), grey(235, 1)},
    }},
    {"underline", TNAnnotationTheme::underlineTheme, 0, true, {
        {"colorBarColor", none, none},
        {"highlightBaseColor", black, black},
        {"highlightStriationColor", black, black},
        {"highlightColor", rgb(240, 40, 20, 1), rgb(240, 40, 20, 1)},
        {"underlineColor", rgb(240, 40, 20, 1), rgb(160, 0, 22, 1)},
        {"noteBackgroundTopColor", grey(255, 1), grey(87, 1)},
        {"noteBackgroundBottomColor", grey(236, 1), grey(67, 1)},
        {"noteOuterStrokeColor", rgb(39, 39, 39, 0.4), grey(0, 0.4)},
        {"noteInnerStrokeColor", white(1.0, 0.35), white(1.0, 0.08)},
        {"noteLinesColor", rgb(191, 210, 215, 1), white(1.0, 0.1)},
        {"noteBorderTopColor", grey(39, 0.4), grey(0, 0.4)},
        {"noteBorderBottomColor", grey(25, 0.35), white(1.0, 0.08)},
        {"noteColor", srgb(255, 255, 255, 1), rgb(67, 67, 67, 1)},
        {"noteBorderColor", srgb(178, 178, 178, 1), white(1.0, 1)},
        {"noteMarkerColor", srgb(255, 255, 255, 1), grey(67, 1)},
        {"noteMarkerBorderColor", srgb(178, 178, 178, 1), white(1.0, 0.08)},
        {"noteTextColor", rgb(28, 39, 62, 1), grey(235, 1)},
    }},
};

const Row* rowFor(const std::vector<Row>& rows, const std::string& property)
{
    for (const auto& row : rows) {
        if (row.property == property)
            return &row;
    }
    return nullptr;
}

TEST(TNAnnotationThemeTest, EveryDesktopThemeMatchesItsTable)
{
    for (const auto& family : kFamilies) {
        for (bool inverted : {false, true}) {
            SCOPED_TRACE(std::string(family.name) + (inverted ? " night" : " day"));
            Theme theme = family.factory(inverted);
            EXPECT_EQ(theme->invertedContent(), inverted);
            EXPECT_EQ(theme->annotationStyle(), family.style);
            EXPECT_EQ(theme->isUnderline(), family.style == 0);
            EXPECT_EQ(theme->hasNoteStrokeColors(), family.strokes);
            EXPECT_EQ(theme->noteMarkerTextFontName(), "Helvetica");
            for (const auto& [property, getter] : kGetters) {
                SCOPED_TRACE(property);
                const Row* row = rowFor(family.rows, property);
                if (!row)
                    row = rowFor(kCommon, property);
                if (!row) {
                    EXPECT_FALSE(family.strokes) << "no expected value";
                    continue;
                }
                EXPECT_EQ(((*theme).*getter)(), inverted ? row->night : row->day);
            }
        }
    }
    EXPECT_EQ(TNAnnotationTheme::highlightTextColor(false), grey(26, 1));
    EXPECT_EQ(TNAnnotationTheme::highlightTextColor(true), grey(235, 1));
}

TEST(TNAnnotationThemeTest, FamilyClassesKeepWhatTheirDesktopClassesReplace)
{
    auto blue = TNAnnotationTheme::theme<TNAnnotationThemeBlue>(true);
    EXPECT_EQ(blue->highlightBaseColor(), rgb(150, 214, 0, 0.8));
    EXPECT_EQ(blue->highlightColor(), rgb(47, 50, 120, 1));
    EXPECT_EQ(blue->noteMarkerColor(), none);
    EXPECT_EQ(blue->noteBorderTopColor(), black);
    EXPECT_EQ(TNAnnotationTheme::theme<TNAnnotationThemePink>(false)->colorBarColor(), rgb(250, 170, 210, 1));
    EXPECT_EQ(TNAnnotationTheme::theme<TNAnnotationThemeUnderline>(true)->noteBackgroundTopColor(), rgb(87, 87, 87, 1));
    auto base = TNAnnotationTheme::theme(false);
    EXPECT_EQ(base->annotationStyle(), 1);
    EXPECT_EQ(base->highlightStriationColor(), none);
    EXPECT_NE(TNAnnotationTheme::theme(false), base);  // the plain factory makes a new one each time
}

// In a fresh process, so that the threads really make the first call. The
// family factories share one instance per flag (the style look-ups below compare them).
TEST(TNAnnotationThemeTest, ConcurrentFirstCallsGetOneInstance)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            constexpr int kThreads = 8;
            std::latch start(kThreads);
            std::vector<const TNAnnotationTheme*> seen(kThreads);
            std::vector<std::thread> threads;
            for (int index = 0; index < kThreads; ++index) {
                threads.emplace_back([&, index] {
                    start.arrive_and_wait();
                    seen[index] = TNAnnotationTheme::greenTheme(true).get();
                });
            }
            for (auto& thread : threads)
                thread.join();
            bool same = std::all_of(seen.begin(), seen.end(), [&](auto* theme) { return theme == seen[0]; });
            std::exit(same && seen[0] == TNAnnotationTheme::greenTheme(true).get() ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
}

TEST(TNAnnotationThemeTest, ThemeForAnnotationStyle)
{
    for (int64_t style : {0, 6, -1})
        EXPECT_EQ(TNAnnotationTheme::themeForAnnotationStyle(style, false), nullptr) << style;
    EXPECT_EQ(TNAnnotationTheme::themeForAnnotationStyle(6, true, false), nullptr);
    EXPECT_EQ(TNAnnotationTheme::themeForAnnotationStyle(2, true), TNAnnotationTheme::blueTheme(true));
    EXPECT_EQ(TNAnnotationTheme::themeForAnnotationStyle(3, true, true), TNAnnotationTheme::yellowTheme(true));
    EXPECT_EQ(TNAnnotationTheme::themeForAnnotationStyle(0, false, true), TNAnnotationTheme::underlineTheme(false));
}

TEST(TNAnnotationThemeTest, ThemeForColorComparesExactlyAndSkipsUnderline)
{
    KCColor yellowNightBase = rgb(193, 179, 0, 0.9);
    EXPECT_EQ(TNAnnotationTheme::themeForColor(yellowNightBase, true), TNAnnotationTheme::yellowTheme(true));
    EXPECT_EQ(TNAnnotationTheme::themeForColor(yellowNightBase, false), nullptr);
    EXPECT_EQ(TNAnnotationTheme::themeForColor(srgb(250, 239, 90, 1), false), nullptr);
    for (bool inverted : {false, true})
        EXPECT_EQ(TNAnnotationTheme::themeForColor(black, inverted), nullptr);
}

TEST(TNColorContrastTest, CompositesOverTheBackdropBeforeMeasuring)
{
    KCColor whiteBackdrop = white(1, 1);
    EXPECT_NEAR(TNContrastRatio(black, whiteBackdrop, whiteBackdrop), 21.0, 1e-12);
    // Half-transparent black over white is sRGB grey 0.5, luminance 0.2140.
    EXPECT_NEAR(TNContrastRatio(black, white(0, 0.5), whiteBackdrop), (0.21404114 + 0.05) / 0.05, 1e-6);
    EXPECT_NEAR(TNContrastRatio(black, white(0, 0.5), black), 1.0, 1e-12);
}

} // namespace
