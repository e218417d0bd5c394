// `pagemoor snapshot` on pages of every size: generated pages whose colours
// sit at known places, and real books.
#include "e2e/PMSampleBook.h"
#include "PMTestPNG.h"
#include "PMProgramTest.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <iostream>

namespace {

using SnapshotCommand = PMProgramTest;
using Colour = std::array<int, 3>;

constexpr Colour kWhite {255, 255, 255};
constexpr Colour kRed {208, 32, 32};
constexpr Colour kGreen {32, 160, 64};
constexpr Colour kBlue {32, 64, 208};

std::string hex(const Colour& colour)
{
    char text[8];
    snprintf(text, sizeof text, "#%02x%02x%02x", colour[0], colour[1], colour[2]);
    return text;
}

// Blocks of colour stacked from the top of an unmargined page.
PMSampleChapter blocks(const std::vector<std::pair<int, Colour>>& heights)
{
    std::string body;
    for (const auto& [height, colour] : heights)
        body += "<div style=\"height: " + std::to_string(height) + "px; background: " + hex(colour) + "\"></div>";
    return {"Blocks", body, "<style>html, body { margin: 0 !important; padding: 0 !important; background: white; }</style>"};
}

bool near(const Colour& seen, const Colour& expected)
{
    return PMTestColourDifference(seen, expected) <= 6;
}

TEST_F(SnapshotCommand, AChapterFarTallerThanTheEngineDrawsAtOnceComesBackWhole)
{
    PMSampleBookOptions options;
    // Red at the top, green across the middle, blue at the bottom of 20,000 points.
    options.chapters = {blocks({{400, kRed}, {9400, kWhite}, {400, kGreen}, {9400, kWhite}, {400, kBlue}})};
    std::string book = write(options);
    std::string png = m_root + "/long.png";
    auto start = std::chrono::steady_clock::now();
    PMProgramResult snapshot = PMRunPagemoor("snapshot " + book + " 0 --size 600x800 -o " + png);
    std::cout << "[ snapshot ] 600 x 20000 points in "
              << std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start).count() << " ms\n";
    ASSERT_EQ(snapshot.status, 0) << snapshot.out;

    auto image = PMTestPNGImageOfFile(png);
    ASSERT_TRUE(image);
    ASSERT_EQ(image->width, 600);
    ASSERT_EQ(image->height, 20000);
    EXPECT_TRUE(image->opaque());
    const std::vector<std::pair<int, Colour>> expected {{5, kRed}, {395, kRed}, {405, kWhite}, {5000, kWhite},
        {9805, kGreen}, {10000, kGreen}, {10195, kGreen}, {10205, kWhite}, {15000, kWhite}, {19605, kBlue}, {19999, kBlue}};
    for (const auto& [y, colour] : expected) {
        for (int x : {0, 300, 599})
            EXPECT_TRUE(near(image->at(x, y), colour)) << x << ", " << y << ": " << hex(image->at(x, y)) << " for " << hex(colour);
    }
}

TEST_F(SnapshotCommand, DeviceScaleDoesNotChangeWhatIsDrawn)
{
    // A 600 x 1600 page of 100-point cells, six to a row, in colours that
    // change from cell to cell. It is wider than the 150 x 400 view the
    // request opens, so it is drawn a view at a time in both directions, at
    // a quarter: each cell is 25 pixels.
    const std::array<Colour, 5> palette {kRed, kGreen, kBlue, Colour {240, 200, 0}, Colour {0, 0, 0}};
    auto colourOf = [&](int row, int column) { return palette[static_cast<size_t>(row + 2 * column) % palette.size()]; };
    std::string body;
    for (int row = 0; row < 16; ++row) {
        for (int column = 0; column < 6; ++column)
            body += "<div style=\"float: left; width: 100px; height: 100px; background: " + hex(colourOf(row, column)) + "\"></div>";
    }
    PMSampleBookOptions options;
    options.chapters = {{"Cells", body, "<style>html, body { margin: 0 !important; padding: 0 !important; } body { width: 600px; }</style>"}};
    std::string book = write(options);

    std::array<std::optional<PMTestPNGImage>, 2> images;
    for (int scale : {1, 2}) {
        std::string png = m_root + "/scale" + std::to_string(scale) + ".png";
        PMProgramResult snapshot = PMRunPagemoor("snapshot " + book + " 0 --size 150x400 -o " + png, {.environment = "GDK_SCALE=" + std::to_string(scale)});
        ASSERT_EQ(snapshot.status, 0) << scale << ": " << snapshot.out;
        images[scale - 1] = PMTestPNGImageOfFile(png);
        ASSERT_TRUE(images[scale - 1]);
        ASSERT_EQ(images[scale - 1]->width, 150);
        ASSERT_EQ(images[scale - 1]->height, 400);
    }
    for (size_t which = 0; which < images.size(); ++which) {
        for (int row = 0; row < 16; ++row) {
            for (int column = 0; column < 6; ++column) {
                Colour seen = images[which]->at(column * 25 + 12, row * 25 + 12);
                EXPECT_TRUE(near(seen, colourOf(row, column))) << "scale " << which + 1 << " cell " << row << ", " << column << ": " << hex(seen);
            }
        }
    }
    // Edges as well as insides: antialiasing may differ by a little.
    for (int y : {0, 24, 25, 99, 100, 101, 250, 399}) {
        for (int x : {0, 24, 26, 74, 76, 149})
            EXPECT_LE(images[0]->difference(*images[1], x, y), 48) << x << ", " << y;
    }
}

// A page of one of the real books in the e2e folder, drawn whole.
struct RealPage {
    const char* name;
    const char* book;
    int index;
    const char* options;
    int width;
    int minimumHeight;
    int maximumHeight;
};

class RealBookSnapshot : public SnapshotCommand, public ::testing::WithParamInterface<RealPage> {};

TEST_P(RealBookSnapshot, HasTheExpectedSizeAndIsDrawnThroughout)
{
    const RealPage& page = GetParam();
    std::string png = m_root + "/page.png";
    PMProgramResult result = PMRunPagemoor("snapshot " + std::string(PM_SOURCE_DIR) + "/app/e2e/books/" + page.book + ".epub "
        + std::to_string(page.index) + " " + page.options + " -o " + png);
    ASSERT_EQ(result.status, 0) << result.out;
    auto image = PMTestPNGImageOfFile(png);
    ASSERT_TRUE(image);
    EXPECT_EQ(image->width, page.width);
    EXPECT_GE(image->height, page.minimumHeight);
    EXPECT_LE(image->height, page.maximumHeight);
    // Not blank anywhere: each third of the page has something on it.
    EXPECT_TRUE(image->opaque());
    for (int third = 0; third < 3; ++third)
        EXPECT_GT(image->brightnessDeviation(image->height * third / 3, image->height * (third + 1) / 3), 8.0) << "third " << third;
}

INSTANTIATE_TEST_SUITE_P(Pages, RealBookSnapshot, ::testing::Values(
    // Many views long: the whole chapter, not the part on screen.
    RealPage {"LongReflowableChapter", "georgia-cfi", 1, "--size 600x800", 600, 8000, 200000},
    // The page declares 600 x 837; covering 300 x 400 takes scale 1/2.
    RealPage {"FixedLayoutPageHasItsDeclaredAspect", "haruko-html-jpeg", 0, "--size 300x400 --viewport-only", 300, 419, 419},
    RealPage {"RightToLeftChapter", "regime-anticancer-arabic", 2, "--size 600x800", 600, 800, 200000}),
    [](const ::testing::TestParamInfo<RealPage>& info) { return std::string(info.param.name); });

} // namespace
