#pragma once
// Runs the real pagemoor program as a child process, as a person would.
#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

struct PMProgramResult {
    int status = -1;  // exit status; -1 when the program did not exit normally
    std::string out;
    std::string err;
};

// `arguments` is shell text (quote paths); `input` becomes standard input.
inline PMProgramResult PMRunPagemoor(const std::string& arguments, const std::string& input = "")
{
    namespace fs = std::filesystem;
    char pattern[] = "/tmp/pagemoor-run-XXXXXX";
    const char* directory = mkdtemp(pattern);
    PMProgramResult result;
    if (!directory)
        return result;
    fs::path base(directory);
    std::ofstream(base / "in", std::ios::binary) << input;
    std::string command = std::string(PAGEMOOR_EXECUTABLE) + " " + arguments + " <'" + (base / "in").string() + "' >'"
        + (base / "out").string() + "' 2>'" + (base / "err").string() + "'";
    int status = std::system(command.c_str());
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    auto slurp = [](const fs::path& path) {
        std::ifstream file(path, std::ios::binary);
        std::ostringstream text;
        text << file.rdbuf();
        return text.str();
    };
    result.out = slurp(base / "out");
    result.err = slurp(base / "err");
    std::error_code ignored;
    fs::remove_all(base, ignored);
    return result;
}
