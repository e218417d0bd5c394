#pragma once
// All annotations of a book as one styled text for rich-text shares: a block
// of date, page, quoted excerpt and note per annotation, every annotation in
// the list whatever its type, then the book's citation and its store link.
// Only fonts and the one link are set, never colours: Helvetica 12, the note
// in Helvetica-Bold 12. KCRTFFromStyledString (Utilities) makes the bytes.
#include "TNAnnotation/TNAnnotation.h"
#include "Utilities/KCStyledString.h"
#include "Utilities/KCURL.h"
#include "Utilities/KCWordServices.h"

#include <memory>
#include <optional>
#include <string>

class TNAnnotationGroupRTFGenerator {
public:
    virtual ~TNAnnotationGroupRTFGenerator() = default;

    const TNAnnotation::Annotations& annotations() const { return m_annotations; }
    void setAnnotations(TNAnnotation::Annotations annotations) { m_annotations = std::move(annotations); }
    bool areCitationsAllowed() const { return m_citationsAllowed; }
    void setCitationsAllowed(bool allowed) { m_citationsAllowed = allowed; }
    const TNAnnotation::Text& bookCitationString() const { return m_bookCitationString; }
    void setBookCitationString(TNAnnotation::Text citation) { m_bookCitationString = std::move(citation); }
    const TNAnnotation::Text& bookURLPrefix() const { return m_bookURLPrefix; }
    void setBookURLPrefix(TNAnnotation::Text prefix) { m_bookURLPrefix = std::move(prefix); }
    const std::optional<KCURL>& bookURL() const { return m_bookURL; }
    void setBookURL(std::optional<KCURL> url) { m_bookURL = std::move(url); }

    // Blocks three line feeds apart, in list order; empty when there is nothing to render.
    KCStyledString attributedString() const;

    // The block of one annotation: the date, a space, the page; then, two line
    // feeds apart, the excerpt and the note when present. Nothing without a
    // creation date.
    std::optional<KCStyledString> p_attributedStringForAnnotation(const TNAnnotation& annotation) const;

    TNAnnotation::Text p_dateStringForAnnotation(const TNAnnotation& annotation) const;
    TNAnnotation::Text p_pageNumberStringForAnnotation(const TNAnnotation& annotation) const;
    TNAnnotation::Text p_highlightStringForAnnotation(const TNAnnotation& annotation) const;
    TNAnnotation::Text p_noteStringForAnnotation(const TNAnnotation& annotation) const;

    // Only the font of each piece; a subclass may style pieces by annotation.
    virtual KCTextAttributes p_dateStringAttributesForAnnotation(const TNAnnotation& annotation) const;
    virtual KCTextAttributes p_pageNumberStringAttributesForAnnotation(const TNAnnotation& annotation) const;
    virtual KCTextAttributes p_highlightStringAttributesForAnnotation(const TNAnnotation& annotation) const;
    virtual KCTextAttributes p_noteStringAttributesForAnnotation(const TNAnnotation& annotation) const;

private:
    TNAnnotation::Annotations m_annotations;
    bool m_citationsAllowed = false;
    TNAnnotation::Text m_bookCitationString;
    TNAnnotation::Text m_bookURLPrefix;
    std::optional<KCURL> m_bookURL;

    // Made once a document: a date formatter costs far more than a date.
    mutable std::unique_ptr<KCLongDateFormatter> m_dateFormatter;
    mutable std::optional<KCQuotationMarks> m_quotationMarks;
};
