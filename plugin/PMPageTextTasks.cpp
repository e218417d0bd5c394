// The tasks that work on the page's text: the Bloom-filter index of the
// document and the sentence contexts of a search string.
#include "PMEpubWebProcessPlugIn.h"
#include "Search/KCDocumentFragmentFilter.h"
#include "Search/KCSearchFolding.h"
#include "Utilities/KCKeyedArchive.h"
#include "Utilities/KCLogger.h"

#include <unicode/brkiter.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utf16.h>

#include <memory>
#include <vector>

namespace {

// Ruby annotation text is left out of the page text.
constexpr std::u16string_view kRubyTextElementName = u"rt";

// Simple case folding, one code point for one, so the units of a match map
// straight back to the sentence.
UChar32 foldedCodePointAt(std::u16string_view text, size_t& index)
{
    UChar32 c;
    U16_NEXT(text.data(), index, text.size(), c);
    return u_foldCase(c, U_FOLD_CASE_DEFAULT);
}

// The end of a case-insensitive match of the folded needle at `start`, or nothing.
std::optional<size_t> matchEnd(std::u16string_view text, size_t start, const std::vector<UChar32>& foldedNeedle)
{
    size_t index = start;
    for (UChar32 wanted : foldedNeedle) {
        if (index >= text.size() || foldedCodePointAt(text, index) != wanted)
            return std::nullopt;
    }
    return index;
}

void appendSentenceContexts(std::u16string_view sentence, const std::vector<UChar32>& foldedNeedle, std::vector<PMSearchContextEntry>& contexts)
{
    size_t start = 0;
    while (start < sentence.size()) {
        if (std::optional<size_t> end = matchEnd(sentence, start, foldedNeedle)) {
            contexts.push_back({static_cast<uint64_t>(start), static_cast<uint64_t>(*end - start), std::u16string(sentence)});
            start = *end;
            continue;
        }
        U16_FWD_1(sentence.data(), start, sentence.size());
    }
}

} // namespace

std::shared_ptr<PMDOMNode> PMEpubWebProcessPlugIn::_ancestorOfNode(const std::shared_ptr<PMDOMNode>& node, std::u16string_view name)
{
    for (std::shared_ptr<PMDOMNode> current = node; current; current = current->parentNode()) {
        if (std::optional<std::u16string_view> tagName = current->elementTagName(); tagName && *tagName == name)
            return current;
    }
    return nullptr;
}

std::u16string PMEpubWebProcessPlugIn::iteratedText()
{
    // The process serves one page at a time: any context will do.
    if (m_activeBrowserContexts.empty())
        return {};
    std::shared_ptr<PMPage> page = (*m_activeBrowserContexts.begin())->page();
    std::shared_ptr<PMFrame> frame = page ? page->mainFrame() : nullptr;
    std::shared_ptr<PMDOMDocument> document = frame ? frame->document() : nullptr;
    std::unique_ptr<PMTextIterator> iterator = document ? document->bodyTextIterator() : nullptr;
    if (!iterator) {
        KCLog("No body text to walk in page %p", static_cast<const void*>(page.get()));
        return {};
    }
    std::u16string text;
    while (std::optional<PMTextRun> run = iterator->nextRun()) {
        if (!_ancestorOfNode(run->startContainer, kRubyTextElementName))
            text.append(run->text);
    }
    return text;
}

void PMEpubWebProcessPlugIn::buildBloomFilter()
{
    std::u16string folded = StringCopyFlattenedForSearch(iteratedText());
    KCFragmentFilterSpecification specification {{static_cast<int64_t>(folded.size()), 1.0, 1}, 4};
    auto filter = std::make_shared<KCDocumentFragmentFilter>(folded, specification);
    KCData archive = KCKeyedArchiver::archivedDataWithRootObject(KCValue(filter));
    sendMessageWithName(PMEpubWebProcessPlugInMessageBloomFilterTask, PMEncodeBloomFilterReply(m_documentIndex, std::move(archive)));
}

void PMEpubWebProcessPlugIn::retrieveSearchStringContext()
{
    std::vector<PMSearchContextEntry> contexts;
    std::u16string text = m_searchString.empty() ? std::u16string() : iteratedText();
    if (!text.empty()) {
        std::vector<UChar32> foldedNeedle;
        for (size_t index = 0; index < m_searchString.size();)
            foldedNeedle.push_back(foldedCodePointAt(m_searchString, index));

        UErrorCode status = U_ZERO_ERROR;
        std::unique_ptr<icu::BreakIterator> sentences(icu::BreakIterator::createSentenceInstance(icu::Locale::getRoot(), status));
        if (U_FAILURE(status)) {
            KCLog("No sentence segmentation: %s", u_errorName(status));
        } else {
            icu::UnicodeString aliased(false, text.data(), static_cast<int32_t>(text.size()));
            sentences->setText(aliased);
            int32_t start = sentences->first();
            for (int32_t end = sentences->next(); end != icu::BreakIterator::DONE; start = end, end = sentences->next())
                appendSentenceContexts(std::u16string_view(text).substr(static_cast<size_t>(start), static_cast<size_t>(end - start)), foldedNeedle, contexts);
        }
    }
    sendMessageWithName(PMEpubWebProcessPlugInMessageSearchContextTask, PMEncodeSearchContextReply(m_documentIndex, contexts));
}

std::u16string PMEpubWebProcessPlugIn::convertNewlineCharacterSetToSpaceInString(std::u16string_view text)
{
    std::u16string result(text);
    for (char16_t& unit : result) {
        bool newline = (unit >= 0x000A && unit <= 0x000D) || unit == 0x0085 || unit == 0x2028 || unit == 0x2029;
        if (newline)
            unit = u' ';
    }
    return result;
}
