#pragma once
// What counts as the same text for a search. Page text is folded with
// StringCopyFlattenedForSearch before it is indexed, every query is folded
// the same way before it is tested, and the insensitive range search
// (KCSearchRange.h) compares through the same fold, so the three agree.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// Comparison options, as bits of one mask.
inline constexpr uint64_t KCCaseInsensitiveCompare = 1;
inline constexpr uint64_t KCDiacriticInsensitiveCompare = 128;
inline constexpr uint64_t KCWidthInsensitiveCompare = 256;

// Typographic quote marks (and the Hebrew geresh and gershayim) to their
// ASCII forms; every other unit unchanged. Low and reversed quotes stay.
constexpr char16_t foldQuoteMark(char16_t unit)
{
    switch (unit) {
    case 0x2018:
    case 0x2019:
    case 0x05F3:
        return u'\'';
    case 0x201C:
    case 0x201D:
    case 0x05F4:
        return u'"';
    default:
        return unit;
    }
}

// Case-, diacritic- and width-insensitive: 385.
constexpr uint64_t StringCompareFlagsForSearch()
{
    return KCCaseInsensitiveCompare | KCDiacriticInsensitiveCompare | KCWidthInsensitiveCompare;
}

// Locale-independent lower case, full-width to half-width, diacritics
// stripped, then quote marks folded unit by unit. Safe from any thread.
std::u16string StringCopyFlattenedForSearch(std::u16string_view text);

// The longest of the first ten word-boundary tokens (the earliest on a tie),
// with the current locale's word rules; nothing for a text without tokens.
std::optional<std::u16string> StringCopyLongestWordInString(std::u16string_view text);

// The fold that the comparison options in `flags` imply (only the three
// bits above count), without quote folding; case is ignored by full case
// folding (final sigma, ß and SS match): two texts compare equal under
// `flags` exactly when their folds are equal. Use the fold as a lookup key.
std::u16string KCFoldForCompareFlags(std::u16string_view text, uint64_t flags);
bool KCStringsEqualWithCompareFlags(std::u16string_view a, std::u16string_view b, uint64_t flags);
