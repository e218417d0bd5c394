#include "KCStringAdditions.h"

#include "KCLogger.h"

#include <unicode/brkiter.h>
#include <unicode/locid.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utf16.h>

#include <functional>
#include <memory>

namespace {

bool isFlattened(char32_t c)
{
    auto type = u_charType(static_cast<UChar32>(c));
    return type == U_CONTROL_CHAR || type == U_FORMAT_CHAR || c == 0x2028 || c == 0x2029;
}

// Making an iterator looks its rules up each time; a clone of one made per thread costs little.
std::unique_ptr<icu::BreakIterator> breakIterator(bool sentences)
{
    thread_local std::unique_ptr<icu::BreakIterator> prototypes[2];
    auto& prototype = prototypes[sentences ? 1 : 0];
    if (!prototype) {
        UErrorCode status = U_ZERO_ERROR;
        prototype.reset(sentences ? icu::BreakIterator::createSentenceInstance(icu::Locale::getRoot(), status)
                                  : icu::BreakIterator::createWordInstance(icu::Locale::getRoot(), status));
        if (U_FAILURE(status) || !prototype) {
            KCLog("Cannot create a %s break iterator: %s", sentences ? "sentence" : "word", u_errorName(status));
            prototype.reset();
            return nullptr;
        }
    }
    return std::unique_ptr<icu::BreakIterator>(prototype->clone());
}

} // namespace

bool KCIsWhitespaceOrNewline(char32_t c)
{
    if ((c >= 0x09 && c <= 0x0D) || c == 0x85)
        return true;
    auto type = u_charType(static_cast<UChar32>(c));
    return type == U_SPACE_SEPARATOR || type == U_LINE_SEPARATOR || type == U_PARAGRAPH_SEPARATOR;
}

bool KCIsPunctuation(char32_t c)
{
    return u_ispunct(static_cast<UChar32>(c));
}

std::u16string_view KCTrimWhitespaceAndNewlines(std::u16string_view text)
{
    size_t begin = 0, end = text.size();
    while (begin < end && KCIsWhitespaceOrNewline(text[begin]))
        ++begin;
    while (end > begin && KCIsWhitespaceOrNewline(text[end - 1]))
        --end;
    return text.substr(begin, end - begin);
}

std::u16string flattenedAnnotationString(std::u16string_view text)
{
    std::u16string flattened;
    flattened.reserve(text.size());
    for (size_t i = 0; i < text.size();) {
        size_t start = i;
        UChar32 c;
        U16_NEXT(text.data(), i, text.size(), c);
        if (isFlattened(static_cast<char32_t>(c)))
            flattened.push_back(u' ');
        else
            flattened.append(text.substr(start, i - start));
    }
    return flattened;
}

uint64_t tn_occurrenceCountOfString(std::u16string_view text, std::u16string_view needle)
{
    if (needle.empty())
        return 0;
    uint64_t count = 0;
    for (size_t at = text.find(needle); at != std::u16string_view::npos; at = text.find(needle, at + needle.size()))
        ++count;
    return count;
}

void KCEnumerateTokenRanges(std::u16string_view text, bool sentences, const std::function<bool(KCRange)>& visit)
{
    auto iterator = breakIterator(sentences);
    if (!iterator)
        return;
    icu::UnicodeString units(false, text.data(), static_cast<int32_t>(text.size()));
    iterator->setText(units);
    int32_t start = iterator->first();
    for (int32_t end = iterator->next(); end != icu::BreakIterator::DONE; start = end, end = iterator->next()) {
        // Of words, only those with a word status: not blanks or punctuation.
        bool token = sentences || iterator->getRuleStatus() >= UBRK_WORD_NONE_LIMIT;
        if (token && !visit({static_cast<uint64_t>(start), static_cast<uint64_t>(end - start)}))
            return;
    }
}

static std::vector<KCRange> tokenRanges(std::u16string_view text, bool sentences)
{
    std::vector<KCRange> ranges;
    KCEnumerateTokenRanges(text, sentences, [&](KCRange range) {
        ranges.push_back(range);
        return true;
    });
    return ranges;
}

std::vector<KCRange> KCSentenceRanges(std::u16string_view text)
{
    return tokenRanges(text, true);
}

std::vector<KCRange> KCWordRanges(std::u16string_view text)
{
    return tokenRanges(text, false);
}
