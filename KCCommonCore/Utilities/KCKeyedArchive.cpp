#include "KCKeyedArchive.h"

#include "KCKeyedArchivePlist.h"
#include "KCLogger.h"
#include "KCStringConversion.h"

#include <unordered_map>

namespace {

struct ClassDescription {
    const char* name;
    std::vector<const char*> hierarchy;
};
const ClassDescription kArrayClass {"NSMutableArray", {"NSMutableArray", "NSArray", "NSObject"}};
const ClassDescription kDictionaryClass {"NSMutableDictionary", {"NSMutableDictionary", "NSDictionary", "NSObject"}};
const ClassDescription kDateClass {"NSDate", {"NSDate", "NSObject"}};
const ClassDescription kURLClass {"NSURL", {"NSURL", "NSObject"}};

} // namespace

struct KCKeyedArchiver::State {
    explicit State(KCKeyedArchiver& archiver) : archiver(archiver) {}

    KCKeyedArchiver& archiver;  // handed to the objects' encodeWithCoder
    KCPlistPointer objects {plist_new_array()};
    uint64_t count = 0;
    std::vector<plist_t> containers;  // dictionaries of the objects being encoded, innermost last
    std::unordered_map<std::string, uint64_t> classUIDs;
    std::unordered_map<std::string, uint64_t> stringUIDs;
    std::unordered_map<const KCObject*, uint64_t> objectUIDs;

    uint64_t append(plist_t node)
    {
        plist_array_append_item(objects.get(), node);
        return count++;
    }

    template <typename Names>
    uint64_t classUID(const std::string& name, const Names& hierarchy)
    {
        if (auto found = classUIDs.find(name); found != classUIDs.end())
            return found->second;
        plist_t classes = plist_new_array();
        for (const auto& ancestor : hierarchy)
            plist_array_append_item(classes, plist_new_string(std::string(ancestor).c_str()));
        plist_t description = plist_new_dict();
        plist_dict_set_item(description, "$classname", plist_new_string(name.c_str()));
        plist_dict_set_item(description, "$classes", classes);
        uint64_t uid = append(description);
        classUIDs.emplace(name, uid);
        return uid;
    }

    void setClass(plist_t object, const ClassDescription& description)
    {
        plist_dict_set_item(object, "$class", plist_new_uid(classUID(description.name, description.hierarchy)));
    }

    uint64_t encodeString(const std::string& utf8)
    {
        if (auto found = stringUIDs.find(utf8); found != stringUIDs.end())
            return found->second;
        uint64_t uid = append(plist_new_string(utf8.c_str()));
        stringUIDs.emplace(utf8, uid);
        return uid;
    }

    uint64_t encodeKey(const std::string& key) { return encodeString(key); }
    uint64_t encodeKey(const KCValue& key) { return encode(key); }

    template <typename Entries>
    uint64_t encodeDictionary(const Entries& entries)
    {
        plist_t object = plist_new_dict();
        uint64_t uid = append(object);
        plist_t keys = plist_new_array();
        plist_t values = plist_new_array();
        plist_dict_set_item(object, "NS.keys", keys);
        plist_dict_set_item(object, "NS.objects", values);
        for (const auto& [key, value] : entries) {
            plist_array_append_item(keys, plist_new_uid(encodeKey(key)));
            plist_array_append_item(values, plist_new_uid(encode(value)));
        }
        setClass(object, kDictionaryClass);
        return uid;
    }

    uint64_t encodeArray(const KCArray& array)
    {
        plist_t object = plist_new_dict();
        uint64_t uid = append(object);
        plist_t values = plist_new_array();
        plist_dict_set_item(object, "NS.objects", values);
        for (const auto& value : array)
            plist_array_append_item(values, plist_new_uid(encode(value)));
        setClass(object, kArrayClass);
        return uid;
    }

    uint64_t encodeCoding(const KCCoding& coding)
    {
        // Shared objects are written once; this also ends cycles in the object graph.
        if (auto found = objectUIDs.find(&coding); found != objectUIDs.end())
            return found->second;
        plist_t object = plist_new_dict();
        uint64_t uid = append(object);
        objectUIDs.emplace(&coding, uid);
        containers.push_back(object);
        coding.encodeWithCoder(archiver);
        containers.pop_back();
        plist_dict_set_item(object, "$class", plist_new_uid(classUID(coding.classNameForCoder(), coding.classHierarchyForCoder())));
        return uid;
    }

    uint64_t encodeDate(KCDate date)
    {
        plist_t object = plist_new_dict();
        uint64_t uid = append(object);
        plist_dict_set_item(object, "NS.time", plist_new_real(date.timeIntervalSinceReferenceDate));
        setClass(object, kDateClass);
        return uid;
    }

