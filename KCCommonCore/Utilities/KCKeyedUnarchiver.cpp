#include "KCKeyedArchive.h"

#include "KCBinaryPlistCheck.h"
#include "KCKeyedArchivePlist.h"
#include "KCLogger.h"
#include "KCStringConversion.h"

#include <mutex>
#include <type_traits>
#include <unordered_map>

namespace {

// Deeper nesting than any of our object graphs needs; bounds recursion on hostile input.
constexpr unsigned kMaximumDepth = 64;

bool isOneOf(std::string_view name, std::initializer_list<std::string_view> names)
{
    for (auto candidate : names) {
        if (name == candidate)
            return true;
    }
    return false;
}

std::mutex& registryLock()
{
    static std::mutex lock;
    return lock;
}

std::unordered_map<std::string, KCKeyedUnarchiver::Factory>& registry()
{
    static std::unordered_map<std::string, KCKeyedUnarchiver::Factory> factories;
    return factories;
}

KCKeyedUnarchiver::Factory factoryForClass(const std::string& name)
{
    std::lock_guard guard(registryLock());
    auto found = registry().find(name);
    return found == registry().end() ? nullptr : found->second;
}

} // namespace

struct KCKeyedUnarchiver::State {
    std::vector<plist_t> entries;  // "$objects", indexed by UID
    std::vector<std::optional<KCValue>> decoded;
    std::vector<bool> decoding;
    std::vector<plist_t> containers;  // dictionaries of the objects being decoded, innermost last
    unsigned depth = 0;
    std::optional<std::string> failure;
    // Dictionary entries are walked each time a field asks for them; a budget
    // in proportion to the input stops many fields sharing one large dictionary.
    uint64_t work = 0;
    uint64_t workBudget = 0;

    bool failed() const { return failure.has_value(); }

    template <typename... Args>
    void fail(const char* format, const Args&... args)
    {
        if (!failure)
            failure = KCStringWithFormat(format, args...);
    }

    plist_t field(std::string_view key) const
    {
        return containers.empty() ? nullptr : plist_dict_get_item(containers.back(), std::string(key).c_str());
    }

    // Runs decode on the entry of a UID while guarding against cycles and runaway depth.
    template <typename Decode>
    auto guarded(uint64_t uid, Decode decode) -> std::optional<std::invoke_result_t<Decode, plist_t>>
    {
        if (failed())
            return std::nullopt;
        if (uid >= entries.size()) {
            fail("reference %llu is beyond the %llu archived objects", uid, uint64_t(entries.size()));
            return std::nullopt;
        }
        if (decoding[uid]) {
            fail("object %llu refers back to itself", uid);
            return std::nullopt;
        }
        if (depth >= kMaximumDepth) {
            fail("objects are nested deeper than %u", kMaximumDepth);
            return std::nullopt;
        }
        decoding[uid] = true;
        ++depth;
        auto result = decode(entries[uid]);
        --depth;
        decoding[uid] = false;
        if (failed())
            return std::nullopt;
        return result;
    }

    KCValue decode(uint64_t uid)
    {
        // UID 0 is the "$null" entry; a string "$null" elsewhere is just text.
        if (uid == 0)
            return {};
        if (uid < decoded.size() && decoded[uid])
            return *decoded[uid];
        auto value = guarded(uid, [&](plist_t entry) { return decodeEntry(uid, entry); });
        if (!value)
            return {};
        decoded[uid] = *value;
        return *value;
    }

    std::optional<KCDictionaryEntries> decodeDictionary(uint64_t uid)
    {
        auto result = guarded(uid, [&](plist_t entry) -> std::optional<KCDictionaryEntries> {
            auto name = className(entry);
            if (!name || !isOneOf(*name, {"NSDictionary", "NSMutableDictionary"}))
                return std::nullopt;
            return dictionaryEntries(uid, entry);
        });
        return result ? *result : std::nullopt;
    }

