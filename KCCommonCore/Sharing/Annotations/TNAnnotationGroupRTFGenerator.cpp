#include "TNAnnotationGroupRTFGenerator.h"

#include "TNAnnotationShareExcerpt.h"
#include "Utilities/KCBundle.h"
#include "Utilities/KCFormat.h"
#include "Utilities/KCStringConversion.h"

namespace {

KCTextAttributes font(std::u16string_view family)
{
    KCTextAttributes attributes;
    attributes.fontFamily = family;
    attributes.fontSize = 12;
    return attributes;
}

const KCTextAttributes& plainFont()
{
    static const KCTextAttributes attributes = font(u"Helvetica");
    return attributes;
}

// With the attributes the text starts with, so that separators look like
// what they separate; in the plain font while the text is empty.
void appendString(KCStyledString& styled, std::u16string_view text)
{
    styled.append(text, styled.runs().empty() ? plainFont() : styled.runs().front().attributes);
}

// The URL's text in the plain font, linked over exactly its characters.
void appendURL(KCStyledString& styled, const KCURL& url)
{
    std::u16string text = KCUTF16FromUTF8(url.absoluteString());
    uint64_t start = styled.length();
    styled.append(text, plainFont());
    styled.setLink(text, {start, text.size()});
}

} // namespace

KCStyledString TNAnnotationGroupRTFGenerator::attributedString() const
{
    m_dateFormatter.reset();
    m_quotationMarks.reset();
    KCStyledString styled;
    bool first = true;
    for (const auto& annotation : m_annotations) {
        auto block = annotation ? p_attributedStringForAnnotation(*annotation) : std::nullopt;
        if (!block)
            continue;
        if (!first)
            appendString(styled, u"\n\n\n");
        styled.append(*block);
        first = false;
    }
    if (m_bookCitationString) {
        appendString(styled, u"\n\n\n");
        styled.append(KCCommonCoreBundle().localizedString(u"Notes From"), plainFont());
        styled.append(u": ", plainFont());
        styled.append(*m_bookCitationString, plainFont());
    }
    if (m_bookURLPrefix && m_bookURL) {
        appendString(styled, u"\n\n");
        styled.append(*m_bookURLPrefix, plainFont());
        appendURL(styled, *m_bookURL);
    }
    return styled;
}

std::optional<KCStyledString> TNAnnotationGroupRTFGenerator::p_attributedStringForAnnotation(const TNAnnotation& annotation) const
{
    auto date = p_dateStringForAnnotation(annotation);
    if (!date)
        return std::nullopt;
    KCStyledString block;
    auto dateAttributes = p_dateStringAttributesForAnnotation(annotation);
    block.append(*date, dateAttributes);
    block.append(u" ", dateAttributes);
    if (auto page = p_pageNumberStringForAnnotation(annotation))
        block.append(*page, p_pageNumberStringAttributesForAnnotation(annotation));
    if (auto excerpt = p_highlightStringForAnnotation(annotation)) {
        appendString(block, u"\n\n");
        block.append(*excerpt, p_highlightStringAttributesForAnnotation(annotation));
    }
    if (auto note = p_noteStringForAnnotation(annotation)) {
        appendString(block, u"\n\n");
        block.append(*note, p_noteStringAttributesForAnnotation(annotation));
    }
    return block;
}

TNAnnotation::Text TNAnnotationGroupRTFGenerator::p_dateStringForAnnotation(const TNAnnotation& annotation) const
{
    auto date = annotation.annotationCreationDate();
    if (!date)
        return std::nullopt;
    if (!m_dateFormatter)
        m_dateFormatter = std::make_unique<KCLongDateFormatter>();
    return m_dateFormatter->stringFromDate(*date);
}

TNAnnotation::Text TNAnnotationGroupRTFGenerator::p_pageNumberStringForAnnotation(const TNAnnotation& annotation) const
{
    auto page = annotation.physicalPageNumber();
    if (!page)
        return std::nullopt;
    std::string format = KCUTF8FromUTF16(KCCommonCoreBundle().localizedString(u"(page %@)"));
    return KCUTF16FromUTF8(KCStringWithFormat(format, *page));
}

TNAnnotation::Text TNAnnotationGroupRTFGenerator::p_highlightStringForAnnotation(const TNAnnotation& annotation) const
{
    if (!m_citationsAllowed)
        return std::nullopt;
    auto excerpt = TNTruncatedAnnotationSelectedText(annotation);
    if (!excerpt)
        return std::nullopt;
    if (!m_quotationMarks)
        m_quotationMarks = KCQuotationMarks::forUserLocale();
    return m_quotationMarks->enclose(*excerpt);
}

TNAnnotation::Text TNAnnotationGroupRTFGenerator::p_noteStringForAnnotation(const TNAnnotation& annotation) const
{
    return annotation.annotationNote();
}

KCTextAttributes TNAnnotationGroupRTFGenerator::p_dateStringAttributesForAnnotation(const TNAnnotation&) const
{
    return plainFont();
}

KCTextAttributes TNAnnotationGroupRTFGenerator::p_pageNumberStringAttributesForAnnotation(const TNAnnotation&) const
{
    return plainFont();
}

KCTextAttributes TNAnnotationGroupRTFGenerator::p_highlightStringAttributesForAnnotation(const TNAnnotation&) const
{
    return plainFont();
}

KCTextAttributes TNAnnotationGroupRTFGenerator::p_noteStringAttributesForAnnotation(const TNAnnotation&) const
{
    static const KCTextAttributes bold = font(u"Helvetica-Bold");
    return bold;
}
