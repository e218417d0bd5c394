#include "Utilities/KCRTFWriter.h"

#include <gtest/gtest.h>

namespace {

TEST(KCRTFWriter, EscapesFontsAndALinkOverExactlyItsCharacters)
{
    KCStyledString text(u"Tab\tsee {x}\\ \u00E9\uFFFF\U0001F600\r\nline\u2028end");
    text.setLink(u"https://e.org/?q=\"a\"", {4, 8});
    text.setFont(u"Helvetica-Bold", 12, {8, 3});
    // The field's group restores the formatting before it: the plain run after it sets nothing.
    EXPECT_EQ(KCRTFFromStyledString(text),
        "{\\rtf1\\ansi\\ansicpg1252\\deff0\\uc1 {\\fonttbl{\\f0\\fnil\\fcharset0 Helvetica;}{\\f1\\fnil\\fcharset0 Helvetica-Bold;}}\n"
        "\\f0\\fs24 Tab\\tab {\\field{\\*\\fldinst{HYPERLINK \"https://e.org/?q=%22a%22\"}}{\\fldrslt see \\f1\\b \\{x\\}\\f0\\b0 \\\\}}"
        " \\u233 ?\\u-1 ?\\u-10179 ?\\u-8704 ?\\par\nline\\line\nend}\n");
}

} // namespace
