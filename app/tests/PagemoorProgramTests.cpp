// Runs the real pagemoor program as a child process.
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/wait.h>

namespace {

struct Result {
    int status = -1;
    std::string output;
};

Result runPagemoor(const std::string& arguments)
{
    Result result;
    std::string command = std::string(PAGEMOOR_EXECUTABLE) + " " + arguments + " 2>&1";
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe)
        return result;
    std::array<char, 4096> buffer {};
    size_t read;
    while ((read = fread(buffer.data(), 1, buffer.size(), pipe)) > 0)
        result.output.append(buffer.data(), read);
    int status = pclose(pipe);
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return result;
}

TEST(PagemoorProgram, VersionHelpAndErrors)
{
    Result version = runPagemoor("--version");
    EXPECT_EQ(version.status, 0);
    EXPECT_EQ(version.output.rfind("pagemoor ", 0), 0u);

    Result help = runPagemoor("--help");
    EXPECT_EQ(help.status, 0);
    EXPECT_NE(help.output.find("demo"), std::string::npos);

    Result unknown = runPagemoor("frobnicate");
    EXPECT_NE(unknown.status, 0);
    EXPECT_NE(unknown.output.find("unknown command"), std::string::npos);

    Result demoHelp = runPagemoor("demo --help");
    EXPECT_EQ(demoHelp.status, 0);
    EXPECT_NE(demoHelp.output.find("usage: pagemoor demo"), std::string::npos);
}

TEST(PagemoorProgram, DemoRuns)
{
    Result demo = runPagemoor("demo");
    EXPECT_EQ(demo.status, 0) << demo.output;
    EXPECT_NE(demo.output.find("Pagemoor reading engine demo"), std::string::npos);
}

} // namespace