    uint64_t encodeURL(const KCURL& url)
    {
        uint64_t relative = encodeString(url.absoluteString());
        plist_t object = plist_new_dict();
        uint64_t uid = append(object);
        plist_dict_set_item(object, "NS.base", plist_new_uid(0));
        plist_dict_set_item(object, "NS.relative", plist_new_uid(relative));
        setClass(object, kURLClass);
        return uid;
    }

    uint64_t encode(const KCValue& value);

    plist_t container(std::string_view key)
    {
        if (containers.empty()) {
            KCLog("Cannot archive \"%@\" outside of an object's encodeWithCoder", key);
            return nullptr;
        }
        return containers.back();
    }

    void set(std::string_view key, plist_t node)
    {
        if (plist_t object = container(key))
            plist_dict_set_item(object, std::string(key).c_str(), node);
        else
            plist_free(node);
    }
};

uint64_t KCKeyedArchiver::State::encode(const KCValue& value)
{
    switch (value.kind()) {
    case KCValue::Kind::Null:
        return 0;
    case KCValue::Kind::Boolean:
        return append(plist_new_bool(*value.exactBoolean()));
    case KCValue::Kind::Integer:
        // Negative values keep their bits: the archive's integers are signed 64-bit.
        return append(plist_new_uint(static_cast<uint64_t>(*value.int64Value())));
    case KCValue::Kind::Unsigned:
        return append(KCPlistNewUnsigned(*value.uint64Value()));
    case KCValue::Kind::Double:
        return append(plist_new_real(*value.doubleValue()));
    case KCValue::Kind::String:
        return encodeString(KCUTF8FromUTF16(*value.string()));
    case KCValue::Kind::Data:
        return append(plist_new_data(reinterpret_cast<const char*>(value.data()->data()), value.data()->size()));
    case KCValue::Kind::Date:
        return encodeDate(*value.date());
    case KCValue::Kind::URL:
        return encodeURL(*value.url());
    case KCValue::Kind::Array:
        return encodeArray(*value.array());
    case KCValue::Kind::Dictionary:
        return encodeDictionary(*value.dictionary());
    case KCValue::Kind::Object:
        if (auto coding = value.objectAs<KCCoding>())
            return encodeCoding(*coding);
        KCLog("Cannot archive %@: it does not support keyed coding; writing null", value.object());
        return 0;
    }
    return 0;
}

KCKeyedArchiver::KCKeyedArchiver() : m_state(std::make_unique<State>(*this))
{
}

KCKeyedArchiver::~KCKeyedArchiver() = default;

KCData KCKeyedArchiver::archivedDataWithRootObject(const KCValue& root)
{
    KCKeyedArchiver archiver;
    State& state = *archiver.m_state;
    state.append(plist_new_string(kKCKeyedArchiveNullEntry));
    uint64_t rootUID = state.encode(root);

    KCPlistPointer archive(plist_new_dict());
    plist_t top = plist_new_dict();
    plist_dict_set_item(top, "root", plist_new_uid(rootUID));
    plist_dict_set_item(archive.get(), "$version", plist_new_uint(kKCKeyedArchiverVersion));
    plist_dict_set_item(archive.get(), "$archiver", plist_new_string(kKCKeyedArchiverName));
    plist_dict_set_item(archive.get(), "$top", top);
    plist_dict_set_item(archive.get(), "$objects", state.objects.release());

    char* bytes = nullptr;
    uint32_t length = 0;
    plist_to_bin(archive.get(), &bytes, &length);
    KCData data(reinterpret_cast<const uint8_t*>(bytes), reinterpret_cast<const uint8_t*>(bytes) + (bytes ? length : 0));
    plist_to_bin_free(bytes);
    return data;
}

void KCKeyedArchiver::encodeBytes(const uint8_t* bytes, size_t length, std::string_view key)
{
    m_state->set(key, plist_new_data(reinterpret_cast<const char*>(bytes), bytes ? length : 0));
}

void KCKeyedArchiver::encodeObject(const KCValue& value, std::string_view key)
{
    if (m_state->container(key))
        m_state->set(key, plist_new_uid(m_state->encode(value)));
}

void KCKeyedArchiver::encodeDictionary(const KCDictionaryEntries& entries, std::string_view key)
{
    if (m_state->container(key))
        m_state->set(key, plist_new_uid(m_state->encodeDictionary(entries)));
}

void KCKeyedArchiver::encodeInt64(int64_t value, std::string_view key)
{
    m_state->set(key, plist_new_uint(static_cast<uint64_t>(value)));
}

void KCKeyedArchiver::encodeDouble(double value, std::string_view key)
{
    m_state->set(key, plist_new_real(value));
}

void KCKeyedArchiver::encodeBool(bool value, std::string_view key)
{
    m_state->set(key, plist_new_bool(value));
}
