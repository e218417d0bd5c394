#pragma once
// The one heterogeneous value of every interface: message bodies, the
// initialisation dictionary, resource information, store metadata, archive
// contents. Values are immutable and cheap to copy: containers and data are
// shared, never copied, when a value is copied.
#include "KCURL.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <variant>
#include <vector>

class KCValue;

// A point in time, as seconds since 2001-01-01 00:00:00 UTC.
struct KCDate {
    static constexpr double kSecondsFrom1970To2001 = 978307200.0;

    double timeIntervalSinceReferenceDate = 0;

    static KCDate now();
    static KCDate fromTimeIntervalSince1970(double seconds) { return {seconds - kSecondsFrom1970To2001}; }
    double timeIntervalSince1970() const { return timeIntervalSinceReferenceDate + kSecondsFrom1970To2001; }
    friend auto operator<=>(const KCDate&, const KCDate&) = default;
};

// Base of every object that a value can carry opaquely (filters, records,
// platform handles). dynamic_pointer_cast recovers the concrete type.
class KCObject {
public:
    virtual ~KCObject() = default;
    virtual std::string description() const;
};

using KCData = std::vector<uint8_t>;
using KCArray = std::vector<KCValue>;

// A dictionary with string keys that keeps insertion order (callers rely on
// "the first key in the dictionary's order").
class KCDictionary {
public:
    using Entry = std::pair<std::string, KCValue>;

    KCDictionary() = default;
    KCDictionary(std::initializer_list<Entry> entries);

    // Replaces the value of an existing key in place; appends a new key.
    void set(std::string key, KCValue value);
    bool erase(std::string_view key);
    const KCValue* find(std::string_view key) const;
    bool contains(std::string_view key) const { return find(key) != nullptr; }

    // Defined after KCValue, which they need complete.
    size_t size() const;
    bool empty() const;
    std::vector<Entry>::const_iterator begin() const;
    std::vector<Entry>::const_iterator end() const;

    friend bool operator==(const KCDictionary& a, const KCDictionary& b);

private:
    struct Hash {
        using is_transparent = void;
        size_t operator()(std::string_view s) const { return std::hash<std::string_view>()(s); }
    };
    std::vector<Entry> m_entries;
    std::unordered_map<std::string, size_t, Hash, std::equal_to<>> m_index;
};

class KCValue {
public:
    enum class Kind { Null, Boolean, Integer, Unsigned, Double, String, Data, Date, URL, Array, Dictionary, Object };

    KCValue() = default;
    KCValue(std::nullptr_t) {}
    KCValue(bool value) : m_storage(value) {}
    KCValue(int value) : m_storage(int64_t(value)) {}
    KCValue(long value) : m_storage(int64_t(value)) {}
    KCValue(long long value) : m_storage(int64_t(value)) {}
    KCValue(unsigned value) : m_storage(uint64_t(value)) {}
    KCValue(unsigned long value) : m_storage(uint64_t(value)) {}
    KCValue(unsigned long long value) : m_storage(uint64_t(value)) {}
    KCValue(double value) : m_storage(value) {}
    KCValue(std::u16string value) : m_storage(std::move(value)) {}
    KCValue(std::u16string_view value) : m_storage(std::u16string(value)) {}
    KCValue(const char16_t* value) : m_storage(std::u16string(value)) {}
    KCValue(KCData value) : m_storage(std::make_shared<const KCData>(std::move(value))) {}
    KCValue(KCDate value) : m_storage(value) {}
    KCValue(KCURL value) : m_storage(std::make_shared<const KCURL>(std::move(value))) {}
    KCValue(KCArray value) : m_storage(std::make_shared<const KCArray>(std::move(value))) {}
    KCValue(KCDictionary value) : m_storage(std::make_shared<const KCDictionary>(std::move(value))) {}
    KCValue(std::shared_ptr<KCObject> value);
    template <typename T, typename = std::enable_if_t<std::is_base_of_v<KCObject, T>>>
    KCValue(std::shared_ptr<T> value) : KCValue(std::static_pointer_cast<KCObject>(std::move(value))) {}

    // UTF-8 text from the edges becomes a UTF-16 string value.
    static KCValue fromUTF8(std::string_view text);

    Kind kind() const { return static_cast<Kind>(m_storage.index()); }
    bool isNull() const { return kind() == Kind::Null; }
    bool isNumber() const;

    // Typed access: nothing (nullptr / nullopt) for a value of another kind.
    const std::u16string* string() const { return std::get_if<std::u16string>(&m_storage); }
    const KCData* data() const;
    const KCArray* array() const;
    const KCDictionary* dictionary() const;
    const KCURL* url() const;
    std::optional<KCDate> date() const;
    std::shared_ptr<KCObject> object() const;
    template <typename T> std::shared_ptr<T> objectAs() const { return std::dynamic_pointer_cast<T>(object()); }

    // Numbers of any kind (booleans included) read as the asked type, as a
    // number object answers its intValue or doubleValue; nothing for non-numbers.
    std::optional<int64_t> int64Value() const;
    std::optional<uint64_t> uint64Value() const;
    std::optional<double> doubleValue() const;
    std::optional<bool> boolValue() const;

    // The exact stored kinds, without conversion.
    std::optional<bool> exactBoolean() const;

    // Convenience for dictionary values: the value under a key, or null.
    const KCValue& operator[](std::string_view key) const;

    std::string utf8String() const;  // the string as UTF-8; empty for other kinds
    std::string description() const; // the text "%@" prints

    friend bool operator==(const KCValue& a, const KCValue& b);

private:
    using Storage = std::variant<std::monostate, bool, int64_t, uint64_t, double, std::u16string,
        std::shared_ptr<const KCData>, KCDate, std::shared_ptr<const KCURL>, std::shared_ptr<const KCArray>,
        std::shared_ptr<const KCDictionary>, std::shared_ptr<KCObject>>;
    Storage m_storage;
};

inline size_t KCDictionary::size() const { return m_entries.size(); }
inline bool KCDictionary::empty() const { return m_entries.empty(); }
inline std::vector<KCDictionary::Entry>::const_iterator KCDictionary::begin() const { return m_entries.begin(); }
inline std::vector<KCDictionary::Entry>::const_iterator KCDictionary::end() const { return m_entries.end(); }

// A shared null value, for lookups that find nothing.
const KCValue& KCNullValue();
