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

// `arguments` is shell text (quote paths); `input` becomes standard input.
inline PMProgramResult PMRunPagemoor(const std::string& arguments, const std::string& input = "")
{
    KCScratchDirectory scratch;
    KCWriteTestFile(scratch.file("in"), input);
    std::string command = std::string(PAGEMOOR_EXECUTABLE) + " " + arguments + " <'" + scratch.file("in") + "' >'" + scratch.file("out")
        + "' 2>'" + scratch.file("err") + "'";
    int status = std::system(command.c_str());
    PMProgramResult result;
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    result.out = KCReadTestFile(scratch.file("out"));
    result.err = KCReadTestFile(scratch.file("err"));
    return result;
}
