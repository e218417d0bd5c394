#include "KCRTFWriter.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <vector>

namespace {

constexpr std::u16string_view kDefaultFamily = u"Helvetica";
constexpr double kDefaultSize = 12;

struct Format {
    size_t font = SIZE_MAX;
    long halfPoints = -1;
    bool bold = false;
    bool italic = false;
};

std::u16string_view familyOf(const KCTextAttributes& attributes)
{
    return attributes.fontFamily.empty() ? kDefaultFamily : std::u16string_view(attributes.fontFamily);
}

long halfPointsOf(const KCTextAttributes& attributes)
{
    double size = attributes.fontSize > 0 ? attributes.fontSize : kDefaultSize;
    return std::lround(std::min(size * 2, 32767.0));
}

// The face a PostScript-style name gives after its last hyphen.
void faceOf(std::u16string_view family, bool& bold, bool& italic)
{
    size_t dash = family.rfind(u'-');
    std::u16string_view face = dash == std::u16string_view::npos ? std::u16string_view() : family.substr(dash + 1);
    bold = face.find(u"Bold") != std::u16string_view::npos;
    italic = face.find(u"Italic") != std::u16string_view::npos || face.find(u"Oblique") != std::u16string_view::npos;
}

class Writer {
public:
    explicit Writer(const KCStyledString& text) : m_text(text) {}

    std::string write()
    {
        const auto& runs = m_text.runs();
        m_out.reserve(m_text.length() + m_text.length() / 4 + runs.size() * 48 + 256);
        for (const auto& run : runs)
            fontIndex(familyOf(run.attributes));
        if (m_fonts.empty())
            m_fonts.push_back(kDefaultFamily);
        m_out.append("{\\rtf1\\ansi\\ansicpg1252\\deff0\\uc1 {\\fonttbl");
        for (size_t i = 0; i < m_fonts.size(); ++i) {
            m_out.append("{\\f");
            number(static_cast<long>(i));
            m_out.append("\\fnil\\fcharset0 ");
            escaped(m_fonts[i], 0, m_fonts[i].size(), Context::FontName);
            m_out.append(";}");
        }
        m_out.append("}\n");

        std::u16string_view link;
        Format outside;
        for (const auto& run : runs) {
            if (run.attributes.link != link) {
                if (!link.empty()) {
                    m_out.append("}}");
                    m_format = outside;  // the field's group kept its formatting to itself
                }
                link = run.attributes.link;
                if (!link.empty()) {
                    outside = m_format;
                    m_out.append("{\\field{\\*\\fldinst{HYPERLINK \"");
                    escaped(link, 0, link.size(), Context::URL);
                    m_out.append("\"}}{\\fldrslt ");
                }
            }
            format(run.attributes);
            escaped(m_text.string(), run.range.location, run.range.end(), Context::Text);
        }
        if (!link.empty())
            m_out.append("}}");
        m_out.append("}\n");
        return std::move(m_out);
    }

private:
    enum class Context { Text, FontName, URL };

    size_t fontIndex(std::u16string_view family)
    {
        auto found = std::find(m_fonts.begin(), m_fonts.end(), family);
        if (found != m_fonts.end())
            return static_cast<size_t>(found - m_fonts.begin());
        m_fonts.push_back(family);
        return m_fonts.size() - 1;
    }

    void number(long value)
    {
        char buffer[24];
        auto end = std::to_chars(buffer, buffer + sizeof buffer, value).ptr;
        m_out.append(buffer, end);
    }

    // Only what changed since the last run; a space ends the control words.
    void format(const KCTextAttributes& attributes)
    {
        std::u16string_view family = familyOf(attributes);
        Format wanted {fontIndex(family), halfPointsOf(attributes)};
        faceOf(family, wanted.bold, wanted.italic);
        bool changed = false;
        if (wanted.font != m_format.font) {
            m_out.append("\\f");
            number(static_cast<long>(wanted.font));
            changed = true;
        }
        if (wanted.halfPoints != m_format.halfPoints) {
            m_out.append("\\fs");
            number(wanted.halfPoints);
            changed = true;
        }
        if (wanted.bold != m_format.bold) {
            m_out.append(wanted.bold ? "\\b" : "\\b0");
            changed = true;
        }
        if (wanted.italic != m_format.italic) {
            m_out.append(wanted.italic ? "\\i" : "\\i0");
            changed = true;
        }
        if (changed)
            m_out.push_back(' ');
        m_format = wanted;
    }

    // Units begin to end of the text; a line break may look past the end (a
    // carriage return and line feed in two runs are still one break).
    void escaped(std::u16string_view text, size_t begin, size_t end, Context context)
    {
        for (size_t i = begin; i < end; ++i) {
            char16_t c = text[i];
            switch (c) {
            case u'\\':
            case u'{':
            case u'}':
                m_out.push_back('\\');
                m_out.push_back(static_cast<char>(c));
                continue;
            case u'"':
                m_out.append(context == Context::URL ? "%22" : "\"");
                continue;
            case u';':
                m_out.append(context == Context::FontName ? "\\'3b" : ";");
                continue;
            case u'\r':
                if (context == Context::Text && i + 1 < text.size() && text[i + 1] == u'\n')
                    continue;
                [[fallthrough]];
            case u'\n':
            case 0x2029:
                if (context == Context::Text) {
                    m_out.append("\\par\n");
                    continue;
                }
                break;
            case 0x2028:
                if (context == Context::Text) {
                    m_out.append("\\line\n");
                    continue;
                }
                break;
            case u'\t':
                if (context == Context::Text) {
                    m_out.append("\\tab ");
                    continue;
                }
                break;
            default:
                break;
            }
            if (c >= 0x20 && c < 0x7F) {
                m_out.push_back(static_cast<char>(c));
            } else {
                // The space ends the control word before the fallback "?"; some readers take "?" for the end.
                m_out.append("\\u");
                number(static_cast<int16_t>(c));
                m_out.append(" ?");
            }
        }
    }

    const KCStyledString& m_text;
    std::string m_out;
    std::vector<std::u16string_view> m_fonts;
    Format m_format;
};

} // namespace

std::string KCRTFFromStyledString(const KCStyledString& text)
{
    return Writer(text).write();
}
