// `pagemoor read` driven by scripted actions: the real window under Xvfb,
// its pages, and the reading position it keeps.
#include "PMProgramTest.h"
#include "PMTestPNG.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cmath>

namespace {

class ReadCommand : public PMProgramTest {
protected:
    PMProgramResult read(const std::string& book, const std::string& actions, const std::string& options = "")
    {
        KCWriteTestFile(m_scratch.file("actions.json"), actions);
        return PMRunPagemoor("read '" + book + "' --size 800x600 --store '" + m_store + "' --actions '" + m_scratch.file("actions.json") + "'" + options);
    }

    std::string m_book = std::string(PM_SOURCE_DIR) + "/app/e2e/books/childrens-literature.epub";
    std::string m_store = m_scratch.file("data/pagemoor/Annotations.sqlite");
};

// Left to right and right to left: the pages of a right-to-left chapter lie leftwards.
TEST_F(ReadCommand, DrawsTheTurnedPageAndOpensThereNextTime)
{
    const struct {
        std::string book;
        std::string asset;
        std::string location;
    } books[] {
        {"childrens-literature", "http://www.gutenberg.org/ebooks/25545", "epubcfi(/6/6[s04]!/4/"},
        {"regime-anticancer-arabic", "code.google.com.epub-samples.regime-anticancer-arabic", "epubcfi(/6/6[content]!/4/"},
    };
    for (const auto& book : books) {
        SCOPED_TRACE(book.book);
        std::string path = std::string(PM_SOURCE_DIR) + "/app/e2e/books/" + book.book + ".epub";
        std::string turned = m_scratch.file(book.book + "-turned.png");
        PMProgramResult first = read(path, R"([{"open": 2}, {"next": 2}, {"screenshot": ")" + turned + R"("}, {"quit": true}])");
        ASSERT_EQ(first.status, 0) << first.err;
        EXPECT_EQ(first.out, "");
        auto page = PMTestPNGImageOfFile(turned);
        ASSERT_TRUE(page);
        // The window's own frame may take a few pixels of the surface.
        EXPECT_NEAR(page->width, 800, 12);
        EXPECT_NEAR(page->height, 600, 12);
        EXPECT_GT(page->brightnessDeviation(page->height / 4, page->height * 3 / 4), 20) << "the page is blank";

        PMProgramResult stored = PMRunPagemoor("annotations --store '" + m_store + "' list --asset " + book.asset);
        ASSERT_EQ(stored.status, 0) << stored.err;
        EXPECT_NE(stored.out.find("type 3\tstyle 0\tlocation " + book.location), std::string::npos) << stored.out;

        std::string reopened = m_scratch.file(book.book + "-reopened.png");
        PMProgramResult second = read(path, R"([{"screenshot": ")" + reopened + R"("}])");
        ASSERT_EQ(second.status, 0) << second.err;
        auto again = PMTestPNGImageOfFile(reopened);
        ASSERT_TRUE(again);
        ASSERT_EQ(again->width, page->width);
        ASSERT_EQ(again->height, page->height);
        // The same page, status line and all.
        int differing = 0;
        for (int y = 0; y < page->height; ++y) {
            for (int x = 0; x < page->width; ++x)
                differing += page->difference(*again, x, y) > 8;
        }
        EXPECT_EQ(differing, 0);
    }
}

// A phrase highlighted in yellow with a note: the store keeps it with its
// sentence, place and chapter; it is drawn again, by day and by night.
TEST_F(ReadCommand, KeepsAHighlightAndDrawsItByDayAndByNight)
{
    PMProgramResult made = read(m_book, R"([{"open": 2}, {"highlight": "Hans Christian", "style": 3, "note": "the tales"}, {"quit": true}])");
    ASSERT_EQ(made.status, 0) << made.err;
    PMProgramResult listed = PMRunPagemoor("annotations --store '" + m_store + "' list --asset http://www.gutenberg.org/ebooks/25545 --json");
    ASSERT_EQ(listed.status, 0) << listed.err;
    auto annotations = nlohmann::json::parse(listed.out, nullptr, false);
    ASSERT_TRUE(annotations.is_array()) << listed.out;
    auto highlight = std::find_if(annotations.begin(), annotations.end(), [](const auto& a) { return a["annotationType"] == 2; });
    ASSERT_NE(highlight, annotations.end()) << listed.out;
    EXPECT_EQ((*highlight)["annotationStyle"], 3);
    EXPECT_EQ((*highlight)["annotationSelectedText"], "Hans Christian");
    EXPECT_EQ((*highlight)["annotationRepresentativeText"], "Andersen, Hans Christian, Fairy Tales.");
    EXPECT_EQ((*highlight)["futureProofing7"], "{10, 14}");  // the selection in the sentence
    EXPECT_EQ((*highlight)["annotationNote"], "the tales");
    EXPECT_EQ((*highlight)["futureProofing1"], "170");  // the printed page
    EXPECT_EQ((*highlight)["futureProofing5"], "SECTION IV FAIRY STORIES\u2014MODERN FANTASTIC TALES");
    EXPECT_TRUE((*highlight)["annotationLocation"].get<std::string>().starts_with("epubcfi(/6/6[s04]!/4/")) << *highlight;

    auto themes = nlohmann::json::parse(PMRunPagemoor("themes --json").out, nullptr, false);
    ASSERT_TRUE(themes.is_object());
    std::string day = m_scratch.file("day.png"), night = m_scratch.file("night.png");
    PMProgramResult shown = read(m_book, R"([{"screenshot": ")" + day + R"("}, {"night": true}, {"screenshot": ")" + night + R"("}])");
    ASSERT_EQ(shown.status, 0) << shown.err;
    for (const auto& [file, variant, dark] : {std::tuple(day, "day", false), std::tuple(night, "night", true)}) {
        SCOPED_TRACE(variant);
        const auto& components = themes["yellow"][variant]["highlightColor"]["components"];
        std::array<int, 3> colour;
        for (int channel = 0; channel < 3; ++channel)
            colour[channel] = static_cast<int>(std::lround(components[channel].get<double>() * 255));
        auto image = PMTestPNGImageOfFile(file);
        ASSERT_TRUE(image);
        int highlighted = 0, darkPixels = 0;
        for (int y = 0; y < image->height; ++y) {
            for (int x = 0; x < image->width; ++x) {
                highlighted += PMTestColourDifference(image->at(x, y), colour) <= 2;
                auto pixel = image->at(x, y);
                darkPixels += pixel[0] + pixel[1] + pixel[2] < 3 * 64;
            }
        }
        EXPECT_GT(highlighted, 300);  // the phrase's background, around its letters
        const int pixels = image->width * image->height;
        EXPECT_EQ(darkPixels > pixels / 2, dark) << darkPixels << " of " << pixels;
    }
}

// The library filter is built on the first search; the first result opens selected.
TEST_F(ReadCommand, FindsAPhraseAndOpensItsChapter)
{
    std::string results = m_scratch.file("results.png");
    PMProgramResult found = read(m_book, R"([{"find": "guardian spirit"}, {"screenshot": ")" + results + R"("}, {"quit": true}])");
    ASSERT_EQ(found.status, 0) << found.err;
    auto shot = PMTestPNGImageOfFile(results);
    ASSERT_TRUE(shot);
    // The results list on the right: the one result under the search bar, blank below it where the page would have text.
    auto darkPixels = [&](int top, int bottom) {
        int dark = 0;
        for (int y = top; y < bottom; ++y) {
            for (int x = shot->width - 300; x < shot->width - 20; ++x)
                dark += shot->at(x, y)[0] < 128;
        }
        return dark;
    };
    EXPECT_GT(darkPixels(100, 200), 200) << "no results are listed";
    EXPECT_LT(darkPixels(300, 500), 20) << "the page shows where the results should be";
    // The page beside the list holds the match, selected: rows crossed by a
    // long run of one light grey, which no letter's edge makes.
    int selectedRows = 0;
    for (int y = 100; y < shot->height - 40; ++y) {
        int run = 0;
        for (int x = 1; x < shot->width - 330 && run < 40; ++x) {
            const std::array<int, 3> pixel = shot->at(x, y);
            const bool grey = pixel[0] == pixel[1] && pixel[1] == pixel[2] && pixel[0] > 180 && pixel[0] < 250;
            run = grey && pixel == shot->at(x - 1, y) ? run + 1 : 0;
        }
        selectedRows += run >= 40;
    }
    EXPECT_GT(selectedRows, 4) << "the page does not show the match selected";

    PMProgramResult stored = PMRunPagemoor("annotations --store '" + m_store + "' list --asset http://www.gutenberg.org/ebooks/25545");
    ASSERT_EQ(stored.status, 0) << stored.err;
    EXPECT_NE(stored.out.find("type 3\tstyle 0\tlocation epubcfi(/6/6[s04]!/4/"), std::string::npos) << stored.out;

    // A second search replaces the first in the entry: the first is not run again.
    PMProgramResult absent = read(m_book, R"([{"find": "guardian spirit"}, {"find": "porridge of moonbeams"}])", " --verbose");
    EXPECT_NE(absent.status, 0);
    EXPECT_NE(absent.err.find("action 2: \u201Cporridge of moonbeams\u201D was not found"), std::string::npos) << absent.err;
    size_t searches = 0;
    for (size_t at = absent.err.find("Searching the book for"); at != std::string::npos; at = absent.err.find("Searching the book for", at + 1))
        ++searches;
    EXPECT_EQ(searches, 2u) << absent.err;
}

TEST_F(ReadCommand, RefusesActionsItCannotPlay)
{
    const struct {
        std::string actions;
        std::string error;
    } cases[] {
        {"{\"open\": 1}", "not a JSON list"},
        {"[{\"open\": 0}, {\"jump\": 3}]", "action 2: there is no action \u201Cjump\u201D"},
        {"[{\"open\": -1}]", "action 1: open needs a spine index"},
        {"[{\"open\": 7}]", "action 1: there is no spine document 7"},
        {"[{\"highlight\": \"Hans\", \"style\": 6}]", "action 1: highlight \u201Cstyle\u201D is not a style"},
        {"[{\"open\": 2}, {\"highlight\": \"no such words\"}]", "action 2: there is no \u201Cno such words\u201D in this chapter"},
    };
    for (const auto& wrong : cases) {
        PMProgramResult run = read(m_book, wrong.actions);
        EXPECT_NE(run.status, 0) << wrong.actions;
        EXPECT_NE(run.err.find(wrong.error), std::string::npos) << wrong.actions << ": " << run.err;
    }
}

// Two highlights with notes: the sidebar lists them beside the page, the newer
// (pink) above the older (yellow), each with a swatch of its colour.
TEST_F(ReadCommand, ListsTheNotesNewestFirstInTheSidebar)
{
    std::string shot = m_scratch.file("sidebar.png");
    PMProgramResult shown = read(m_book, R"([{"open": 2}, {"highlight": "Hans Christian", "style": 3, "note": "older"},
        {"highlight": "Fairy Tales", "style": 4, "note": "newer"}, {"sidebar": true}, {"screenshot": ")" + shot + R"("}])");
    ASSERT_EQ(shown.status, 0) << shown.err;
    auto themes = nlohmann::json::parse(PMRunPagemoor("themes --json").out, nullptr, false);
    ASSERT_TRUE(themes.is_object());
    auto image = PMTestPNGImageOfFile(shot);
    ASSERT_TRUE(image);
    // The rows of the sidebar's strip (its left 300 points) drawn in the theme's day highlight colour.
    auto rowsIn = [&](const char* theme) {
        const auto& components = themes[theme]["day"]["highlightColor"]["components"];
        std::array<int, 3> colour;
        for (int channel = 0; channel < 3; ++channel)
            colour[channel] = static_cast<int>(std::lround(components[channel].get<double>() * 255));
        std::vector<int> rows;
        for (int y = 0; y < image->height; ++y) {
            int matching = 0;
            for (int x = 0; x < 300; ++x)
                matching += PMTestColourDifference(image->at(x, y), colour) <= 2;
            if (matching >= 4)
                rows.push_back(y);
        }
        return rows;
    };
    auto yellow = rowsIn("yellow"), pink = rowsIn("pink");
    ASSERT_GT(yellow.size(), 20u) << "no yellow swatch in the sidebar";
    ASSERT_GT(pink.size(), 20u) << "no pink swatch in the sidebar";
    EXPECT_LT(pink.back(), yellow.front()) << "the newer note is not listed first";
}

