#pragma once
// The system's printf-style format strings: "%@" prints an object's text,
// the C conversions (%d %ld %lld %u %lu %llu %x %s %p %f %.2f %% ...) behave as
// in C, including the width of the length modifier ("%d" prints a 32-bit int).
// Arguments are type-checked at run time: a missing or mismatched argument
// never reads memory it should not.
#include "KCValue.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>

class KCFormatArgument {
public:
    enum class Kind { Signed, Unsigned, Double, CString, Pointer, Text };

    template <typename T, std::enable_if_t<std::is_integral_v<T> && std::is_signed_v<T>, int> = 0>
    KCFormatArgument(T value) : m_kind(Kind::Signed), m_signed(value) {}
    template <typename T, std::enable_if_t<std::is_integral_v<T> && std::is_unsigned_v<T> && !std::is_same_v<T, bool>, int> = 0>
    KCFormatArgument(T value) : m_kind(Kind::Unsigned), m_unsigned(value) {}
    KCFormatArgument(bool value) : m_kind(Kind::Signed), m_signed(value ? 1 : 0) {}
    template <typename T, std::enable_if_t<std::is_enum_v<T>, int> = 0>
    KCFormatArgument(T value) : KCFormatArgument(static_cast<std::underlying_type_t<T>>(value)) {}
    KCFormatArgument(double value) : m_kind(Kind::Double), m_double(value) {}
    KCFormatArgument(float value) : m_kind(Kind::Double), m_double(value) {}
    KCFormatArgument(const char* value) : m_kind(Kind::CString), m_text(value ? value : ""), m_pointer(value) {}
    KCFormatArgument(char* value) : KCFormatArgument(static_cast<const char*>(value)) {}
    KCFormatArgument(std::nullptr_t) : m_kind(Kind::Pointer), m_pointer(nullptr) {}
    template <typename T, std::enable_if_t<!std::is_same_v<std::remove_cv_t<T>, char> && !std::is_same_v<std::remove_cv_t<T>, char16_t>, int> = 0>
    KCFormatArgument(T* value) : m_kind(Kind::Pointer), m_pointer(static_cast<const void*>(value)) {}
    KCFormatArgument(std::string_view value) : m_kind(Kind::Text), m_text(value) {}
    KCFormatArgument(const std::string& value) : m_kind(Kind::Text), m_text(value) {}
    KCFormatArgument(std::u16string_view value);
    KCFormatArgument(const std::u16string& value) : KCFormatArgument(std::u16string_view(value)) {}
    KCFormatArgument(const char16_t* value) : KCFormatArgument(std::u16string_view(value ? value : u"")) {}
    // An absent text prints as "(null)", as a null object does.
    KCFormatArgument(const std::optional<std::u16string>& value);
    KCFormatArgument(const KCValue& value);
    KCFormatArgument(const KCURL& value) : m_kind(Kind::Text), m_text(value.absoluteString()) {}
    template <typename T, std::enable_if_t<std::is_base_of_v<KCObject, T>, int> = 0>
    KCFormatArgument(const std::shared_ptr<T>& value)
        : m_kind(Kind::Text), m_text(value ? value->description() : "(null)"), m_pointer(value.get()) {}

    Kind kind() const { return m_kind; }
    int64_t signedValue() const;
    uint64_t unsignedValue() const;
    double doubleValue() const;
    const std::string& text() const { return m_text; }
    const void* pointer() const { return m_pointer; }

private:
    Kind m_kind;
    int64_t m_signed = 0;
    uint64_t m_unsigned = 0;
    double m_double = 0;
    std::string m_text;
    const void* m_pointer = nullptr;
};

std::string KCStringWithFormatArguments(std::string_view format, std::span<const KCFormatArgument> arguments);

template <typename... Args>
std::string KCStringWithFormat(std::string_view format, const Args&... args)
{
    if constexpr (sizeof...(Args) == 0) {
        return KCStringWithFormatArguments(format, {});
    } else {
        const KCFormatArgument arguments[] = {KCFormatArgument(args)...};
        return KCStringWithFormatArguments(format, arguments);
    }
}

// Numbers read back as the formats above write them, whatever the process
// locale: a decimal point, an optional sign and exponent, never hexadecimal,
// infinity or NaN.
// The whole text as such a number; nothing for anything else or out of range.
std::optional<double> KCDoubleFromString(std::string_view text);
// The number that leads the text after white space ("768px" reads 768); 0
// without one, an infinity (or 0) when out of range.
double KCLeadingDoubleValue(std::string_view text);
