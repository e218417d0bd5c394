#include "KCWordServices.h"

#include "KCLogger.h"
#include "KCStringAdditions.h"

#include <unicode/locid.h>
#include <unicode/uchar.h>
#include <unicode/udat.h>
#include <unicode/ulocdata.h>
#include <unicode/ustring.h>
#include <unicode/utf16.h>

namespace {

bool bySentences(KCStringEnumerationOptions options)
{
    return options == KCStringEnumerationBySentences;
}

// Fills a UTF-16 result from an ICU call that reports the length it needs.
template <typename Call>
std::u16string icuString(Call call, size_t guess)
{
    std::u16string result(guess, u'\0');
    UErrorCode status = U_ZERO_ERROR;
    int32_t length = call(result.data(), static_cast<int32_t>(result.size()), &status);
    if (status == U_BUFFER_OVERFLOW_ERROR) {
        result.resize(static_cast<size_t>(length));
        status = U_ZERO_ERROR;
        length = call(result.data(), static_cast<int32_t>(result.size()), &status);
    }
    if (U_FAILURE(status)) {
        KCLog("ICU could not make a text: %s", u_errorName(status));
        return {};
    }
    result.resize(static_cast<size_t>(length));
    return result;
}

bool isQuotationMark(UChar32 c)
{
    return u_hasBinaryProperty(c, UCHAR_QUOTATION_MARK);
}

} // namespace

uint64_t tokenCountWithEnumerationOptions(std::u16string_view text, KCStringEnumerationOptions options, uint64_t maxTokenCount, uint64_t* outLimitLength)
{
    uint64_t count = 0;
    uint64_t lastEnd = 0;
    uint64_t limit = text.size();
    KCEnumerateTokenRanges(text, bySentences(options), [&](KCRange token) {
        if (maxTokenCount && count == maxTokenCount) {
            limit = lastEnd;
            return false;
        }
        ++count;
        lastEnd = token.end();
        return true;
    });
    if (outLimitLength)
        *outLimitLength = limit;
    return count;
}

std::u16string stringByTruncatingToLength(std::u16string_view text, uint64_t length, KCStringEnumerationOptions options, std::u16string_view truncationString)
{
    if (text.size() <= length)
        return std::u16string(text);
    uint64_t cut = 0;
    KCEnumerateTokenRanges(text, bySentences(options), [&](KCRange token) {
        if (token.end() > length)
            return false;
        cut = token.end();
        return true;
    });
    if (!cut) {
        cut = length;
        if (cut && U16_IS_LEAD(text[cut - 1]) && U16_IS_TRAIL(text[cut]))
            --cut;
    }
    std::u16string result;
    result.reserve(cut + truncationString.size());
    result.append(text.substr(0, cut));
    result.append(truncationString);
    return result;
}

KCQuotationMarks KCQuotationMarks::forLocale(const char* localeID)
{
    KCQuotationMarks marks {u"\u201C", u"\u201D"};
    UErrorCode status = U_ZERO_ERROR;
    ULocaleData* data = ulocdata_open(localeID, &status);
    if (U_FAILURE(status)) {
        KCLog("No locale data for %s: %s", localeID, u_errorName(status));
        return marks;
    }
    auto delimiter = [&](ULocaleDataDelimiterType type) {
        return icuString([&](UChar* buffer, int32_t capacity, UErrorCode* error) { return ulocdata_getDelimiter(data, type, buffer, capacity, error); }, 4);
    };
    if (auto start = delimiter(ULOCDATA_QUOTATION_START), end = delimiter(ULOCDATA_QUOTATION_END); !start.empty() && !end.empty())
        marks = {std::move(start), std::move(end)};
    ulocdata_close(data);
    return marks;
}

KCQuotationMarks KCQuotationMarks::forUserLocale()
{
    return forLocale(icu::Locale::getDefault().getName());
}

std::u16string KCQuotationMarks::enclose(std::u16string_view text) const
{
    std::u16string result;
    result.reserve(start.size() + text.size() + end.size());
    result.append(start).append(text).append(end);
    return result;
}

std::u16string stringByEnclosingInQuotes(std::u16string_view text)
{
    return KCQuotationMarks::forUserLocale().enclose(text);
}

std::u16string stringByRemovingEnclosingQuotations(std::u16string_view text)
{
    if (text.size() < 2)
        return std::u16string(text);
    size_t afterStart = 0, beforeEnd = text.size();
    UChar32 first, last;
    U16_NEXT(text.data(), afterStart, text.size(), first);
    U16_PREV(text.data(), 0, beforeEnd, last);
    if (afterStart > beforeEnd || !isQuotationMark(first) || !isQuotationMark(last))
        return std::u16string(text);
    return std::u16string(text.substr(afterStart, beforeEnd - afterStart));
}

KCLongDateFormatter::KCLongDateFormatter(const char* localeID)
{
    UErrorCode status = U_ZERO_ERROR;
    m_format = udat_open(UDAT_NONE, UDAT_LONG, localeID, nullptr, -1, nullptr, -1, &status);
    if (U_FAILURE(status)) {
        KCLog("Cannot make a long date formatter for %s: %s", localeID ? localeID : "the user's locale", u_errorName(status));
        m_format = nullptr;
    }
}

KCLongDateFormatter::~KCLongDateFormatter()
{
    if (m_format)
        udat_close(static_cast<UDateFormat*>(m_format));
}

std::u16string KCLongDateFormatter::stringFromDate(KCDate date) const
{
    if (!m_format)
        return {};
    UDate milliseconds = date.timeIntervalSince1970() * 1000.0;
    return icuString([&](UChar* buffer, int32_t capacity, UErrorCode* status) {
        return udat_format(static_cast<const UDateFormat*>(m_format), milliseconds, buffer, capacity, nullptr, status);
    }, 40);
}

std::u16string KCUppercaseString(std::u16string_view text, const char* localeID)
{
    return icuString([&](UChar* buffer, int32_t capacity, UErrorCode* status) {
        return u_strToUpper(buffer, capacity, text.data(), static_cast<int32_t>(text.size()), localeID, status);
    }, text.size() + text.size() / 8 + 4);
}
