#include "PMEngineOutput.h"

#include <unistd.h>

#include <cstdio>
#include <iostream>

namespace {

int resultDescriptor = STDOUT_FILENO;

} // namespace

void PMSeparateResultsFromLogs()
{
    if (resultDescriptor != STDOUT_FILENO)
        return;
    std::cout.flush();
    fflush(stdout);
    int saved = dup(STDOUT_FILENO);
    if (saved < 0 || dup2(STDERR_FILENO, STDOUT_FILENO) < 0)
        return;
    resultDescriptor = saved;
}

void PMPrintResult(const std::string& text)
{
    size_t written = 0;
    while (written < text.size()) {
        ssize_t count = write(resultDescriptor, text.data() + written, text.size() - written);
        if (count <= 0)
            return;
        written += static_cast<size_t>(count);
    }
}

void PMEndEngineCommand(int status)
{
    std::cout.flush();
    std::cerr.flush();
    fflush(nullptr);
    _exit(status);
}
