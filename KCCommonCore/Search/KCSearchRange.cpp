#include "KCSearchRange.h"

#include "KCSearchFolding.h"
#include "KCTextFolder.h"
#include "Utilities/KCLogger.h"

#include <string>
#include <vector>

KCRange KCRangeOfStringForSearch(std::u16string_view haystack, std::u16string_view needle, KCRange range)
{
    if (range.location > haystack.size() || range.length > haystack.size() - range.location) {
        KCLog("Search range {%llu, %llu} is outside a text of %llu units", static_cast<unsigned long long>(range.location),
            static_cast<unsigned long long>(range.length), static_cast<unsigned long long>(haystack.size()));
        return {};
    }
    if (needle.empty() || range.length == 0)
        return {};

    const KCFoldOptions options {StringCompareFlagsForSearch(), true};
    std::u16string foldedNeedle;
    KCFoldText(needle, options, foldedNeedle);
    if (foldedNeedle.empty())
        return {};

    std::u16string foldedText;
    std::vector<KCFoldSource> sources;
    KCFoldText(haystack.substr(range.location, range.length), options, foldedText, &sources);
    size_t match = foldedText.find(foldedNeedle);
    if (match == std::u16string::npos || sources.size() != foldedText.size())
        return {};
    uint64_t start = sources[match].start;
    uint64_t end = sources[match + foldedNeedle.size() - 1].end;
    return {range.location + start, end - start};
}

KCRange KCRangeOfStringForSearch(std::u16string_view haystack, std::u16string_view needle)
{
    return KCRangeOfStringForSearch(haystack, needle, {0, haystack.size()});
}
