#pragma once
// Keyed archives in the binary property-list form: a top-level dictionary with
// "$archiver", "$version", "$top" and "$objects"; objects refer to each other
// by UID and name their class through "$classname"/"$classes".
//
// Strings, numbers, data, arrays and dictionaries are written as the archive's
// plain objects; classes of our own derive from KCCoding and are read back
// through a factory registered under their class name. An object shared by
// several fields is written once and read back as one object.
//
// Reading trusts nothing: any malformed, cyclic or too deeply nested (more
// than 64 levels) archive answers nothing and logs why.
//
// Errors: decoding answers nothing (or a null value) for anything malformed and logs one line; encoding cannot fail.
#include "KCValue.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

class KCKeyedArchiver;
class KCKeyedUnarchiver;

using KCDictionaryEntries = std::vector<std::pair<KCValue, KCValue>>;

class KCCoding : public KCObject {
public:
    virtual std::string classNameForCoder() const = 0;
    // "$classes": the class and its ancestors, most derived first.
    virtual std::vector<std::string> classHierarchyForCoder() const { return {classNameForCoder(), "NSObject"}; }
    virtual void encodeWithCoder(KCKeyedArchiver& coder) const = 0;
};

class KCKeyedArchiver {
public:
    // The archive of one root object (under the "$top" key "root").
    static KCData archivedDataWithRootObject(const KCValue& root);

    void encodeBytes(const uint8_t* bytes, size_t length, std::string_view key);
    // Strings, numbers, data, dates, URLs, arrays, dictionaries, KCCoding
    // objects; null (and an object that is not KCCoding, logged) writes "$null".
    void encodeObject(const KCValue& value, std::string_view key);
    // A dictionary whose keys may be any object (strings, numbers).
    void encodeDictionary(const KCDictionaryEntries& entries, std::string_view key);
    void encodeInt64(int64_t value, std::string_view key);
    void encodeDouble(double value, std::string_view key);
    void encodeBool(bool value, std::string_view key);

    KCKeyedArchiver();
    ~KCKeyedArchiver();
    KCKeyedArchiver(const KCKeyedArchiver&) = delete;
    KCKeyedArchiver& operator=(const KCKeyedArchiver&) = delete;

    struct State;
private:
    std::unique_ptr<State> m_state;
};

class KCKeyedUnarchiver {
public:
    // Builds an object of a registered class from the fields of its archive
    // entry. Answering nothing (or calling failWithReason) fails the archive.
    using Factory = std::function<std::shared_ptr<KCObject>(KCKeyedUnarchiver&)>;
    static void registerClass(std::string className, Factory factory);

    // The root object, or nothing (logged) for an archive that is not well formed:
    // truncated, wrong types, dangling or cyclic references, unknown classes.
    static std::optional<KCValue> unarchivedRootObject(std::span<const uint8_t> archive);

    // The fields of the object being decoded. A missing key, or a field of
    // another type, answers nothing (null for decodeObject) without failing
    // the archive; a field whose object is malformed fails it.
    bool containsValueForKey(std::string_view key) const;
    std::optional<std::vector<uint8_t>> decodeBytes(std::string_view key);
    // A dictionary reads as a KCDictionary only when all its keys are strings.
    KCValue decodeObject(std::string_view key);
    // The entries of a dictionary, whatever its keys, in archive order.
    std::optional<KCDictionaryEntries> decodeDictionary(std::string_view key);
    std::optional<int64_t> decodeInt64(std::string_view key);
    std::optional<double> decodeDouble(std::string_view key);  // integers too
    std::optional<bool> decodeBool(std::string_view key);

    // Marks the whole archive as invalid; unarchivedRootObject then answers nothing.
    void failWithReason(std::string reason);

    struct State;
    explicit KCKeyedUnarchiver(State& state) : m_state(state) {}

private:
    State& m_state;
};
