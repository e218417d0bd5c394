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
    const std::string tail = "\n\nBold note\n\n\nNotes From: \xE2\x80\x9CMoby-Dick\xE2\x80\x9D by Herman Melville\n\n"
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
             "<https://store.example/book/id42>", "Notes From: \u201CMoby-Dick\u201D by Herman Melville"})
        EXPECT_NE(read.find(expected), std::string::npos) << expected << "\n" << read;
}

} // namespace
