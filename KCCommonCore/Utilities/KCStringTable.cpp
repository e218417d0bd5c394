#include "KCStringTable.h"

#include "KCLogger.h"
#include "KCStringConversion.h"

namespace {

class Parser {
public:
    explicit Parser(std::u16string_view text) : m_text(text) {}

    std::optional<KCStringTableEntries> entries()
    {
        KCStringTableEntries entries;
        while (skipSpaceAndComments()) {
            auto key = quoted();
            if (!key || !expect(u'='))
                return failure("an entry \"key\" = \"value\";");
            auto value = quoted();
            if (!value || !expect(u';'))
                return failure("a quoted value and ';'");
            entries.emplace_back(std::move(*key), std::move(*value));
        }
        if (m_broken)
            return failure("the end of a comment");
        return entries;
    }

private:
    std::nullopt_t failure(const char* expected)
    {
        KCLog("Malformed string table at offset %lu: expected %s", static_cast<unsigned long>(m_at), expected);
        return std::nullopt;
    }

    // False at the end of the text (or in an unterminated comment).
    bool skipSpaceAndComments()
    {
        while (m_at < m_text.size()) {
            char16_t c = m_text[m_at];
            if (c == u' ' || c == u'\t' || c == u'\n' || c == u'\r' || c == u'\uFEFF') {
                ++m_at;
            } else if (m_text.substr(m_at, 2) == u"//") {
                size_t end = m_text.find(u'\n', m_at);
                m_at = end == std::u16string_view::npos ? m_text.size() : end;
            } else if (m_text.substr(m_at, 2) == u"/*") {
                size_t end = m_text.find(u"*/", m_at + 2);
                if (end == std::u16string_view::npos) {
                    m_broken = true;
                    return false;
                }
                m_at = end + 2;
            } else {
                return true;
            }
        }
        return false;
    }

    bool expect(char16_t c)
    {
        if (!skipSpaceAndComments() || m_text[m_at] != c)
            return false;
        ++m_at;
        return true;
    }

    std::optional<std::u16string> quoted()
    {
        if (!expect(u'"'))
            return std::nullopt;
        std::u16string out;
        while (m_at < m_text.size()) {
            char16_t c = m_text[m_at++];
            if (c == u'"')
                return out;
            if (c != u'\\') {
                out.push_back(c);
                continue;
            }
            if (m_at == m_text.size())
                return std::nullopt;
            char16_t escaped = m_text[m_at++];
            switch (escaped) {
            case u'n': out.push_back(u'\n'); break;
            case u't': out.push_back(u'\t'); break;
            case u'r': out.push_back(u'\r'); break;
            case u'U': {
                auto unit = hexUnit();
                if (!unit)
                    return std::nullopt;
                out.push_back(*unit);
                break;
            }
            default: out.push_back(escaped); break;  // \" and \\ stand for themselves
            }
        }
        return std::nullopt;
    }

    std::optional<char16_t> hexUnit()
    {
        if (m_text.size() - m_at < 4)
            return std::nullopt;
        unsigned value = 0;
        for (int i = 0; i < 4; ++i) {
            char16_t c = m_text[m_at++];
            unsigned digit;
            if (c >= u'0' && c <= u'9')
                digit = c - u'0';
            else if (c >= u'a' && c <= u'f')
                digit = c - u'a' + 10;
            else if (c >= u'A' && c <= u'F')
                digit = c - u'A' + 10;
            else
                return std::nullopt;
            value = value << 4 | digit;
        }
        return static_cast<char16_t>(value);
    }

    std::u16string_view m_text;
    size_t m_at = 0;
    bool m_broken = false;
};

} // namespace

std::optional<KCStringTableEntries> KCParseStringTable(std::string_view utf8)
{
    std::u16string text = KCUTF16FromUTF8(utf8);
    return Parser(text).entries();
}
