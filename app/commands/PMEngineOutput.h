#pragma once
// Where an engine command's output goes. The engine's processes log to
// standard output; while an engine command runs, standard output goes to
// standard error and only the command's results reach the real standard
// output, through PMPrintResult.
#include <sstream>
#include <string>

void PMSeparateResultsFromLogs();
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