    // The "$classname" of a class object; nothing for other entries.
    std::optional<std::string_view> className(plist_t entry)
    {
        if (plist_get_node_type(entry) != PLIST_DICT)
            return std::nullopt;
        auto classUID = KCPlistUIDValue(plist_dict_get_item(entry, "$class"));
        if (!classUID) {
            fail("an archived object has no class");
            return std::nullopt;
        }
        if (*classUID >= entries.size() || plist_get_node_type(entries[*classUID]) != PLIST_DICT) {
            fail("class reference %llu is not a class description", *classUID);
            return std::nullopt;
        }
        plist_t name = KCPlistItemOfType(entries[*classUID], "$classname", PLIST_STRING);
        if (!name) {
            fail("class description %llu has no class name", *classUID);
            return std::nullopt;
        }
        return KCPlistStringValue(name);
    }

    KCValue decodeEntry(uint64_t uid, plist_t entry)
    {
        switch (plist_get_node_type(entry)) {
        case PLIST_BOOLEAN: {
            uint8_t value = 0;
            plist_get_bool_val(entry, &value);
            return KCValue(value != 0);
        }
        case PLIST_UINT: {
            uint64_t value = 0;
            plist_get_uint_val(entry, &value);
            if (KCPlistIsLargeUnsigned(entry))
                return KCValue(value);
            return KCValue(static_cast<int64_t>(value));
        }
        case PLIST_REAL: {
            double value = 0;
            plist_get_real_val(entry, &value);
            return KCValue(value);
        }
        case PLIST_STRING:
            return KCUTF16FromUTF8(KCPlistStringValue(entry));
        case PLIST_DATA: {
            uint64_t length = 0;
            auto bytes = reinterpret_cast<const uint8_t*>(plist_get_data_ptr(entry, &length));
            return KCValue(KCData(bytes, bytes + (bytes ? length : 0)));
        }
        case PLIST_DATE: {
            int32_t seconds = 0, microseconds = 0;
            plist_get_date_val(entry, &seconds, &microseconds);
            return KCValue(KCDate {seconds + microseconds / 1e6});
        }
        case PLIST_DICT:
            return decodeClassObject(uid, entry);
        default:
            fail("object %llu is not an archived object", uid);
            return {};
        }
    }

    KCValue decodeClassObject(uint64_t uid, plist_t entry)
    {
        auto name = className(entry);
        if (!name)
            return {};
        if (isOneOf(*name, {"NSArray", "NSMutableArray", "NSSet", "NSMutableSet", "NSOrderedSet", "NSMutableOrderedSet"}))
            return decodeArray(uid, entry);
        if (isOneOf(*name, {"NSDictionary", "NSMutableDictionary"}))
            return stringKeyedDictionary(uid, entry);
        if (*name == "NSDate") {
            plist_t time = plist_dict_get_item(entry, "NS.time");
            double seconds = 0;
            if (!time || plist_get_node_type(time) != PLIST_REAL) {
                fail("date %llu has no time", uid);
                return {};
            }
            plist_get_real_val(time, &seconds);
            return KCDate {seconds};
        }
        if (*name == "NSURL")
            return decodeURL(uid, entry);
        if (isOneOf(*name, {"NSString", "NSMutableString"})) {
            if (plist_t text = KCPlistItemOfType(entry, "NS.string", PLIST_STRING))
                return KCUTF16FromUTF8(KCPlistStringValue(text));
            fail("string %llu has no text", uid);
            return {};
        }
        if (isOneOf(*name, {"NSData", "NSMutableData"})) {
            plist_t bytes = KCPlistItemOfType(entry, "NS.data", PLIST_DATA);
            if (!bytes) {
                fail("data %llu has no bytes", uid);
                return {};
            }
            return decodeEntry(uid, bytes);
        }
        return decodeRegisteredClass(uid, std::string(*name), entry);
    }

    KCValue decodeRegisteredClass(uint64_t uid, const std::string& name, plist_t entry)
    {
        auto factory = factoryForClass(name);
        if (!factory) {
            fail("object %llu is of the unknown class %@", uid, name);
            return {};
        }
        containers.push_back(entry);
        KCKeyedUnarchiver coder(*this);
        auto object = factory(coder);
        containers.pop_back();
        if (!object)
            fail("object %llu of class %@ could not be decoded", uid, name);
        return failed() ? KCValue() : KCValue(std::move(object));
    }

