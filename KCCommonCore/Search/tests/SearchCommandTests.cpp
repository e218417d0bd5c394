// The fold, filter and library commands, through the real pagemoor program.
#include "Utilities/tests/KCTestFiles.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <sys/wait.h>

namespace {

struct Result {
    int status = -1;
    std::string output;
};

class SearchCommandTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (!std::filesystem::exists(PAGEMOOR_EXECUTABLE))
            GTEST_SKIP() << "pagemoor is not built";
    }

    // Runs pagemoor with standard input from `input`; standard error joins the output.
    Result run(const std::string& arguments, const std::string& input = "")
    {
        std::string inputPath = m_scratch.file("input.txt");
        KCWriteTestFile(inputPath, input);
        std::string command = std::string(PAGEMOOR_EXECUTABLE) + " " + arguments + " < '" + inputPath + "' 2>&1";
        Result result;
        FILE* pipe = popen(command.c_str(), "r");
        if (!pipe)
            return result;
        std::array<char, 4096> buffer {};
        while (size_t read = fread(buffer.data(), 1, buffer.size(), pipe))
            result.output.append(buffer.data(), read);
        int status = pclose(pipe);
        result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        return result;
    }

    KCScratchDirectory m_scratch;
};

TEST_F(SearchCommandTest, FoldsArgumentsOrLines)
{
    Result arguments = run("fold 'Cr\xC3\xA8me Br\xC3\xBBl\xC3\xA9""e' '\xEF\xBC\xA1\xEF\xBC\xA2\xEF\xBC\xA3'");
    EXPECT_EQ(arguments.status, 0);
    EXPECT_EQ(arguments.output, "creme brulee\nabc\n");
    Result lines = run("fold --json", "Don\xE2\x80\x99t\n\xC3\x89""cole\n");
    EXPECT_EQ(lines.status, 0);
    EXPECT_EQ(lines.output, "[\n  \"don't\",\n  \"ecole\"\n]\n");
}

TEST_F(SearchCommandTest, BuildsTestsAndDescribesAFilter)
{
    std::string archive = m_scratch.file("chapter.archive");
    Result build = run("filter build --fold --load-factor 16 -o '" + archive + "'", "The \xC3\x89""cole of Night\n");
    ASSERT_EQ(build.status, 0) << build.output;

    Result test = run("filter test --fold '" + archive + "' ecole 'OF NIGHT' 'of day' abc");
    EXPECT_EQ(test.output, "yes\nyes\nno\nyes\n");
    Result unfolded = run("filter test '" + archive + "' ECOLE");
    EXPECT_EQ(unfolded.output, "no\n");

    Result info = run("filter info --json '" + archive + "'");
    EXPECT_EQ(info.status, 0);
    EXPECT_NE(info.output.find("\"expectedNumberOfInsertions\": 19"), std::string::npos) << info.output;
    EXPECT_NE(info.output.find("\"loadFactor\": 16.0"), std::string::npos);
    EXPECT_NE(info.output.find("\"windowWidth\": 4"), std::string::npos);
    EXPECT_NE(info.output.find("% of bits turned on."), std::string::npos);

    // Standard output carries the archive itself.
    Result piped = run("filter build", "The Ecole");
    EXPECT_EQ(piped.output.rfind("bplist00", 0), 0u);

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
    EXPECT_EQ(run("library query " + library + " times").output, "one\ntwo\n");
    EXPECT_EQ(run("library query --json " + library + " worst").output, "[\n  \"two\"\n]\n");

    ASSERT_EQ(run("library add --fold " + library + " two", "Two Cities").status, 0);  // replaces
    EXPECT_EQ(run("library query " + library + " worst").output, "");
    EXPECT_EQ(run("library query --fold " + library + " 'TWO CITIES'").output, "three\ntwo\n");
    EXPECT_NE(run("library add --window 3 " + library + " four", "x").status, 0);
}

} // namespace
