#include "KCStringConversion.h"

#include <unicode/utf16.h>
#include <unicode/ustring.h>

std::u16string KCUTF16FromUTF8(std::string_view utf8)
{
    if (utf8.empty())
        return {};
    std::u16string out(utf8.size(), u'\0');  // UTF-16 never needs more units than UTF-8 bytes
    int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strFromUTF8WithSub(out.data(), static_cast<int32_t>(out.size()), &length, utf8.data(),
        static_cast<int32_t>(utf8.size()), 0xFFFD, nullptr, &status);
    if (U_FAILURE(status))
        return {};
    out.resize(static_cast<size_t>(length));
    return out;
}

std::string KCUTF8FromUTF16(std::u16string_view utf16)
{
    if (utf16.empty())
        return {};
    std::string out(utf16.size() * 3, '\0');  // at most three bytes per unit
    int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strToUTF8WithSub(out.data(), static_cast<int32_t>(out.size()), &length, utf16.data(),
        static_cast<int32_t>(utf16.size()), 0xFFFD, nullptr, &status);
    if (U_FAILURE(status))
        return {};
    out.resize(static_cast<size_t>(length));
    return out;
}

bool KCIsWellFormedUTF16(std::u16string_view utf16)
{
    for (size_t i = 0; i < utf16.size(); ++i) {
        char16_t unit = utf16[i];
        if (U16_IS_LEAD(unit)) {
            if (i + 1 >= utf16.size() || !U16_IS_TRAIL(utf16[i + 1]))
                return false;
            ++i;
        } else if (U16_IS_TRAIL(unit)) {
            return false;
        }
    }
    return true;
}
