#pragma once
// Failed assertions are logged and the program carries on: a reader must not
// lose its book over a broken invariant in a share or an annotation.
#include "KCFormat.h"

#include <span>
#include <string_view>

class KCAssertionHandler {
public:
    // Logs "*** Assertion failure: <location> <file>:<line> <description>".
    template <typename... Args>
    static void handleFailureInFunction(std::string_view location, std::string_view file, int lineNumber, std::string_view format, const Args&... args)
    {
        if constexpr (sizeof...(Args) == 0) {
            handleFailureWithLocation(location, file, lineNumber, format, {});
        } else {
            const KCFormatArgument arguments[] = {KCFormatArgument(args)...};
            handleFailureWithLocation(location, file, lineNumber, format, arguments);
        }
    }
    static void handleFailureWithLocation(std::string_view location, std::string_view file, int lineNumber, std::string_view format, std::span<const KCFormatArgument> arguments);
};

// Does nothing, on purpose: a fixed place for a debugger's breakpoint.
[[gnu::noinline]] void KCAssertionFailed();

// KCAssert(index < count, "Index %d out of %d", index, count)
#define KCAssert(condition, ...)                                                                  \
    do {                                                                                          \
        if (!(condition)) {                                                                       \
            KCAssertionHandler::handleFailureInFunction(__func__, __FILE__, __LINE__, __VA_ARGS__); \
            KCAssertionFailed();                                                                  \
        }                                                                                         \
    } while (0)
