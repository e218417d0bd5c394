#pragma once
// A fresh temporary directory for the files a fuzz target writes, removed
// when the run ends; the log is kept off standard output meanwhile.
#include "Utilities/KCLogger.h"

#include <cstdlib>
#include <filesystem>
#include <string>
#include <unistd.h>

inline std::filesystem::path PMFuzzSandbox(const std::string& name)
{
    static std::filesystem::path sandbox;
    KCLogger::sharedLogger()->setAuxPath("/dev/null");
    KCLogger::sharedLogger()->setLogToFileOnly(true);
    std::string pattern = (std::filesystem::temp_directory_path() / ("pm-fuzz-" + name + "-XXXXXX")).string();
    if (!::mkdtemp(pattern.data()))
        std::abort();
    sandbox = pattern;
    std::atexit([] {
        std::error_code ignored;
        std::filesystem::remove_all(sandbox, ignored);
    });
    return sandbox;
}
