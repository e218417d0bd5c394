// Any styled text written as RTF reads back as the same plain text: a small
// reader here takes the groups, control words, \uN? escapes and escaped
// characters, skips the font table and the field instructions, and must give
// back the text with its line breaks as the writer ends paragraphs. The RTF
// must be ASCII with balanced groups.
//
// Input: the text, then after the first zero byte the attributes in threes
// (start, length, kind): kind picks a font or a link from small sets of odd
// ones. Text bytes below 0x80 pick a unit from a set of interesting ones; a
// byte from 0x80 up and the next one form a raw unit.
#include "Utilities/KCRTFWriter.h"

#include <cstdlib>
#include <iterator>
#include <string_view>

#include "PMFuzzText.h"
#include <vector>

namespace {

constexpr char16_t kUnits[] = {u'a', u' ', u'\\', u'{', u'}', u'\n', u'\r', u'\t', u'"', u';', u'?', u'1', 0x2028, 0x2029, 0xE9, 0xD83D, 0xDE00, 0xFFFF, 0x7F, 0x00};

std::u16string decode(std::string_view bytes)
{
    return PMFuzzUTF16(bytes, kUnits);
}

void applyAttributes(KCStyledString& styled, std::string_view bytes)
{
    static const char16_t* const families[] = {u"", u"Helvetica", u"Helvetica-Bold", u"Times-BoldItalic", u"Odd;{Name}\\\u00E9"};
    static const double sizes[] = {0, 12, 9.5, -3, 1e300};
    static const char16_t* const links[] = {u"", u"https://e.org/a?b=\"c\"", u"x{}\\\u00E9\n"};
    for (size_t i = 0; i + 3 <= bytes.size(); i += 3) {
        KCRange range {static_cast<uint8_t>(bytes[i]), static_cast<uint8_t>(bytes[i + 1])};
        auto kind = static_cast<uint8_t>(bytes[i + 2]);
        if (kind & 1)
            styled.setLink(links[(kind >> 1) % std::size(links)], range);
        else
            styled.setFont(families[(kind >> 1) % std::size(families)], sizes[(kind >> 4) % std::size(sizes)], range);
    }
}

// The writer's line breaks as they read back.
std::u16string expectedText(std::u16string_view text)
{
    std::u16string expected;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == u'\r' && i + 1 < text.size() && text[i + 1] == u'\n')
            continue;
        expected.push_back(text[i] == u'\r' || text[i] == 0x2029 ? u'\n' : text[i]);
    }
    return expected;
}

bool isLetter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

std::u16string readBack(std::string_view rtf)
{
    std::u16string text;
    std::vector<bool> skipping {false};
    size_t pendingFallback = 0;
    auto emit = [&](char16_t c) {
        if (pendingFallback) {
            --pendingFallback;
            return;
        }
        if (!skipping.back())
            text.push_back(c);
    };
    for (size_t i = 0; i < rtf.size(); ++i) {
        char c = rtf[i];
        if (static_cast<unsigned char>(c) >= 0x80)
            std::abort();
        if (c == '{') {
            skipping.push_back(skipping.back());
        } else if (c == '}') {
            skipping.pop_back();
            if (skipping.empty())
                std::abort();
        } else if (c == '\r' || c == '\n') {
        } else if (c != '\\') {
            emit(static_cast<char16_t>(c));
        } else if (i + 1 < rtf.size() && !isLetter(rtf[i + 1])) {
            char symbol = rtf[++i];
            if (symbol == '*')
                skipping.back() = true;
            else if (symbol == '\'')
                i += 2, emit(u'?');
            else
                emit(static_cast<char16_t>(symbol));
        } else {
            size_t start = ++i;
            while (i < rtf.size() && isLetter(rtf[i]))
                ++i;
            std::string_view word = rtf.substr(start, i - start);
            long parameter = 0;
            bool negative = i < rtf.size() && rtf[i] == '-';
            if (negative)
                ++i;
            for (; i < rtf.size() && rtf[i] >= '0' && rtf[i] <= '9'; ++i)
                parameter = parameter * 10 + (rtf[i] - '0');
            if (i >= rtf.size() || rtf[i] != ' ')
                --i;  // the delimiter belongs to what follows
            if (word == "par")
                emit(u'\n');
            else if (word == "line")
                emit(0x2028);
            else if (word == "tab")
                emit(u'\t');
            else if (word == "u")
                emit(static_cast<char16_t>(negative ? -parameter : parameter)), pendingFallback = 1;
            else if (word == "fonttbl" || word == "fldinst")
                skipping.back() = true;
        }
    }
    if (skipping.size() != 1)
        std::abort();
    return text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    std::string_view bytes(reinterpret_cast<const char*>(data), size);
    size_t split = bytes.find('\0');
    KCStyledString styled(decode(bytes.substr(0, split)));
    if (split != std::string_view::npos)
        applyAttributes(styled, bytes.substr(split + 1));
    if (readBack(KCRTFFromStyledString(styled)) != expectedText(styled.string()))
        std::abort();
    return 0;
}
