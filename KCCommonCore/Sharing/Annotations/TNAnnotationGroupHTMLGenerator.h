#pragma once
// An HTML share of all annotations of a book: a head with the book's title
// and author, one entry per annotation (chapter and page, date, note, the
// excerpt in the annotation's colour), and a tail with the citation and the
// store link or the information block, from the templates
// "TNAnnotationGroupShare_{head,annotation,tail}.html.tmpl". The book's own
// record (type 3) never appears; without citations only annotations with a
// note do, with their date marked in their colour instead of an excerpt. A
// document for print has the citation but no links and no information block.
// Errors: those of TNAssetHTMLGenerator.h; a missing part prints as "(null)".
#include "TNSingleAnnotationHTMLGenerator.h"

#include "Utilities/KCWordServices.h"

#include <string>
#include <string_view>

class TNAnnotationGroupHTMLGenerator : public TNSingleAnnotationHTMLGenerator {
public:
    // Head, entries and tail, a line feed apart.
    Text documentString() const override;

    Text headBody() const;
    // The entries a line feed apart; nothing for an empty list.
    Text annotationsBody() const;
    Text tailBody() const;
    std::u16string bookTitleSection() const;
    // "Chapter 3, p. 41", "Chapter 3", "p. 41" or empty.
    std::u16string chapterTitleForAnnotation(const TNAnnotation& annotation) const;
    // The annotation's excerpt with its marked part in the annotation's
    // colour, linked to its place in the store's book when there is a store URL.
    Text htmlAnnotatedStringForAnnotation(const TNAnnotation& annotation) const;

    // Underlined text, or text in the style's colour class.
    static std::u16string htmlHighlightForString(std::u16string_view text, int64_t style, bool isUnderline);
    // 1 "green", 2 "blue", 3 "yellow", 4 "pink", 5 "purple", else "defaultColor".
    static std::u16string_view CSSClassForStyle(int64_t style);

private:
    std::u16string p_annotationEntry(const std::u16string& entryTemplate, const TNAnnotation& annotation, const KCLongDateFormatter& formatter) const;
};
