#include "TNAnnotationGroupHTMLGenerator.h"

#include "TNAnnotationShareExcerpt.h"
#include "Sharing/TNHTMLText.h"
#include "Utilities/KCBundle.h"
#include "Utilities/KCFormat.h"
#include "Utilities/KCStringConversion.h"
#include "Utilities/KCWordServices.h"

#include <algorithm>

TNAssetHTMLGenerator::Text TNAnnotationGroupHTMLGenerator::documentString() const
{
    Text head = headBody();
    Text entries = annotationsBody();
    Text tail = tailBody();
    return KCUTF16FromUTF8(KCStringWithFormat("%@\n%@\n%@", head, entries, tail));
}

TNAssetHTMLGenerator::Text TNAnnotationGroupHTMLGenerator::headBody() const
{
    Text style = styleSection();
    std::u16string notesFrom = KCUppercaseString(KCCommonCoreBundle().localizedString(u"Notes From"));
    auto head = templateStringForName("TNAnnotationGroupShare_head");
    if (!head)
        return std::nullopt;
    TNReplaceTemplatePlaceholder(*head, kTNAssetHTMLGeneratorStylePlaceholder, style);
    TNReplaceTemplatePlaceholder(*head, kTNAssetHTMLGeneratorInsertionHeaderPlaceholder, insertionHeaderSection());
    TNReplaceTemplatePlaceholder(*head, u"<!-- %%NOTESFROM%% -->", notesFrom);
    TNReplaceTemplatePlaceholder(*head, u"<!-- %%BOOKTITLE%% -->", bookTitleSection());
    TNReplaceTemplatePlaceholder(*head, u"<!-- %%AUTHOR%% -->", author());
    TNReplaceTemplatePlaceholder(*head, kTNAssetHTMLGeneratorReadingDirection, readingDirection());
    return head;
}

TNAssetHTMLGenerator::Text TNAnnotationGroupHTMLGenerator::annotationsBody() const
{
    if (annotations().empty())
        return std::nullopt;
    auto entryTemplate = templateStringForName("TNAnnotationGroupShare_annotation");
    if (!entryTemplate)
        return std::nullopt;
    KCLongDateFormatter formatter;
    std::u16string body;
    bool first = true;
    for (const auto& annotation : annotations()) {
        if (!annotation || annotation->annotationType() == TNAnnotationTypeGlobal)
            continue;
        if (!areCitationsAllowed() && annotation->annotationNote().value_or(u"").empty())
            continue;
        if (!first)
            body += u'\n';
        body += p_annotationEntry(*entryTemplate, *annotation, formatter);
        first = false;
    }
    return body;
}

std::u16string TNAnnotationGroupHTMLGenerator::p_annotationEntry(const std::u16string& entryTemplate, const TNAnnotation& annotation,
    const KCLongDateFormatter& formatter) const
{
    std::u16string entry = entryTemplate;
    std::u16string chapter = chapterTitleForAnnotation(annotation);
    if (chapter.empty())
        chapter = KCCommonCoreBundle().localizedString(u"No title");
    auto created = annotation.annotationCreationDate();
    std::u16string date = created ? formatter.stringFromDate(*created) : std::u16string();
    Text note = annotation.annotationNote();
    if (note)
        note = kc_stringByReplacingNewLinesWithHTMLBreaks(*note);
    int32_t style = annotation.annotationStyle();
    Text representative;
    if (areCitationsAllowed()) {
        // Highlights take their colour from the entry's colour class.
        representative = TNTruncatedAnnotationSelectedText(annotation);
        if (representative && annotation.annotationIsUnderline())
            representative = htmlHighlightForString(*representative, style, true);
    } else {
        date = htmlHighlightForString(date, style, annotation.annotationIsUnderline());
    }
    TNReplaceTemplatePlaceholder(entry, kTNAssetHTMLGeneratorChapter, chapter);
    TNReplaceTemplatePlaceholder(entry, kTNAssetHTMLGeneratorDate, date);
    TNReplaceTemplatePlaceholder(entry, u"<!-- %%ANNOTATIONNOTE%% -->", note);
    TNReplaceTemplatePlaceholder(entry, u"<!-- %%ANNOTATIONREPRESENTATIVETEXT%% -->", representative);
    TNReplaceTemplatePlaceholder(entry, u"<!-- %%ANNOTATIONMARKETCOLOR%% -->", CSSClassForStyle(style));
    return entry;
}

