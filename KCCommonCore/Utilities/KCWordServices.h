#pragma once
// Word services for the text that shares show a user: counting and cutting by
// words, quotation marks, long dates and upper-casing. Words are found as in
// KCStringAdditions (ICU's boundaries; blanks and punctuation are not words).
// Quotation marks, dates and upper-casing follow the user's locale (ICU's
// default locale), since they make user-facing text; nothing here writes a
// number that is stored or sent.
#include "KCValue.h"

#include <cstdint>
#include <string>
#include <string_view>

// What a token is. The values are those of the share code's "options".
enum KCStringEnumerationOptions : uint32_t {
    KCStringEnumerationByWords = 3,
    KCStringEnumerationBySentences = 4,
};

// Counts the tokens, stopping at maxTokenCount (0: no maximum). The limit
// length is the number of units from the start that hold the counted tokens:
// the whole length when no token lies beyond them, else the end of the last
// one counted.
uint64_t tokenCountWithEnumerationOptions(std::u16string_view text, KCStringEnumerationOptions options, uint64_t maxTokenCount, uint64_t* outLimitLength = nullptr);

// The text unchanged when it is not longer than `length`; otherwise at most
// `length` units of it, cut at the end of the last token that fits (at
// `length` itself when none does, never inside a surrogate pair), then the
// truncation string.
std::u16string stringByTruncatingToLength(std::u16string_view text, uint64_t length, KCStringEnumerationOptions options, std::u16string_view truncationString);

// The user's locale's quotation marks.
struct KCQuotationMarks {
    std::u16string start;
    std::u16string end;

    // Curly English marks when the locale data has none.
    static KCQuotationMarks forLocale(const char* localeID);
    static KCQuotationMarks forUserLocale();
    std::u16string enclose(std::u16string_view text) const;
};

std::u16string stringByEnclosingInQuotes(std::u16string_view text);
// Without one pair of enclosing quotation marks (any Unicode quotation mark at
// both ends); unchanged otherwise.
std::u16string stringByRemovingEnclosingQuotations(std::u16string_view text);

// Dates in the long style of a locale, without time, in the process's time
// zone. Making one costs far more than formatting with it: keep it for a document.
class KCLongDateFormatter {
public:
    explicit KCLongDateFormatter(const char* localeID = nullptr);  // null: the user's locale
    ~KCLongDateFormatter();
    KCLongDateFormatter(const KCLongDateFormatter&) = delete;
    KCLongDateFormatter& operator=(const KCLongDateFormatter&) = delete;

    // Empty when ICU could not make the formatter (logged once).
    std::u16string stringFromDate(KCDate date) const;

private:
    void* m_format = nullptr;
};

// Upper case by the locale's rules (Turkish dotted i, German sharp s); null: the user's locale.
std::u16string KCUppercaseString(std::u16string_view text, const char* localeID = nullptr);
