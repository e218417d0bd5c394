#include "KCSearchFolding.h"

#include "KCTextFolder.h"
#include "Utilities/KCLogger.h"

#include <unicode/brkiter.h>
#include <unicode/locid.h>
#include <unicode/unistr.h>

#include <memory>

std::u16string StringCopyFlattenedForSearch(std::u16string_view text)
{
    std::u16string folded;
    KCFoldText(text, {StringCompareFlagsForSearch(), true}, folded);
    return folded;
}

std::u16string KCFoldForCompareFlags(std::u16string_view text, uint64_t flags)
{
    std::u16string folded;
    KCFoldText(text, {flags & StringCompareFlagsForSearch(), false, true}, folded);
    return folded;
}

bool KCStringsEqualWithCompareFlags(std::u16string_view a, std::u16string_view b, uint64_t flags)
{
    if (a == b)
        return true;
    return KCFoldForCompareFlags(a, flags) == KCFoldForCompareFlags(b, flags);
}

std::optional<std::u16string> StringCopyLongestWordInString(std::u16string_view text)
{
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::BreakIterator> words(icu::BreakIterator::createWordInstance(icu::Locale::getDefault(), status));
    if (U_FAILURE(status) || !words) {
        KCLog("Cannot create a word tokenizer: %s", u_errorName(status));
        return std::nullopt;
    }
    icu::UnicodeString units(false, text.data(), static_cast<int32_t>(text.size()));
    words->setText(units);

    // Only the first ten tokens count, and only a strictly longer one wins.
    std::optional<std::u16string_view> longest;
    int32_t start = words->first();
    for (int tokens = 0; tokens < 10; ++tokens) {
        int32_t end = words->next();
        if (end == icu::BreakIterator::DONE)
            break;
        std::u16string_view token = text.substr(static_cast<size_t>(start), static_cast<size_t>(end - start));
        if (!longest || token.size() > longest->size())
            longest = token;
        start = end;
    }
    if (!longest)
        return std::nullopt;
    return std::u16string(*longest);
}