// The first row below the header bar whose pixel at x has the colour: the view's top.
int viewTop(const PMTestPNGImage& image, int x, const std::array<int, 3>& colour)
{
    for (int y = 20; y < image.height; ++y) {
        if (PMTestColourDifference(image.at(x, y), colour) <= 2)
            return y;
    }
    return image.height;
}

// The mean brightness of a grid of cells over a rectangle, to tell pages apart at any scale.
std::vector<double> brightnessGrid(const PMTestPNGImage& image, int left, int top, int width, int height)
{
    constexpr int cells = 12;
    std::vector<double> grid;
    for (int cell = 0; cell < cells * cells; ++cell) {
        const int x0 = left + cell % cells * width / cells, y0 = top + cell / cells * height / cells;
        double sum = 0;
        int count = 0;
        for (int y = y0; y < y0 + height / cells; ++y) {
            for (int x = x0; x < x0 + width / cells; ++x, ++count) {
                auto pixel = image.at(x, y);
                sum += pixel[0] + pixel[1] + pixel[2];
            }
        }
        grid.push_back(sum / std::max(1, count));
    }
    return grid;
}

double gridDistance(const std::vector<double>& a, const std::vector<double>& b)
{
    double distance = 0;
    for (size_t cell = 0; cell < a.size(); ++cell)
        distance += std::abs(a[cell] - b[cell]);
    return distance;
}