    // The UIDs of an array field, or nothing (the archive failed) when it holds anything else.
    std::optional<std::vector<uint64_t>> uidArray(uint64_t uid, plist_t entry, const char* key)
    {
        plist_t array = KCPlistItemOfType(entry, key, PLIST_ARRAY);
        if (!array) {
            fail("object %llu has no %s", uid, key);
            return std::nullopt;
        }
        std::vector<uint64_t> uids;
        uids.reserve(plist_array_get_size(array));
        bool allReferences = true;
        KCPlistForEachItem(array, [&](plist_t item) {
            auto element = KCPlistUIDValue(item);
            if (element)
                uids.push_back(*element);
            return allReferences = element.has_value();
        });
        if (!allReferences) {
            fail("%s of object %llu holds something other than references", key, uid);
            return std::nullopt;
        }
        return uids;
    }

    KCValue decodeArray(uint64_t uid, plist_t entry)
    {
        auto uids = uidArray(uid, entry, "NS.objects");
        if (!uids)
            return {};
        KCArray array;
        array.reserve(uids->size());
        for (uint64_t element : *uids) {
            array.push_back(decode(element));
            if (failed())
                return {};
        }
        return array;
    }

    std::optional<KCDictionaryEntries> dictionaryEntries(uint64_t uid, plist_t entry)
    {
        auto keys = uidArray(uid, entry, "NS.keys");
        auto values = keys ? uidArray(uid, entry, "NS.objects") : std::nullopt;
        if (!values)
            return std::nullopt;
        work += keys->size();
        if (work > workBudget) {
            fail("its objects refer to dictionary %llu too many times", uid);
            return std::nullopt;
        }
        if (keys->size() != values->size()) {
            fail("dictionary %llu has %llu keys but %llu values", uid, uint64_t(keys->size()), uint64_t(values->size()));
            return std::nullopt;
        }
        KCDictionaryEntries result;
        result.reserve(keys->size());
        for (size_t index = 0; index < keys->size(); ++index) {
            KCValue key = decode((*keys)[index]);
            KCValue value = decode((*values)[index]);
            if (failed())
                return std::nullopt;
            result.emplace_back(std::move(key), std::move(value));
        }
        return result;
    }

    KCValue stringKeyedDictionary(uint64_t uid, plist_t entry)
    {
        auto entries = dictionaryEntries(uid, entry);
        if (!entries)
            return {};
        KCDictionary dictionary;
        for (auto& [key, value] : *entries) {
            if (!key.string()) {
                // Only the entry form can carry such keys; callers ask for it with decodeDictionary.
                KCLog("Dictionary %llu has a key that is not a string; read it with decodeDictionary", uid);
                return {};
            }
            dictionary.set(KCUTF8FromUTF16(*key.string()), std::move(value));
        }
        return dictionary;
    }

    KCValue decodeURL(uint64_t uid, plist_t entry)
    {
        auto base = KCPlistUIDValue(plist_dict_get_item(entry, "NS.base"));
        auto relative = KCPlistUIDValue(plist_dict_get_item(entry, "NS.relative"));
        if (!relative || (base && *base != 0 && !decode(*base).isNull())) {
            fail("URL %llu is not an absolute URL", uid);
            return {};
        }
        KCValue text = decode(*relative);
        auto url = text.string() ? KCURL::URLWithString(KCUTF8FromUTF16(*text.string())) : std::nullopt;
        if (!url) {
            fail("URL %llu is not an absolute URL", uid);
            return {};
        }
        return *url;
    }

    // Checks the top-level layout and indexes "$objects"; answers the root's UID.
    std::optional<uint64_t> open(plist_t archive)
    {
        if (plist_get_node_type(archive) != PLIST_DICT) {
            fail("the top level is not a dictionary");
            return std::nullopt;
        }
        plist_t archiver = KCPlistItemOfType(archive, "$archiver", PLIST_STRING);
        if (!archiver || KCPlistStringValue(archiver) != kKCKeyedArchiverName) {
            fail("it does not name the keyed archiver");
            return std::nullopt;
        }
        plist_t objects = KCPlistItemOfType(archive, "$objects", PLIST_ARRAY);
        if (!objects) {
            fail("\"$objects\" is not an array");
            return std::nullopt;
        }
        plist_t top = KCPlistItemOfType(archive, "$top", PLIST_DICT);
        auto root = top ? KCPlistUIDValue(plist_dict_get_item(top, "root")) : std::nullopt;
        if (!root) {
            fail("\"$top\" has no root reference");
            return std::nullopt;
        }
        entries.reserve(plist_array_get_size(objects));
        KCPlistForEachItem(objects, [&](plist_t item) {
            entries.push_back(item);
            return true;
        });
        decoded.resize(entries.size());
        decoding.resize(entries.size());
        return root;
    }
};