TNAssetHTMLGenerator::Text TNAnnotationGroupHTMLGenerator::tailBody() const
{
    // Skipped annotations count too.
    std::u16string label = KCCommonCoreBundle().localizedString(annotations().size() < 2 ? u"Excerpt From" : u"All Excerpts From");
    Text bookInfo;
    Text citation;
    Text link;
    if (isForPrint()) {
        // A printed page has no use for links.
        citation = citationIncludingStoreURL(false);
    } else {
        bookInfo = bookInfoSection();
        if (!bookInfo) {
            citation = citationIncludingStoreURL(false);
            link = storeLink();
        }
    }
    auto tail = templateStringForName("TNAnnotationGroupShare_tail");
    if (!tail)
        return std::nullopt;
    TNReplaceTemplatePlaceholder(*tail, u"<!-- %%ALLEXCERPTSFROM%% -->", label);
    TNReplaceTemplatePlaceholder(*tail, kTNAssetHTMLGeneratorBookInfoSectionPlaceholder, bookInfo);
    TNReplaceTemplatePlaceholder(*tail, u"<!-- %%CITATION%% -->", citation);
    TNReplaceTemplatePlaceholder(*tail, u"<!-- %%STORELINK%% -->", link);
    return tail;
}

std::u16string TNAnnotationGroupHTMLGenerator::bookTitleSection() const
{
    std::u16string section = u"<!-- %%BOOKTITLE%% -->";
    TNReplaceTemplatePlaceholder(section, u"<!-- %%BOOKTITLE%% -->", title());
    return section;
}

std::u16string TNAnnotationGroupHTMLGenerator::chapterTitleForAnnotation(const TNAnnotation& annotation) const
{
    TNAnnotation::Text title = annotation.chapterTitle();
    if ((!title || title->empty()) && paginationDataSource() && paginationDataSource()->chapterTitleForAnnotation)
        title = paginationDataSource()->chapterTitleForAnnotation(annotation);
    std::u16string result = title.value_or(u"");
    TNAnnotation::Text page = annotation.physicalPageNumber();
    if (page && !page->empty())
        result += (result.empty() ? u"" : u", ") + p_pageString(*page);
    return result;
}

std::u16string TNAnnotationGroupHTMLGenerator::htmlHighlightForString(std::u16string_view text, int64_t style, bool isUnderline)
{
    if (isUnderline)
        return u"<span class=\"underline\"><span style=\"color:black;\">" + std::u16string(text) + u"</span></span>";
    return u"<span class=\"" + std::u16string(CSSClassForStyle(style)) + u"\">" + std::u16string(text) + u"</span>";
}

std::u16string_view TNAnnotationGroupHTMLGenerator::CSSClassForStyle(int64_t style)
{
    switch (style) {
    case 1:
        return u"green";
    case 2:
        return u"blue";
    case 3:
        return u"yellow";
    case 4:
        return u"pink";
    case 5:
        return u"purple";
    default:
        return u"defaultColor";
    }
}

TNAssetHTMLGenerator::Text TNAnnotationGroupHTMLGenerator::htmlAnnotatedStringForAnnotation(const TNAnnotation& annotation) const
{
    uint64_t limit = characterCountLimitforAnnotation(annotation);
    auto styled = TNAnnotation::annotatedAttributedStringForAnnotation(annotation, limit);
    if (!styled)
        return std::nullopt;

    // Only the first marked stretch is converted, so that no later range shifts.
    KCRange marked;
    int32_t style = 0;
    for (const auto& run : styled->runs()) {
        if (!marked.found() && run.attributes.annotationStyle) {
            marked = run.range;
            style = *run.attributes.annotationStyle;
        } else if (marked.found()) {
            if (run.attributes.annotationStyle != style)
                break;
            marked.length += run.range.length;
        }
    }
    std::u16string text = styled->string();
    if (text.size() > limit) {
        text.resize(limit);
        if (marked.found() && marked.location >= limit)
            marked = {};
        else if (marked.found())
            marked.length = std::min<uint64_t>(marked.length, limit - marked.location);
        text += KCCommonCoreBundle().localizedString(u"[\\U2026]");
    }
    if (marked.found() && marked.length)
        text.replace(marked.location, marked.length, htmlHighlightForString(std::u16string_view(text).substr(marked.location, marked.length), style, annotation.annotationIsUnderline()));

    if (Text url = storeURL()) {
        std::u16string link = KCUTF16FromUTF8(KCStringWithFormat("%@#%@", url, annotation.annotationLocation()));
        if (!link.empty())
            text = u"<a href=\"" + link + u"\" class=\"annotationrepresentativetext\">" + text + u"</a>";
    }
    return kc_stringByReplacingNewLinesWithHTMLBreaks(text);
}
