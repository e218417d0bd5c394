#pragma once
// A book's highlights and notes, or one annotation, as one document: the
// HTML of the e-mail share (or its printable form), rich text, or the rich
// text's plain text.
#include "PMBookShareData.h"

#include "TNAnnotation/TNAnnotation.h"
#include "Utilities/KCStyledString.h"
#include "Utilities/KCURL.h"

#include <optional>
#include <string>
#include <string_view>

enum class PMNotesFormat { HTML, RTF, Text };

// "html", "rtf" or "text".
std::optional<PMNotesFormat> PMNotesFormatNamed(std::string_view name);
// By the file's extension, in any case: .html or .htm, .rtf, .txt.
std::optional<PMNotesFormat> PMNotesFormatOfPath(std::string_view path);

struct PMNotesRequest {
    TNAnnotation::Annotations annotations;
    bool single = false;  // one annotation's document instead of the group's
    bool citationsAllowed = true;
    bool forPrint = false;  // HTML: notes and dates, no excerpts, no links
    std::optional<KCURL> bookURL;
};

// By place in the book, then by creation.
void PMSortInReadingOrder(TNAnnotation::Annotations& annotations);

std::u16string PMNotesHTMLDocument(const PMNotesRequest& request, const PMBookShareData& book);
KCStyledString PMNotesStyledDocument(const PMNotesRequest& request, const PMBookShareData& book);
// The document in the format, as the bytes of its file (UTF-8 for HTML and text).
std::string PMNotesDocument(const PMNotesRequest& request, const PMBookShareData& book, PMNotesFormat format);
