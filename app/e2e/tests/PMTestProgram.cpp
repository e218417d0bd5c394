#include "PMTestProgram.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <unistd.h>
#include <sys/wait.h>

PMTestProgramResult PMRunPagemoor(const std::string& arguments, const std::string& environment)
{
    PMTestProgramResult result;
    char errorsPath[] = "/tmp/pagemoor-errors-XXXXXX";
    int errorsFile = mkstemp(errorsPath);
    if (errorsFile < 0)
        return result;
    close(errorsFile);
    std::string command = (environment.empty() ? "" : "env " + environment + " ") + PAGEMOOR_EXECUTABLE + " " + arguments + " 2>" + errorsPath;
    if (FILE* pipe = popen(command.c_str(), "r")) {
        std::array<char, 4096> buffer {};
        size_t read;
        while ((read = fread(buffer.data(), 1, buffer.size(), pipe)) > 0)
            result.output.append(buffer.data(), read);
        int status = pclose(pipe);
        result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    std::ifstream errors(errorsPath);
    result.errors.assign(std::istreambuf_iterator<char>(errors), std::istreambuf_iterator<char>());
    unlink(errorsPath);
    return result;
}

void PMProgramTest::SetUp()
{
    char pattern[] = "/tmp/pagemoor-commands-XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    m_root = pattern;
    setenv("PAGEMOOR_CACHE_DIR", (m_root + "/cache").c_str(), 1);
}

void PMProgramTest::TearDown()
{
    if (!m_root.empty())
        std::filesystem::remove_all(m_root);
}

std::string PMProgramTest::write(PMSampleBookOptions options, const std::string& name)
{
    std::string path = m_root + "/" + name;
    EXPECT_FALSE(PMWriteSampleBook(options, path).has_value());
    return path;
}
