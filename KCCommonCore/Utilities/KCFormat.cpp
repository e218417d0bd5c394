#include "KCFormat.h"

#include "KCStringConversion.h"

#include <charconv>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <locale.h>

KCFormatArgument::KCFormatArgument(std::u16string_view value)
    : m_kind(Kind::Text), m_text(KCUTF8FromUTF16(value))
{
}

KCFormatArgument::KCFormatArgument(const std::optional<std::u16string>& value)
    : m_kind(Kind::Text), m_text(value ? KCUTF8FromUTF16(*value) : "(null)")
{
}

KCFormatArgument::KCFormatArgument(const KCValue& value)
    : m_kind(Kind::Text), m_text(value.isNull() ? "(null)" : value.description())
{
}

int64_t KCFormatArgument::signedValue() const
{
    switch (m_kind) {
    case Kind::Signed: return m_signed;
    case Kind::Unsigned: return static_cast<int64_t>(m_unsigned);
    case Kind::Double: return static_cast<int64_t>(m_double);
    case Kind::CString:
    case Kind::Pointer: return static_cast<int64_t>(reinterpret_cast<uintptr_t>(m_pointer));
    case Kind::Text: return 0;
    }
    return 0;
}

uint64_t KCFormatArgument::unsignedValue() const
{
    return m_kind == Kind::Unsigned ? m_unsigned : static_cast<uint64_t>(signedValue());
}

double KCFormatArgument::doubleValue() const
{
    switch (m_kind) {
    case Kind::Double: return m_double;
    case Kind::Signed: return static_cast<double>(m_signed);
    case Kind::Unsigned: return static_cast<double>(m_unsigned);
    default: return 0;
    }
}

namespace {

// The format strings are not localised, but GTK puts the process in the
// user's locale: numbers are written in the C locale on this thread only.
class CNumericLocaleScope {
public:
    CNumericLocaleScope()
    {
        static const locale_t cLocale = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr));
        if (cLocale)
            m_previous = uselocale(cLocale);
    }
    ~CNumericLocaleScope()
    {
        if (m_previous)
            uselocale(m_previous);
    }
    CNumericLocaleScope(const CNumericLocaleScope&) = delete;
    CNumericLocaleScope& operator=(const CNumericLocaleScope&) = delete;

private:
    locale_t m_previous = static_cast<locale_t>(nullptr);
};

enum class Length { None, Char, Short, Long, LongLong, Size };

struct Conversion {
    std::string flags;
    std::string width;
    std::string precision;  // with its leading '.'
    Length length = Length::None;
    char type = 0;
};

// Integer values narrowed as C would read them from a varargs list.
int64_t narrowSigned(int64_t value, Length length)
{
    switch (length) {
    case Length::Char: return static_cast<signed char>(value);
    case Length::Short: return static_cast<short>(value);
    case Length::None: return static_cast<int32_t>(value);
    default: return value;
    }
}

uint64_t narrowUnsigned(uint64_t value, Length length)
{
    switch (length) {
    case Length::Char: return static_cast<unsigned char>(value);
    case Length::Short: return static_cast<unsigned short>(value);
    case Length::None: return static_cast<uint32_t>(value);
    default: return value;
    }
}

template <typename... T>
void appendPrintf(std::string& out, const std::string& spec, T... values)
{
    char buffer[128];
    int needed = std::snprintf(buffer, sizeof buffer, spec.c_str(), values...);
    if (needed < 0)
        return;
    if (static_cast<size_t>(needed) < sizeof buffer) {
        out.append(buffer, static_cast<size_t>(needed));
        return;
    }
    size_t start = out.size();
    out.resize(start + static_cast<size_t>(needed) + 1);
    std::snprintf(out.data() + start, static_cast<size_t>(needed) + 1, spec.c_str(), values...);
    out.resize(start + static_cast<size_t>(needed));
}

void appendConversion(std::string& out, const Conversion& c, const KCFormatArgument* argument)
{
    std::string prefix = "%" + c.flags + c.width + c.precision;
    switch (c.type) {
    case 'd':
    case 'i': {
        int64_t value = argument ? narrowSigned(argument->signedValue(), c.length) : 0;
        appendPrintf(out, prefix + "lld", static_cast<long long>(value));
        return;
    }
    case 'u':
    case 'x':
    case 'X':
    case 'o': {
        uint64_t value = argument ? narrowUnsigned(argument->unsignedValue(), c.length) : 0;
        appendPrintf(out, prefix + "ll" + c.type, static_cast<unsigned long long>(value));
        return;
    }
    case 'c': {
        int value = argument ? static_cast<unsigned char>(argument->signedValue()) : 0;
        appendPrintf(out, prefix + "c", value);
        return;
    }
    case 'f':
    case 'F':
    case 'e':
    case 'E':
    case 'g':
    case 'G':
    case 'a':
    case 'A':
        appendPrintf(out, prefix + c.type, argument ? argument->doubleValue() : 0.0);
        return;
    case 'p': {
        uintptr_t value = argument ? reinterpret_cast<uintptr_t>(argument->pointer()) : 0;
        if (argument && argument->kind() != KCFormatArgument::Kind::Pointer && argument->kind() != KCFormatArgument::Kind::CString)
            value = static_cast<uintptr_t>(argument->unsignedValue());
        appendPrintf(out, "%" + c.flags + c.width + "s", ("0x" + [value] {
            char hex[32];
            std::snprintf(hex, sizeof hex, "%llx", static_cast<unsigned long long>(value));
            return std::string(hex);
        }()).c_str());
        return;
    }
    case 's':
    case '@': {
        std::string text;
        if (!argument)
            text = "(null)";
        else if (argument->kind() == KCFormatArgument::Kind::CString || argument->kind() == KCFormatArgument::Kind::Text)
            text = argument->text();
        else if (argument->kind() == KCFormatArgument::Kind::Pointer)
            text = argument->pointer() ? "(object)" : "(null)";
        else if (argument->kind() == KCFormatArgument::Kind::Double)
            appendPrintf(text, "%g", argument->doubleValue());
        else
            text = argument->kind() == KCFormatArgument::Kind::Unsigned ? std::to_string(argument->unsignedValue())
                                                                        : std::to_string(argument->signedValue());
        if (c.flags.empty() && c.width.empty() && c.precision.empty())
            out += text;
        else
            appendPrintf(out, prefix + "s", text.c_str());
        return;
    }
    default:
        return;
    }
}

} // namespace

