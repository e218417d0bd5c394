// pagemoor themes through the real program: the JSON's shape (the values are
// KCCommonCore/Themes' tests'), and the swatch's pixels.
#include "PMProgramRunner.h"
#include "Utilities/tests/KCTestFiles.h"

#include <cairo.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

TEST(ThemesCommandTest, JSONHoldsEveryThemeDayAndNight)
{
    PMProgramResult result = PMRunPagemoor("themes --json");
    ASSERT_EQ(result.status, 0) << result.err;
    auto themes = nlohmann::ordered_json::parse(result.out);
    std::vector<std::string> names;
    for (const auto& [name, variants] : themes.items()) {
        names.push_back(name);
        EXPECT_EQ(variants["day"]["invertedContent"], false);
        EXPECT_EQ(variants["night"]["invertedContent"], true);
        EXPECT_EQ(variants["night"]["noteShadowOffset"], nlohmann::json::array({0.0, 6.0}));
        EXPECT_GT(variants["night"]["contrast"]["noteTextColorOverNoteColor"].get<double>(), 1.0);
    }
    EXPECT_EQ(names, (std::vector<std::string>{"green", "blue", "yellow", "pink", "purple", "underline"}));

    const auto& yellowNight = themes["yellow"]["night"];
    EXPECT_EQ(yellowNight["highlightBaseColor"]["space"], "calibratedRGB");
    EXPECT_EQ(yellowNight["highlightBaseColor"]["components"], nlohmann::json::array({193 / 255.0, 179 / 255.0, 0.0, 0.9}));
    EXPECT_EQ(themes["pink"]["day"]["colorBarColor"], nlohmann::ordered_json::parse(R"({"space": "calibratedWhite", "components": [0.3, 1.0]})"));
    EXPECT_TRUE(themes["underline"]["day"]["colorBarColor"].is_null());
    EXPECT_EQ(themes["underline"]["day"]["annotationStyle"], 0);
    EXPECT_EQ(themes["underline"]["day"]["isUnderline"], true);
    EXPECT_FALSE(themes["green"]["day"].contains("noteOuterStrokeColor"));
}

TEST(ThemesCommandTest, SwatchShowsTheHighlightColours)
{
    KCScratchDirectory scratch;
    std::string path = scratch.file("swatch.png");
    PMProgramResult result = PMRunPagemoor("themes --swatch '" + path + "'");
    ASSERT_EQ(result.status, 0) << result.err;
    cairo_surface_t* image = cairo_image_surface_create_from_png(path.c_str());
    ASSERT_EQ(cairo_surface_status(image), CAIRO_STATUS_SUCCESS);
    auto pixel = [&](int x, int y) {
        const auto* row = cairo_image_surface_get_data(image) + y * cairo_image_surface_get_stride(image);
        return reinterpret_cast<const uint32_t*>(row)[x] & 0xffffff;
    };
    // Just left of the sample text: green by day in the first row, yellow by night in the third.
    EXPECT_EQ(pixel(22, 78), (191u << 16) | (240u << 8) | 77u);
    EXPECT_EQ(pixel(480 + 22, 378), (105u << 16) | (81u << 8) | 7u);
    cairo_surface_destroy(image);
}

} // namespace
