// pagemoor fold: prints texts as the search folds them.
#include "app/PMCommand.h"
#include "SearchCommandSupport.h"

#include "Search/KCSearchFolding.h"
#include "Utilities/KCStringConversion.h"

#include <nlohmann/json.hpp>

namespace {

int runFold(const std::vector<std::string>& args)
{
    PMArguments arguments(args, {});
    if (auto failed = PMRejectUnknown(arguments, {"json"}))
        return *failed;

    std::vector<std::string> texts = arguments.positionals();
    if (texts.empty()) {
        for (std::string line; std::getline(std::cin, line);)
            texts.push_back(std::move(line));
    }
    nlohmann::json folded = nlohmann::json::array();
    for (const auto& text : texts) {
        std::string result = KCUTF8FromUTF16(StringCopyFlattenedForSearch(KCUTF16FromUTF8(text)));
        if (arguments.flag("json"))
            folded.push_back(result);
        else
            std::cout << result << '\n';
    }
    if (arguments.flag("json"))
        std::cout << folded.dump(2) << '\n';
    return 0;
}

PMCommandRegistration registration({"fold", "print texts folded for search (lower case, half-width, no accents)",
    "usage: pagemoor fold [--json] [TEXT...]\n"
    "Prints each TEXT folded as the search folds it: lower case, half-width,\n"
    "without diacritics, with ASCII quote marks. Without TEXT, folds each line\n"
    "of standard input.\n",
    runFold});

} // namespace