// A fixed-layout book of 600 by 837 pages, read right to left with spreads
// in landscape: in a portrait window one page fills the view's height,
// centred on the backdrop; in a landscape one two pages show, the first on
// the right, and a turn moves on by a whole spread.
TEST_F(ReadCommand, ShowsFixedLayoutPagesAndSpreads)
{
    const std::string book = std::string(PM_SOURCE_DIR) + "/app/e2e/books/haruko-html-jpeg.epub";
    const std::array<int, 3> backdrop {0xde, 0xdd, 0xda};
    auto readAt = [&](const std::string& size, const std::string& actions) {
        KCWriteTestFile(m_scratch.file("actions.json"), actions);
        return PMRunPagemoor("read '" + book + "' --size " + size + " --store '" + m_store + "' --actions '" + m_scratch.file("actions.json") + "'");
    };
    // The page's extent on the view's middle row, and the view's rows.
    struct Extent {
        int left = 0, right = 0, top = 0, bottom = 0;
    };
    auto extent = [&](const PMTestPNGImage& image) {
        Extent found;
        found.top = viewTop(image, 12, backdrop);
        found.bottom = found.top;
        while (found.bottom < image.height && PMTestColourDifference(image.at(12, found.bottom), backdrop) <= 2)
            ++found.bottom;
        const int middle = (found.top + found.bottom) / 2;
        found.left = 12;
        while (found.left < image.width && PMTestColourDifference(image.at(found.left, middle), backdrop) <= 2)
            ++found.left;
        found.right = image.width - 12;
        while (found.right > 0 && PMTestColourDifference(image.at(found.right - 1, middle), backdrop) <= 2)
            --found.right;
        return found;
    };

    std::string single = m_scratch.file("page.png"), spread = m_scratch.file("spread.png");
    PMProgramResult portrait = readAt("600x800", R"([{"open": 1}, {"screenshot": ")" + single + R"("}])");
    ASSERT_EQ(portrait.status, 0) << portrait.err;
    PMProgramResult landscape = readAt("1000x600", R"([{"open": 1}, {"screenshot": ")" + spread + R"("}, {"next": 1}])");
    ASSERT_EQ(landscape.status, 0) << landscape.err;
    auto page = PMTestPNGImageOfFile(single), pages = PMTestPNGImageOfFile(spread);
    ASSERT_TRUE(page && pages);

    for (const auto& [image, count] : {std::pair(&*page, 1), std::pair(&*pages, 2)}) {
        SCOPED_TRACE(count);
        Extent shown = extent(*image);
        const int height = shown.bottom - shown.top;
        ASSERT_GT(height, 400);
        // Every row of the view, from top to bottom, is the page's in the middle.
        int pageRows = 0;
        for (int y = shown.top; y < shown.bottom; ++y)
            pageRows += PMTestColourDifference(image->at(image->width / 2, y), backdrop) > 2;
        EXPECT_GE(pageRows, height - 2);
        EXPECT_NEAR(shown.right - shown.left, count * height * 600.0 / 837, 4 * count);
        EXPECT_NEAR(shown.left, image->width - shown.right, 4) << "not centred";
    }
    // The spread's right page is the one the portrait window showed alone.
    Extent alone = extent(*page), both = extent(*pages);
    const int half = (both.right - both.left) / 2;
    auto first = brightnessGrid(*page, alone.left, alone.top, alone.right - alone.left, alone.bottom - alone.top);
    EXPECT_LT(gridDistance(first, brightnessGrid(*pages, both.left + half, both.top, half, both.bottom - both.top)),
        gridDistance(first, brightnessGrid(*pages, both.left, both.top, half, both.bottom - both.top)) / 2);

    PMProgramResult stored = PMRunPagemoor("annotations --store '" + m_store + "' list --asset urn:uuid:A649F639-6C1F-1014-8CC3-F813564D7508");
    ASSERT_EQ(stored.status, 0) << stored.err;
    EXPECT_NE(stored.out.find("location epubcfi(/6/8[p04]!)"), std::string::npos) << stored.out;
}