std::string KCStringWithFormatArguments(std::string_view format, std::span<const KCFormatArgument> arguments)
{
    CNumericLocaleScope cLocale;
    std::string out;
    out.reserve(format.size() + 16 * arguments.size());
    size_t next = 0;
    size_t i = 0;
    while (i < format.size()) {
        char ch = format[i];
        if (ch != '%') {
            size_t run = format.find('%', i);
            if (run == std::string_view::npos)
                run = format.size();
            out.append(format.substr(i, run - i));
            i = run;
            continue;
        }
        size_t start = i++;
        if (i < format.size() && format[i] == '%') {
            out += '%';
            ++i;
            continue;
        }
        Conversion c;
        while (i < format.size() && std::string_view("-+ #0'").find(format[i]) != std::string_view::npos)
            c.flags += format[i++];
        while (i < format.size() && format[i] >= '0' && format[i] <= '9')
            c.width += format[i++];
        if (i < format.size() && format[i] == '.') {
            c.precision += format[i++];
            while (i < format.size() && format[i] >= '0' && format[i] <= '9')
                c.precision += format[i++];
        }
        if (i < format.size()) {
            switch (format[i]) {
            case 'h':
                ++i;
                c.length = Length::Short;
                if (i < format.size() && format[i] == 'h') {
                    ++i;
                    c.length = Length::Char;
                }
                break;
            case 'l':
                ++i;
                c.length = Length::Long;
                if (i < format.size() && format[i] == 'l') {
                    ++i;
                    c.length = Length::LongLong;
                }
                break;
            case 'q':
            case 'j':
            case 'L':
                ++i;
                c.length = Length::LongLong;
                break;
            case 'z':
            case 't':
                ++i;
                c.length = Length::Size;
                break;
            default:
                break;
            }
        }
        if (i >= format.size() || std::string_view("diuxXocfFeEgGaAps@").find(format[i]) == std::string_view::npos) {
            // Not a conversion we know: keep the text as written.
            out.append(format.substr(start, (i < format.size() ? i + 1 : i) - start));
            if (i < format.size())
                ++i;
            continue;
        }
        c.type = format[i++];
        const KCFormatArgument* argument = next < arguments.size() ? &arguments[next] : nullptr;
        ++next;
        appendConversion(out, c, argument);
    }
    return out;
}

namespace {

bool isDecimalDigit(char c)
{
    return c >= '0' && c <= '9';
}

// The length of the decimal number at the start of `text`; 0 for none.
size_t decimalNumberLength(std::string_view text, size_t& exponentStart)
{
    size_t i = 0;
    if (i < text.size() && (text[i] == '+' || text[i] == '-'))
        ++i;
    size_t digits = 0;
    for (; i < text.size() && isDecimalDigit(text[i]); ++i)
        ++digits;
    if (i < text.size() && text[i] == '.') {
        ++i;
        for (; i < text.size() && isDecimalDigit(text[i]); ++i)
            ++digits;
    }
    if (!digits)
        return 0;
    exponentStart = i;
    if (i < text.size() && (text[i] == 'e' || text[i] == 'E')) {
        size_t j = i + 1;
        if (j < text.size() && (text[j] == '+' || text[j] == '-'))
            ++j;
        if (j < text.size() && isDecimalDigit(text[j])) {
            while (j < text.size() && isDecimalDigit(text[j]))
                ++j;
            return j;
        }
    }
    return i;
}

// from_chars never consults the locale; it takes no leading '+'.
std::optional<double> decimalValue(std::string_view number, bool& outOfRange)
{
    if (!number.empty() && number[0] == '+')
        number.remove_prefix(1);
    double value = 0;
    auto result = std::from_chars(number.data(), number.data() + number.size(), value, std::chars_format::general);
    outOfRange = result.ec == std::errc::result_out_of_range;
    if (result.ec != std::errc() || result.ptr != number.data() + number.size())
        return std::nullopt;
    return value;
}

} // namespace

std::optional<double> KCDoubleFromString(std::string_view text)
{
    size_t exponentStart = 0;
    if (text.empty() || decimalNumberLength(text, exponentStart) != text.size())
        return std::nullopt;
    bool outOfRange = false;
    return decimalValue(text, outOfRange);
}

double KCLeadingDoubleValue(std::string_view text)
{
    while (!text.empty() && (text.front() == ' ' || (text.front() >= '\t' && text.front() <= '\r')))
        text.remove_prefix(1);
    size_t exponentStart = 0;
    size_t length = decimalNumberLength(text, exponentStart);
    if (!length)
        return 0;
    std::string_view number = text.substr(0, length);
    bool outOfRange = false;
    if (std::optional<double> value = decimalValue(number, outOfRange))
        return *value;
    if (!outOfRange)
        return 0;
    bool tiny = exponentStart + 1 < length && number[exponentStart + 1] == '-';
    double magnitude = tiny ? 0.0 : HUGE_VAL;
    return number[0] == '-' ? -magnitude : magnitude;
}
