#include "TNHTMLText.h"

void TNReplaceTemplatePlaceholder(std::u16string& text, std::u16string_view placeholder, std::optional<std::u16string_view> replacement)
{
    if (placeholder.empty())
        return;
    std::u16string_view inserted = replacement.value_or(std::u16string_view());
    for (size_t at = text.find(placeholder); at != std::u16string::npos; at = text.find(placeholder, at + inserted.size()))
        text.replace(at, placeholder.size(), inserted);
}

std::u16string kc_stringByReplacingNewLinesWithHTMLBreaks(std::u16string_view text)
{
    std::u16string result;
    result.reserve(text.size());
    for (char16_t c : text) {
        if (c == u'\n')
            result += u"<br>\n";
        else
            result += c;
    }
    return result;
}
