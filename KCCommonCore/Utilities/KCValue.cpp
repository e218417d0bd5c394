#include "KCValue.h"

#include "KCStringConversion.h"

#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <ctime>

std::string KCObject::description() const
{
    char text[48];
    std::snprintf(text, sizeof text, "<object %p>", static_cast<const void*>(this));
    return text;
}

KCDate KCDate::now()
{
    auto since1970 = std::chrono::system_clock::now().time_since_epoch();
    return fromTimeIntervalSince1970(std::chrono::duration<double>(since1970).count());
}

KCDictionary::KCDictionary(std::initializer_list<Entry> entries)
{
    for (const auto& entry : entries)
        set(entry.first, entry.second);
}

void KCDictionary::set(std::string key, KCValue value)
{
    auto found = m_index.find(key);
    if (found != m_index.end()) {
        m_entries[found->second].second = std::move(value);
        return;
    }
    m_index.emplace(key, m_entries.size());
    m_entries.emplace_back(std::move(key), std::move(value));
}

bool KCDictionary::erase(std::string_view key)
{
    auto found = m_index.find(key);
    if (found == m_index.end())
        return false;
    size_t position = found->second;
    m_index.erase(found);
    m_entries.erase(m_entries.begin() + static_cast<ptrdiff_t>(position));
    for (auto& indexed : m_index) {
        if (indexed.second > position)
            --indexed.second;
    }
    return true;
}

const KCValue* KCDictionary::find(std::string_view key) const
{
    auto found = m_index.find(key);
    return found == m_index.end() ? nullptr : &m_entries[found->second].second;
}

bool operator==(const KCDictionary& a, const KCDictionary& b)
{
    if (a.size() != b.size())
        return false;
    for (const auto& [key, value] : a) {
        const KCValue* other = b.find(key);
        if (!other || !(*other == value))
            return false;
    }
    return true;
}

KCValue::KCValue(std::shared_ptr<KCObject> value)
{
    if (value)
        m_storage = std::move(value);
}

KCValue KCValue::fromUTF8(std::string_view text)
{
    return KCValue(KCUTF16FromUTF8(text));
}

bool KCValue::isNumber() const
{
    switch (kind()) {
    case Kind::Boolean:
    case Kind::Integer:
    case Kind::Unsigned:
    case Kind::Double:
        return true;
    default:
        return false;
    }
}

const KCData* KCValue::data() const
{
    auto p = std::get_if<std::shared_ptr<const KCData>>(&m_storage);
    return p ? p->get() : nullptr;
}

const KCArray* KCValue::array() const
{
    auto p = std::get_if<std::shared_ptr<const KCArray>>(&m_storage);
    return p ? p->get() : nullptr;
}

const KCDictionary* KCValue::dictionary() const
{
    auto p = std::get_if<std::shared_ptr<const KCDictionary>>(&m_storage);
    return p ? p->get() : nullptr;
}

const KCURL* KCValue::url() const
{
    auto p = std::get_if<std::shared_ptr<const KCURL>>(&m_storage);
    return p ? p->get() : nullptr;
}

std::optional<KCDate> KCValue::date() const
{
    auto p = std::get_if<KCDate>(&m_storage);
    return p ? std::optional<KCDate>(*p) : std::nullopt;
}

std::shared_ptr<KCObject> KCValue::object() const
{
    auto p = std::get_if<std::shared_ptr<KCObject>>(&m_storage);
    return p ? *p : nullptr;
}

namespace {

int64_t saturatingInt64(double value)
{
    if (std::isnan(value))
        return 0;
    if (value >= 9223372036854775807.0)
        return INT64_MAX;
    if (value <= -9223372036854775808.0)
        return INT64_MIN;
    return static_cast<int64_t>(value);
}

} // namespace

std::optional<int64_t> KCValue::int64Value() const
{
    switch (kind()) {
    case Kind::Boolean: return std::get<bool>(m_storage) ? 1 : 0;
    case Kind::Integer: return std::get<int64_t>(m_storage);
    case Kind::Unsigned: return static_cast<int64_t>(std::get<uint64_t>(m_storage));
    case Kind::Double: return saturatingInt64(std::get<double>(m_storage));
    default: return std::nullopt;
    }
}

std::optional<uint64_t> KCValue::uint64Value() const
{
    switch (kind()) {
    case Kind::Unsigned: return std::get<uint64_t>(m_storage);
    case Kind::Double: {
        double value = std::get<double>(m_storage);
        if (std::isnan(value) || value <= 0)
            return value < 0 ? static_cast<uint64_t>(saturatingInt64(value)) : 0;
        return value >= 18446744073709551615.0 ? UINT64_MAX : static_cast<uint64_t>(value);
    }
    default: {
        auto signedValue = int64Value();
        return signedValue ? std::optional<uint64_t>(static_cast<uint64_t>(*signedValue)) : std::nullopt;
    }
    }
}

std::optional<double> KCValue::doubleValue() const
{
    switch (kind()) {
    case Kind::Boolean: return std::get<bool>(m_storage) ? 1.0 : 0.0;
    case Kind::Integer: return static_cast<double>(std::get<int64_t>(m_storage));
    case Kind::Unsigned: return static_cast<double>(std::get<uint64_t>(m_storage));
    case Kind::Double: return std::get<double>(m_storage);
    default: return std::nullopt;
    }
}

