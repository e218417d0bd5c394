// pagemoor export, run as a person would, its RTF read by pandoc.
#include "PMTestEpub.h"
#include "app/tests/PMProgramRunner.h"

#include <gtest/gtest.h>

namespace {

class PMExportCommandTest : public testing::Test {
protected:
    void SetUp() override
    {
        PMTestEpub epub;
        epub.title = "Moby-Dick";
        epub.creator = "Herman Melville";
        epub.files = {{"OEBPS/ch1.xhtml", "<html><body>Call me Ishmael.</body></html>", "application/xhtml+xml", "", "", true}};
        ASSERT_TRUE(epub.write(m_sandbox.file("book.epub")));
        std::string store = "annotations --store '" + m_store + "' add ";
        for (std::string added : {"--asset '" + epub.uniqueIdentifier + "' --range-start 10 --page 7 --note 'Bold note' --selected 'Z\xC3\xBCrich {x} back\\slash \xF0\x9F\x98\x80 \xE6\x9D\xB1\xE4\xBA\xAC'",
                 "--asset '" + epub.uniqueIdentifier + "' --range-start 1 --selected 'Call me Ishmael.'",
                 std::string("--asset other-book --selected 'Elsewhere'")}) {
            PMProgramResult result = PMRunPagemoor(store + added);
            ASSERT_EQ(result.status, 0) << result.err;
        }
    }

    PMProgramResult exportBook(const std::string& options)
    {
        return PMRunPagemoor("export '" + m_sandbox.file("book.epub") + "' --store '" + m_store + "' --cache-dir '" + m_sandbox.cacheDirectory() + "' " + options);
    }

    PMBookSandbox m_sandbox;
    std::string m_store = m_sandbox.file("Annotations.sqlite");
};

TEST_F(PMExportCommandTest, TextInReadingOrderWithCitationAndLink)
{
    PMProgramResult text = exportBook("--format text --book-url https://store.example/book/id42");
    ASSERT_EQ(text.status, 0) << text.err;
    size_t first = text.out.find("Call me Ishmael.");
    size_t second = text.out.find("(page 7)");
    ASSERT_NE(first, std::string::npos) << text.out;
    EXPECT_LT(first, second) << text.out;
    EXPECT_EQ(text.out.find("Elsewhere"), std::string::npos);
    const std::string tail = "\n\nBold note\n\n\nNotes From: Herman Melville. \xE2\x80\x9CMoby-Dick.\xE2\x80\x9D Pagemoor. \n\n"
                             "Check out this book on the Pagemoor Store: https://store.example/book/id42";
    EXPECT_TRUE(text.out.ends_with(tail)) << text.out;

    PMProgramResult withoutCitations = exportBook("--format text --no-citations");
    ASSERT_EQ(withoutCitations.status, 0) << withoutCitations.err;
    EXPECT_EQ(withoutCitations.out.find("Ishmael"), std::string::npos);
    EXPECT_NE(withoutCitations.out.find("(page 7)\n\nBold note\n\n\nNotes From:"), std::string::npos) << withoutCitations.out;
}

TEST_F(PMExportCommandTest, PandocReadsTheRTF)
{
    ASSERT_EQ(std::system("command -v pandoc >/dev/null"), 0) << "pandoc is missing; scripts/setup installs it";
    std::string rtf = m_sandbox.file("notes.rtf");
    PMProgramResult exported = exportBook("--format rtf --book-url https://store.example/book/id42 -o '" + rtf + "'");
    ASSERT_EQ(exported.status, 0) << exported.err;
    std::string markdown = m_sandbox.file("notes.md");
    ASSERT_EQ(std::system(("pandoc -f rtf -t markdown-smart '" + rtf + "' -o '" + markdown + "'").c_str()), 0);
    std::string read = KCReadTestFile(markdown);
    // This pandoc reads each half of a surrogate pair on its own, so the emoji is left out here.
    for (const char* expected : {"**Bold note**", "Z\xC3\xBCrich {x} back\\\\slash ", " \xE6\x9D\xB1\xE4\xBA\xAC", "Call me Ishmael.",
             "<https://store.example/book/id42>", "Notes From: Herman Melville. \u201CMoby-Dick.\u201D Pagemoor."})
        EXPECT_NE(read.find(expected), std::string::npos) << expected << "\n" << read;
}

// A real book with a table of contents: chapter titles and pages come from it.
TEST(PMExportHTML, GroupSingleAndPrintDocumentsOfARealBook)
{
    PMBookSandbox sandbox;
    const std::string book = std::string(PM_SOURCE_DIR) + "/app/e2e/books/childrens-literature.epub";
    const std::string store = sandbox.file("Annotations.sqlite");
    const std::string add = "annotations --store '" + store + "' add --book '" + book + "' --cache-dir '" + sandbox.cacheDirectory() + "' ";
    PMProgramResult noted = PMRunPagemoor(add + "--style 1 --selected 'Three bears & a <bowl>.' --note 'Porridge\nand chairs' "
        "--location 'epubcfi(/6/6[s04]!/4/2/1:0)' --range-start 1 --created 2024-03-05T10:20:30Z");
    PMProgramResult plain = PMRunPagemoor(add + "--style 4 --selected 'A glass slipper.' --page 41 "
        "--location 'epubcfi(/6/6!/4/20/1:0)' --range-start 2 --created 2024-03-06T10:20:30Z");
    ASSERT_EQ(noted.status, 0) << noted.err;
    ASSERT_EQ(plain.status, 0) << plain.err;
    auto exported = [&](const std::string& options) {
        PMProgramResult result = PMRunPagemoor("export '" + book + "' --store '" + store + "' --cache-dir '" + sandbox.cacheDirectory()
            + "' --format html --book-url https://store.example/book/id9 " + options);
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_EQ(result.out.find("<!-- %%"), std::string::npos) << result.out;
        return result.out;
    };
    const std::string chapter = "SECTION IV FAIRY STORIES\xE2\x80\x94MODERN FANTASTIC TALES";

    std::string group = exported("");
    for (std::string expected : std::initializer_list<std::string> {"NOTES FROM", "<span class=\"green\">Three bears & a <bowl>.</span>", "<span class=\"pink\">A glass slipper.</span>",
             chapter + ", p. 41", "Porridge<br>\nand chairs", "All Excerpts From", "Charles Madison Curry. \xE2\x80\x9C" "Children's Literature.\xE2\x80\x9D Pagemoor.",
             "<a href=\"https://store.example/book/id9\">Available in Pagemoor Store</a>"})
        EXPECT_NE(group.find(expected), std::string::npos) << expected << "\n" << group;

    // On paper: the dates in the annotation's colour and the notes, never an excerpt or a link.
    std::string print = exported("--print");
    EXPECT_NE(print.find("Porridge<br>\nand chairs"), std::string::npos) << print;
    EXPECT_NE(print.find("<span class=\"green\">March 5, 2024</span>"), std::string::npos) << print;
    for (const char* absent : {"bears", "slipper", "href="})
        EXPECT_EQ(print.find(absent), std::string::npos) << absent << "\n" << print;

    std::string single = exported("--uuid " + plain.out.substr(0, plain.out.find('\n')));
    for (std::string expected : std::initializer_list<std::string> {"A glass slipper.", "Excerpt From", chapter + ", p. 41"})
        EXPECT_NE(single.find(expected), std::string::npos) << expected << "\n" << single;
    EXPECT_EQ(single.find("bears"), std::string::npos);
}

} // namespace
