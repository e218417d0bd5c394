#include "TNSingleAnnotationHTMLGenerator.h"

#include "Sharing/TNHTMLText.h"
#include "Utilities/KCBundle.h"
#include "Utilities/KCFormat.h"
#include "Utilities/KCStringConversion.h"
#include "Utilities/KCWordServices.h"

#include <algorithm>

TNAssetHTMLGenerator::Text TNSingleAnnotationHTMLGenerator::documentString() const
{
    const KCBundle& bundle = KCCommonCoreBundle();
    Text style = styleSection();
    std::u16string excerptFrom = bundle.localizedString(u"Excerpt From");
    Text quoted = excerpt();
    Text bookInfo = bookInfoSection();
    std::u16string disclaimer = disclaimerSection();
    Text citation;
    Text link;
    if (!bookInfo) {
        citation = citationIncludingStoreURL(false);
        link = storeLink();
    }
    Text chapter = chapterTitle();
    std::u16string date = KCLongDateFormatter().stringFromDate(m_dateOfSharing.value_or(KCDate::now()));

    auto document = templateStringForName("TNAnnotationShare");
    if (!document)
        return std::nullopt;
    TNReplaceTemplatePlaceholder(*document, kTNAssetHTMLGeneratorStylePlaceholder, style);
    TNReplaceTemplatePlaceholder(*document, kTNAssetHTMLGeneratorInsertionHeaderPlaceholder, insertionHeaderSection());
    TNReplaceTemplatePlaceholder(*document, u"<!-- %%EXCERPT%% -->", quoted);
    TNReplaceTemplatePlaceholder(*document, u"<!-- %%EXERPTFROM%% -->", excerptFrom);
    TNReplaceTemplatePlaceholder(*document, u"<!-- %%CITATION%% -->", citation);
    TNReplaceTemplatePlaceholder(*document, u"<!-- %%STORELINK%% -->", link);
    TNReplaceTemplatePlaceholder(*document, kTNAssetHTMLGeneratorBookInfoSectionPlaceholder, bookInfo);
    TNReplaceTemplatePlaceholder(*document, kTNAssetHTMLGeneratorDisclaimerSectionPlaceholder, disclaimer);
    TNReplaceTemplatePlaceholder(*document, kTNAssetHTMLGeneratorReadingDirection, readingDirection());
    TNReplaceTemplatePlaceholder(*document, kTNAssetHTMLGeneratorDate, date);
    TNReplaceTemplatePlaceholder(*document, kTNAssetHTMLGeneratorChapter, chapter);
    return document;
}

std::shared_ptr<TNAnnotation> TNSingleAnnotationHTMLGenerator::annotation() const
{
    return m_annotations.empty() ? nullptr : m_annotations.back();
}

uint64_t TNSingleAnnotationHTMLGenerator::characterCountLimitforAnnotation(const TNAnnotation& annotation) const
{
    if (!m_citationsAllowed)
        return 0;
    uint64_t longest = std::max(annotation.annotationSelectedText().value_or(u"").size(), annotation.annotationRepresentativeText().value_or(u"").size());
    // Text this short is never cut by words, so it is not worth counting them.
    if (longest < 4 * m_wordLimit)
        return longest;
    auto styled = annotation.annotatedAttributedString();
    std::u16string_view text = styled ? std::u16string_view(styled->string()) : std::u16string_view();
    if (tokenCountWithEnumerationOptions(text, KCStringEnumerationByWords, 0) < m_wordLimit)
        return text.size();
    uint64_t limit = 0;
    tokenCountWithEnumerationOptions(text, KCStringEnumerationByWords, m_wordLimit, &limit);
    return limit;
}

TNAssetHTMLGenerator::Text TNSingleAnnotationHTMLGenerator::excerpt() const
{
    auto shared = annotation();
    if (!shared)
        return std::nullopt;
    uint64_t limit = characterCountLimitforAnnotation(*shared);
    Text text = TNAnnotation::contextAwareSelectedTextFromAnnotation(*shared);
    if (!text)
        return std::nullopt;
    if (limit < text->size())
        text = stringByTruncatingToLength(*text, limit, KCStringEnumerationByWords, KCCommonCoreBundle().localizedString(u"[\\U2026]"));
    return kc_stringByReplacingNewLinesWithHTMLBreaks(*text);
}

TNAssetHTMLGenerator::Text TNSingleAnnotationHTMLGenerator::chapterTitle() const
{
    auto shared = annotation();
    if (!shared)
        return std::nullopt;
    Text title = shared->chapterTitle();
    if (!title && m_paginationDataSource && m_paginationDataSource->chapterTitleForAnnotation)
        title = m_paginationDataSource->chapterTitleForAnnotation(*shared);
    Text page = shared->physicalPageNumber();
    if (title && page && !page->empty())
        *title += u", " + p_pageString(*page);
    return title;
}

TNUserPublishingDataSource TNSingleAnnotationHTMLGenerator::userPublishingDataSource() const
{
    TNUserPublishingDataSource answers = TNAssetHTMLGenerator::userPublishingDataSource();
    answers.isLocalGenerationEnabledForStoreId = [](TNUserPublishing&, std::u16string_view) { return false; };
    return answers;
}

std::u16string TNSingleAnnotationHTMLGenerator::p_pageString(std::u16string_view page)
{
    std::string format = KCUTF8FromUTF16(KCCommonCoreBundle().localizedString(u"p. %@"));
    return KCUTF16FromUTF8(KCStringWithFormat(format, page));
}