// Scrolled, the chapter runs on in one column: a turn scrolls it by a view's
// height, cutting through lines where pages would leave a margin, and the
// place kept moves on in the same chapter.
TEST_F(ReadCommand, ScrollsAChapterInOneColumn)
{
    std::string top = m_scratch.file("top.png"), scrolled = m_scratch.file("scrolled.png");
    PMProgramResult result = read(m_book, R"([{"open": 2}, {"scrolled": true}, {"screenshot": ")" + top + R"("}, {"next": 1},
        {"screenshot": ")" + scrolled + R"("}])");
    ASSERT_EQ(result.status, 0) << result.err;
    auto before = PMTestPNGImageOfFile(top), after = PMTestPNGImageOfFile(scrolled);
    ASSERT_TRUE(before && after);
    const int viewTop = ::viewTop(*after, 30, {255, 255, 255});
    ASSERT_LT(viewTop, 100);
    auto darkPixels = [](const PMTestPNGImage& image, int from, int to) {
        int dark = 0;
        for (int y = from; y < to; ++y) {
            for (int x = 0; x < image.width; ++x)
                dark += image.at(x, y)[0] < 128;
        }
        return dark;
    };
    EXPECT_LT(darkPixels(*before, viewTop, viewTop + 20), 10) << "the chapter's top has its margin";
    EXPECT_GT(darkPixels(*after, viewTop, viewTop + 20), 50) << "no text at the top of the scrolled view";
    int differing = 0;
    for (int y = viewTop; y < after->height * 3 / 4; ++y)
        differing += before->difference(*after, after->width / 4, y) > 64;
    EXPECT_GT(differing, 20) << "the view did not scroll";

    PMProgramResult stored = PMRunPagemoor("annotations --store '" + m_store + "' list --asset http://www.gutenberg.org/ebooks/25545");
    ASSERT_EQ(stored.status, 0) << stored.err;
    EXPECT_NE(stored.out.find("location epubcfi(/6/6[s04]!/4/"), std::string::npos) << stored.out;
    EXPECT_EQ(stored.out.find("location epubcfi(/6/6[s04]!/4/2/1:0)"), std::string::npos) << "the place kept is the chapter's top: " << stored.out;
}