void KCKeyedUnarchiver::registerClass(std::string className, Factory factory)
{
    std::lock_guard guard(registryLock());
    registry()[std::move(className)] = std::move(factory);
}

std::optional<KCValue> KCKeyedUnarchiver::unarchivedRootObject(std::span<const uint8_t> archive)
{
    State state;
    state.workBudget = 2 * uint64_t(archive.size()) + 4096;
    auto result = [&]() -> std::optional<KCValue> {
        if (auto problem = KCBinaryPlistProblem(archive)) {
            state.fail("%@", *problem);
            return std::nullopt;
        }
        plist_t parsed = nullptr;
        plist_from_bin(reinterpret_cast<const char*>(archive.data()), static_cast<uint32_t>(archive.size()), &parsed);
        KCPlistPointer owner(parsed);
        if (!parsed) {
            state.fail("it is not a binary property list");
            return std::nullopt;
        }
        auto root = state.open(parsed);
        if (!root)
            return std::nullopt;
        KCValue value = state.decode(*root);
        if (state.failed())
            return std::nullopt;
        return value;
    }();
    if (!result)
        KCLog("Cannot read keyed archive of %llu bytes: %@", uint64_t(archive.size()), state.failure.value_or("unknown failure"));
    return result;
}

bool KCKeyedUnarchiver::containsValueForKey(std::string_view key) const
{
    return m_state.field(key) != nullptr;
}

std::optional<std::vector<uint8_t>> KCKeyedUnarchiver::decodeBytes(std::string_view key)
{
    plist_t field = m_state.field(key);
    if (!field || plist_get_node_type(field) != PLIST_DATA)
        return std::nullopt;
    uint64_t length = 0;
    auto bytes = reinterpret_cast<const uint8_t*>(plist_get_data_ptr(field, &length));
    return std::vector<uint8_t>(bytes, bytes + (bytes ? length : 0));
}

KCValue KCKeyedUnarchiver::decodeObject(std::string_view key)
{
    auto uid = KCPlistUIDValue(m_state.field(key));
    return uid ? m_state.decode(*uid) : KCValue();
}

std::optional<KCDictionaryEntries> KCKeyedUnarchiver::decodeDictionary(std::string_view key)
{
    auto uid = KCPlistUIDValue(m_state.field(key));
    return uid ? m_state.decodeDictionary(*uid) : std::nullopt;
}

std::optional<int64_t> KCKeyedUnarchiver::decodeInt64(std::string_view key)
{
    plist_t field = m_state.field(key);
    if (!field || plist_get_node_type(field) != PLIST_UINT)
        return std::nullopt;
    uint64_t value = 0;
    plist_get_uint_val(field, &value);
    return static_cast<int64_t>(value);
}

std::optional<double> KCKeyedUnarchiver::decodeDouble(std::string_view key)
{
    plist_t field = m_state.field(key);
    if (!field)
        return std::nullopt;
    if (plist_get_node_type(field) == PLIST_UINT)
        return double(*decodeInt64(key));
    if (plist_get_node_type(field) != PLIST_REAL)
        return std::nullopt;
    double value = 0;
    plist_get_real_val(field, &value);
    return value;
}

std::optional<bool> KCKeyedUnarchiver::decodeBool(std::string_view key)
{
    plist_t field = m_state.field(key);
    if (!field || plist_get_node_type(field) != PLIST_BOOLEAN)
        return std::nullopt;
    uint8_t value = 0;
    plist_get_bool_val(field, &value);
    return value != 0;
}

void KCKeyedUnarchiver::failWithReason(std::string reason)
{
    m_state.fail("%@", reason);
}
