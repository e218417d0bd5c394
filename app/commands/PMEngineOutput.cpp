#include "PMEngineOutput.h"

#include "app/PMCommand.h"
#include "PMDisplay.h"
#include "Utilities/KCLogger.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <iostream>

namespace {

int resultDescriptor = STDOUT_FILENO;

// Before GTK starts, and inherited by the engine's processes: a headless
// run has no accessibility bus or session services to reach, and trying
// only fills the terminal with warnings. What the user set stays.
void useHeadlessEnvironment()
{
    setenv("NO_AT_BRIDGE", "1", 0);
    setenv("GTK_A11Y", "none", 0);
    // An empty address keeps the web process from the accessibility bus.
    setenv("WEBKIT_A11Y_BUS_ADDRESS", "", 0);
}

// Standard output and standard error, inherited by the engine's processes,
// go to the log's destination; the results and failures keep the real ones.
void separateResultsFromLogs(bool showLog)
{
    if (resultDescriptor != STDOUT_FILENO)
        return;
    std::cout.flush();
    std::cerr.flush();
    fflush(nullptr);
    int results = dup(STDOUT_FILENO);
    int failures = dup(STDERR_FILENO);
    int logs = showLog ? dup(STDERR_FILENO) : open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (results < 0 || failures < 0 || logs < 0 || dup2(logs, STDOUT_FILENO) < 0 || dup2(logs, STDERR_FILENO) < 0)
        return;
    close(logs);
    fcntl(results, F_SETFD, FD_CLOEXEC);
    fcntl(failures, F_SETFD, FD_CLOEXEC);
    resultDescriptor = results;
    PMSetFailureDescriptor(failures);
}

} // namespace

std::optional<int> PMPrepareEngineCommand(bool verbose)
{
    useHeadlessEnvironment();
    if (auto status = PMEnsureDisplay())
        return status;
    separateResultsFromLogs(verbose || KCLogger::sharedLogger()->filter());
    return std::nullopt;
}

void PMPrintResult(const std::string& text)
{
    PMWriteAll(resultDescriptor, text);
}

void PMEndEngineCommand(int status)
{
    std::cout.flush();
    std::cerr.flush();
    fflush(nullptr);
    _exit(status);
}
