#pragma once
// The two string operations that fill the HTML share templates.
#include <optional>
#include <string>
#include <string_view>

// Replaces every occurrence of the placeholder, found left to right in the
// text as it stood before the call (the inserted text is not searched again);
// an absent or empty replacement removes the placeholder.
void TNReplaceTemplatePlaceholder(std::u16string& text, std::u16string_view placeholder, std::optional<std::u16string_view> replacement);

// Each line feed becomes "<br>\n"; carriage returns stay as they are.
std::u16string kc_stringByReplacingNewLinesWithHTMLBreaks(std::u16string_view text);