// A highlight with a note: its popover's Share menu offers what `pagemoor share`
// offers for it, and the notes exported from the window are the documents
// `pagemoor export` writes, readable as HTML and as RTF.
TEST_F(ReadCommand, SharesAHighlightAndExportsTheNotes)
{
    PMProgramResult none = read(m_book, R"([{"open": 2}, {"share": "menu"}])");
    EXPECT_NE(none.err.find("action 2: the book has no highlight to share"), std::string::npos) << none.err;
    PMProgramResult unknown = read(m_book, R"([{"export": "notes.pdf"}])");
    EXPECT_NE(unknown.err.find("action 1: cannot tell the format of notes.pdf"), std::string::npos) << unknown.err;

    std::string html = m_scratch.file("notes.html"), rtf = m_scratch.file("notes.rtf");
    PMProgramResult shared = read(m_book, R"([{"open": 2}, {"highlight": "Hans Christian", "note": "the tales"}, {"share": "menu"},
        {"export": ")" + html + R"("}, {"export": ")" + rtf + R"("}])");
    ASSERT_EQ(shared.status, 0) << shared.err;

    auto annotations = nlohmann::json::parse(PMRunPagemoor("annotations --store '" + m_store + "' list --asset http://www.gutenberg.org/ebooks/25545 --json").out, nullptr, false);
    ASSERT_TRUE(annotations.is_array());
    auto highlight = std::find_if(annotations.begin(), annotations.end(), [](const auto& a) { return a["annotationType"] == 2; });
    ASSERT_NE(highlight, annotations.end());
    const std::string book = "'" + m_book + "' --store '" + m_store + "'";
    PMProgramResult offered = PMRunPagemoor("share " + book + " --uuid " + (*highlight)["annotationUuid"].get<std::string>() + " --list");
    ASSERT_EQ(offered.status, 0) << offered.err;
    std::string titles;
    for (size_t line = 0, tab; (tab = offered.out.find('\t', line)) != std::string::npos; line = offered.out.find('\n', tab) + 1)
        titles += "share: " + offered.out.substr(tab + 1, offered.out.find('\n', tab) - tab);
    EXPECT_NE(titles.find("share: Mail\n"), std::string::npos) << titles;
    EXPECT_EQ(shared.out, titles);

    for (const auto& [file, format] : {std::pair(html, "html"), std::pair(rtf, "rtf")}) {
        PMProgramResult exported = PMRunPagemoor("export " + book + " --format " + format);
        ASSERT_EQ(exported.status, 0) << exported.err;
        EXPECT_EQ(KCReadTestFile(file), exported.out) << format;
    }
    const std::string text = m_scratch.file("notes.txt");
    ASSERT_EQ(std::system(("python3 -c 'import html.parser, sys\nclass Text(html.parser.HTMLParser):\n    handle_data = lambda self, data: print(data)\n"
        "Text().feed(open(sys.argv[1]).read())' '" + html + "' > '" + text + "'").c_str()), 0);
    const bool pandoc = std::system("command -v pandoc >/dev/null") == 0;
    const std::string rtfText = pandoc && std::system(("pandoc -f rtf -t plain '" + rtf + "' -o '" + text + ".rtf'").c_str()) == 0
        ? KCReadTestFile(text + ".rtf") : KCReadTestFile(rtf);
    for (const std::string& read : {KCReadTestFile(text), rtfText}) {
        EXPECT_NE(read.find("Hans Christian"), std::string::npos) << read;
        EXPECT_NE(read.find("the tales"), std::string::npos) << read;
    }
}

