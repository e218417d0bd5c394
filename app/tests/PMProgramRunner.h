#pragma once
// Runs the real pagemoor program as a child process, as a person would.
#include "Utilities/tests/KCTestFiles.h"

#include <cstdlib>
#include <string>
#include <sys/wait.h>

struct PMProgramResult {
    int status = -1;  // exit status; -1 when the program did not exit normally
    std::string out;
    std::string err;
};

struct PMProgramOptions {
    std::string input {};        // standard input
    std::string environment {};  // given to env(1) before the command: "NAME=value ...", "-u NAME"
};

// `arguments` is shell text (quote paths).
inline PMProgramResult PMRunPagemoor(const std::string& arguments, const PMProgramOptions& options = {})
{
    KCScratchDirectory scratch;
    KCWriteTestFile(scratch.file("in"), options.input);
    std::string command = (options.environment.empty() ? "" : "env " + options.environment + " ") + PAGEMOOR_EXECUTABLE + " " + arguments
        + " <'" + scratch.file("in") + "' >'" + scratch.file("out") + "' 2>'" + scratch.file("err") + "'";
    int status = std::system(command.c_str());
    PMProgramResult result;
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    result.out = KCReadTestFile(scratch.file("out"));
    result.err = KCReadTestFile(scratch.file("err"));
    return result;
}
