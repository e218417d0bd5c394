#include "KCAssertionHandler.h"

#include "KCLogger.h"

void KCAssertionHandler::handleFailureWithLocation(std::string_view location, std::string_view file, int lineNumber, std::string_view format, std::span<const KCFormatArgument> arguments)
{
    std::string description = KCStringWithFormatArguments(format, arguments);
    KCLogger::sharedLogger()->logString(KCStringWithFormat("*** Assertion failure: %@ %@:%d %@", location, file, lineNumber, description));
}

void KCAssertionFailed()
{
    // An empty asm keeps the call from being folded away.
    asm volatile("");
}