// Text selected as the mouse selects it opens the popover that offers a
// highlight; choosing there makes it, with its sentence, note and colour.
TEST_F(ReadCommand, OffersASelectionAsAHighlight)
{
    std::string offered = m_scratch.file("offered.png");
    PMProgramResult run = read(m_book, R"([{"open": 2}, {"select": "Hans Christian"}, {"screenshot": ")" + offered + R"("},
        {"select": "The Wizard of Oz", "style": 1, "note": "made from a selection"}])");
    ASSERT_EQ(run.status, 0) << run.err;
    auto shot = PMTestPNGImageOfFile(offered);
    ASSERT_TRUE(shot);
    // The popover's red Delete button shows under the selection.
    int red = 0;
    for (int y = 0; y < shot->height; ++y) {
        for (int x = 0; x < shot->width; ++x) {
            const auto pixel = shot->at(x, y);
            red += pixel[0] > 180 && pixel[1] < 80 && pixel[2] < 80;
        }
    }
    EXPECT_GT(red, 500) << "no popover offers the selection";

    PMProgramResult stored = PMRunPagemoor("annotations --store '" + m_store + "' list --asset http://www.gutenberg.org/ebooks/25545");
    ASSERT_EQ(stored.status, 0) << stored.err;
    EXPECT_NE(stored.out.find("type 2\tstyle 1\tlocation epubcfi(/6/6[s04]!/4/2/6/6/8/2,/1:0,/1:16)"), std::string::npos) << stored.out;
    EXPECT_NE(stored.out.find("The Wizard of Oz\tnote: made from a selection"), std::string::npos) << stored.out;
    EXPECT_EQ(stored.out.find("Hans Christian"), std::string::npos) << "a selection left alone became a highlight: " << stored.out;
}

} // namespace
