// The fold, filter and library commands, through the real pagemoor program.
#include "PMProgramRunner.h"
#include "Utilities/tests/KCTestFiles.h"

#include <gtest/gtest.h>


namespace {

class SearchCommandTest : public ::testing::Test {
protected:
    PMProgramResult run(const std::string& arguments, const std::string& input = "") { return PMRunPagemoor(arguments, {.input = input}); }

    KCScratchDirectory m_scratch;
};

TEST_F(SearchCommandTest, FoldsArgumentsOrLines)
{
    PMProgramResult arguments = run("fold 'Cr\xC3\xA8me Br\xC3\xBBl\xC3\xA9""e' '\xEF\xBC\xA1\xEF\xBC\xA2\xEF\xBC\xA3'");
    EXPECT_EQ(arguments.status, 0);
    EXPECT_EQ(arguments.out, "creme brulee\nabc\n");
    PMProgramResult lines = run("fold --json", "Don\xE2\x80\x99t\n\xC3\x89""cole\n");
    EXPECT_EQ(lines.status, 0);
    EXPECT_EQ(lines.out, "[\n  \"don't\",\n  \"ecole\"\n]\n");
}

TEST_F(SearchCommandTest, BuildsTestsAndDescribesAFilter)
{
    std::string archive = m_scratch.file("chapter.archive");
    PMProgramResult build = run("filter build --fold --load-factor 16 -o '" + archive + "'", "The \xC3\x89""cole of Night\n");
    ASSERT_EQ(build.status, 0) << build.out;

    // Every indexed fragment answers yes (folded like the text), and so does a
    // query shorter than the window; a Bloom filter promises no "no".
    PMProgramResult test = run("filter test --fold '" + archive + "' ecole 'OF NIGHT' 'of day' abc");
    EXPECT_EQ(test.status, 0);
    EXPECT_TRUE(test.out == "yes\nyes\nno\nyes\n" || test.out == "yes\nyes\nyes\nyes\n") << test.out;
    // With nothing indexed no bit is set: every fragment answers no.
    std::string empty = m_scratch.file("empty.archive");
    ASSERT_EQ(run("filter build -o '" + empty + "'", "abc").status, 0);
    EXPECT_EQ(run("filter test '" + empty + "' ECOLE abcd").out, "no\nno\n");

    PMProgramResult info = run("filter info --json '" + archive + "'");
    EXPECT_EQ(info.status, 0);
    EXPECT_NE(info.out.find("\"expectedNumberOfInsertions\": 19"), std::string::npos) << info.out;
    EXPECT_NE(info.out.find("\"loadFactor\": 16.0"), std::string::npos);
    EXPECT_NE(info.out.find("\"windowWidth\": 4"), std::string::npos);
    EXPECT_NE(info.out.find("% of bits turned on."), std::string::npos);

    // Standard output carries the archive itself.
    PMProgramResult piped = run("filter build", "The Ecole");
    EXPECT_EQ(piped.out.rfind("bplist00", 0), 0u);

    KCWriteTestFile(m_scratch.file("junk"), "bplist00 not really");
    EXPECT_NE(run("filter test '" + m_scratch.file("junk") + "' abcd").status, 0);
    EXPECT_NE(run("filter info '" + m_scratch.file("missing") + "'").status, 0);
    EXPECT_NE(run("filter build --hashes 9").status, 0);
    EXPECT_NE(run("filter build --window x").status, 0);
}

TEST_F(SearchCommandTest, KeepsALibrary)
{
    std::string library = "'" + m_scratch.file("library.archive") + "'";
    ASSERT_EQ(run("library add --load-factor 32 " + library + " one", "the best of times").status, 0);
    ASSERT_EQ(run("library add " + library + " two", "the worst of times").status, 0);
    ASSERT_EQ(run("library add " + library + " three", "a tale of two cities").status, 0);
    EXPECT_EQ(run("library query " + library + " times").out, "one\ntwo\n");
    EXPECT_EQ(run("library query --json " + library + " worst").out, "[\n  \"two\"\n]\n");

    ASSERT_EQ(run("library add --fold " + library + " two", "Two Cities").status, 0);  // replaces
    EXPECT_EQ(run("library query " + library + " worst").out, "");
    EXPECT_EQ(run("library query --fold " + library + " 'TWO CITIES'").out, "three\ntwo\n");
    EXPECT_NE(run("library add --window 3 " + library + " four", "x").status, 0);
}

} // namespace
