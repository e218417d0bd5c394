#pragma once
// How an engine command meets the terminal. The engine runs headless: no
// accessibility bridge, no session-bus services. Its processes log to
// standard output and warn on standard error; by default both are dropped
// and only the command's results (standard output, through PMPrintResult)
// and its failures (PMFail, on standard error) come out. With --verbose, or
// when KCLogFilter is set, the engine's log goes to standard error.
#include <optional>
#include <sstream>
#include <string>

// Call once the arguments are checked and before the engine starts: sets up
// the environment, finds a display (starting the program again under
// xvfb-run when there is none) and routes the output. Answers an exit status
// when the command cannot go on.
std::optional<int> PMPrepareEngineCommand(bool verbose);
void PMPrintResult(const std::string& text);

// `out << a << b` for results; each piece is written at once.
struct PMResultWriter {
    template <typename T> PMResultWriter& operator<<(const T& value)
    {
        std::ostringstream text;
        text << value;
        PMPrintResult(text.str());
        return *this;
    }
};

// Ends an engine command once its session is gone. The engine's libraries
// keep process-long allocations, some made by modules unloaded by exit time,
// that a leak checker cannot attribute; the process ends without exit handlers.
[[noreturn]] void PMEndEngineCommand(int status);