std::optional<bool> KCValue::boolValue() const
{
    if (kind() == Kind::Double)
        return std::get<double>(m_storage) != 0.0;
    auto value = uint64Value();
    return value ? std::optional<bool>(*value != 0) : std::nullopt;
}

std::optional<bool> KCValue::exactBoolean() const
{
    auto p = std::get_if<bool>(&m_storage);
    return p ? std::optional<bool>(*p) : std::nullopt;
}

const KCValue& KCValue::operator[](std::string_view key) const
{
    const KCDictionary* dict = dictionary();
    const KCValue* found = dict ? dict->find(key) : nullptr;
    return found ? *found : KCNullValue();
}

std::string KCValue::utf8String() const
{
    const std::u16string* text = string();
    return text ? KCUTF8FromUTF16(*text) : std::string();
}

namespace {

std::string shortestDouble(double value)
{
    if (std::isnan(value))
        return "nan";
    if (std::isinf(value))
        return value < 0 ? "-inf" : "inf";
    char text[64];
    auto result = std::to_chars(text, text + sizeof text, value);
    return std::string(text, result.ptr);
}

std::string dateDescription(KCDate date)
{
    double seconds = std::floor(date.timeIntervalSince1970());
    time_t t = static_cast<time_t>(seconds);
    struct tm parts {};
    gmtime_r(&t, &parts);
    char text[64];
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S +0000", &parts);
    return text;
}

void appendIndent(std::string& out, int depth)
{
    out.append(static_cast<size_t>(depth) * 4, ' ');
}

void describe(const KCValue& value, std::string& out, int depth);

void describeContainer(const KCValue& value, std::string& out, int depth)
{
    if (const KCArray* array = value.array()) {
        out += "(\n";
        for (size_t i = 0; i < array->size(); ++i) {
            appendIndent(out, depth + 1);
            describe((*array)[i], out, depth + 1);
            out += i + 1 < array->size() ? ",\n" : "\n";
        }
        appendIndent(out, depth);
        out += ")";
        return;
    }
    out += "{\n";
    for (const auto& [key, item] : *value.dictionary()) {
        appendIndent(out, depth + 1);
        out += key;
        out += " = ";
        describe(item, out, depth + 1);
        out += ";\n";
    }
    appendIndent(out, depth);
    out += "}";
}

void describe(const KCValue& value, std::string& out, int depth)
{
    using Kind = KCValue::Kind;
    switch (value.kind()) {
    case Kind::Null: out += "<null>"; return;
    case Kind::Boolean: out += *value.exactBoolean() ? "1" : "0"; return;
    case Kind::Integer: out += std::to_string(*value.int64Value()); return;
    case Kind::Unsigned: out += std::to_string(*value.uint64Value()); return;
    case Kind::Double: out += shortestDouble(*value.doubleValue()); return;
    case Kind::String: out += value.utf8String(); return;
    case Kind::Data: {
        static const char hex[] = "0123456789abcdef";
        const KCData& bytes = *value.data();
        out += "{length = " + std::to_string(bytes.size()) + ", bytes = 0x";
        for (size_t i = 0; i < bytes.size() && i < 32; ++i) {
            out += hex[bytes[i] >> 4];
            out += hex[bytes[i] & 15];
        }
        if (bytes.size() > 32)
            out += "...";
        out += "}";
        return;
    }
    case Kind::Date: out += dateDescription(*value.date()); return;
    case Kind::URL: out += value.url()->absoluteString(); return;
    case Kind::Array:
    case Kind::Dictionary: describeContainer(value, out, depth); return;
    case Kind::Object: out += value.object()->description(); return;
    }
}

bool numbersEqual(const KCValue& a, const KCValue& b)
{
    using Kind = KCValue::Kind;
    if (a.kind() == Kind::Double || b.kind() == Kind::Double)
        return *a.doubleValue() == *b.doubleValue();
    bool aNegative = a.kind() == Kind::Integer && *a.int64Value() < 0;
    bool bNegative = b.kind() == Kind::Integer && *b.int64Value() < 0;
    return aNegative == bNegative && *a.uint64Value() == *b.uint64Value();
}

} // namespace

std::string KCValue::description() const
{
    std::string out;
    describe(*this, out, 0);
    return out;
}

bool operator==(const KCValue& a, const KCValue& b)
{
    if (a.isNumber() && b.isNumber())
        return numbersEqual(a, b);
    if (a.kind() != b.kind())
        return false;
    using Kind = KCValue::Kind;
    switch (a.kind()) {
    case Kind::Null: return true;
    case Kind::String: return *a.string() == *b.string();
    case Kind::Data: return *a.data() == *b.data();
    case Kind::Date: return *a.date() == *b.date();
    case Kind::URL: return *a.url() == *b.url();
    case Kind::Array: return *a.array() == *b.array();
    case Kind::Dictionary: return *a.dictionary() == *b.dictionary();
    case Kind::Object: return a.object() == b.object();
    default: return false;
    }
}

const KCValue& KCNullValue()
{
    static const KCValue null;
    return null;
}
