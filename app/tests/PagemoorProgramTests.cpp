// The program's own surface: version, help and errors.
#include "PMProgramRunner.h"

#include <gtest/gtest.h>

namespace {

TEST(PagemoorProgram, VersionHelpAndErrors)
{
    PMProgramResult version = PMRunPagemoor("--version");
    EXPECT_EQ(version.status, 0);
    EXPECT_EQ(version.out.rfind("pagemoor ", 0), 0u);

    PMProgramResult help = PMRunPagemoor("--help");
    EXPECT_EQ(help.status, 0);
    EXPECT_NE(help.out.find("demo"), std::string::npos);

    PMProgramResult unknown = PMRunPagemoor("frobnicate");
    EXPECT_NE(unknown.status, 0);
    EXPECT_NE(unknown.err.find("unknown command"), std::string::npos);

    PMProgramResult commandHelp = PMRunPagemoor("annotations --help");
    EXPECT_EQ(commandHelp.status, 0);
    EXPECT_NE(commandHelp.out.find("usage: pagemoor annotations"), std::string::npos);
}

} // namespace
