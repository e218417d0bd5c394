#pragma once
// Styled text as RTF, in one pass: a font table of the fonts the runs use, the
// font and size of each run, and a hyperlink field over exactly the linked
// characters. Text outside ASCII is written as "\uN ?" escapes of its UTF-16 units
// (N signed, a surrogate pair as two), so the bytes are plain ASCII. Line feeds
// and paragraph separators end paragraphs (\par), line separators break lines
// (\line). Runs without a font are set in the default font, Helvetica 12.
// A font whose name marks a bold or italic face ("Helvetica-Bold",
// "Times-BoldItalic", "Courier-Oblique") keeps that name in the font table and
// also sets \b or \i, since readers do not guess the face from the name.
#include "KCStyledString.h"

#include <string>

std::string KCRTFFromStyledString(const KCStyledString& text);
