// Any bytes as the reader's scripted actions: parsing never crashes, and
// every action it keeps is one that can be played, with an argument of the
// kind that action takes.
#include "reader/PMReaderActions.h"

#include <cstdlib>
#include <limits>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    KCError error;
    auto actions = PMParseReaderActions(std::string_view(reinterpret_cast<const char*>(data), size), &error);
    if (!actions) {
        if (error.message.empty())
            std::abort();
        return 0;
    }
    for (const auto& action : *actions) {
        const auto& argument = action.argument;
        bool playable = action.name == "quit"
            || (action.name == "open" && argument.is_number_unsigned())
            || (action.name == "next" && argument.is_number_integer()
                && std::abs(argument.get<double>()) <= std::numeric_limits<int>::max())
            || ((action.name == "screenshot" || action.name == "find" || action.name == "export") && argument.is_string()
                && !argument.get<std::string>().empty())
            || (action.name == "share" && argument == "menu")
            || ((action.name == "highlight" || action.name == "select") && argument.is_string() && !argument.get<std::string>().empty()
                && action.options.value("style", 3) >= 1 && action.options.value("style", 3) <= 5)
            || ((action.name == "night" || action.name == "sidebar" || action.name == "scrolled") && argument.is_boolean());
        // Only a highlight and a selection take other members.
        if (!playable || (action.name != "highlight" && action.name != "select" && !action.options.empty()))
            std::abort();
    }
    return 0;
}
