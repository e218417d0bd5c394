#pragma once
// Property-list plumbing shared by the keyed archiver and unarchiver.
#include <plist/plist.h>

#include <cstdint>
#include <limits>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

inline constexpr const char* kKCKeyedArchiverName = "NSKeyedArchiver";
inline constexpr uint64_t kKCKeyedArchiverVersion = 100000;
inline constexpr const char* kKCKeyedArchiveNullEntry = "$null";

struct KCPlistDeleter {
    void operator()(void* node) const { plist_free(static_cast<plist_t>(node)); }
};
using KCPlistPointer = std::unique_ptr<void, KCPlistDeleter>;

inline std::string_view KCPlistStringValue(plist_t node)
{
    uint64_t length = 0;
    const char* text = plist_get_string_ptr(node, &length);
    return text ? std::string_view(text, length) : std::string_view();
}

inline std::optional<uint64_t> KCPlistUIDValue(plist_t node)
{
    if (!node || plist_get_node_type(node) != PLIST_UID)
        return std::nullopt;
    uint64_t uid = 0;
    plist_get_uid_val(node, &uid);
    return uid;
}

// Visits an array's items in order until visit answers false. Parsed arrays
// have no index: plist_array_get_item would walk from the first item each time.
template <typename Visit>
void KCPlistForEachItem(plist_t array, Visit visit)
{
    plist_array_iter iterator = nullptr;
    plist_array_new_iter(array, &iterator);
    std::unique_ptr<void, decltype(&std::free)> owner(iterator, &std::free);
    plist_t item = nullptr;
    for (plist_array_next_item(array, iterator, &item); item; plist_array_next_item(array, iterator, &item)) {
        if (!visit(item))
            return;
    }
}

inline plist_t KCPlistItemOfType(plist_t dictionary, std::string_view key, plist_type type)
{
    plist_t item = plist_dict_get_item(dictionary, std::string(key).c_str());
    return item && plist_get_node_type(item) == type ? item : nullptr;
}

// libplist keeps an integer's signedness in its width alone: a value from
// 2^63 up is unsigned in 16 bytes and negative in 8. Its API builds the
// 16-byte kind only from text and tells the two apart only in text.
inline plist_t KCPlistNewUnsigned(uint64_t value)
{
    if (value <= static_cast<uint64_t>(std::numeric_limits<int64_t>::max()))
        return plist_new_uint(value);
    std::string xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?><plist version=\"1.0\"><integer>" + std::to_string(value) + "</integer></plist>";
    plist_t node = nullptr;
    plist_from_xml(xml.c_str(), static_cast<uint32_t>(xml.size()), &node);
    return node ? node : plist_new_uint(value);
}

// True for an integer node of 2^63 or more that is stored unsigned.
inline bool KCPlistIsLargeUnsigned(plist_t node)
{
    uint64_t value = 0;
    plist_get_uint_val(node, &value);
    if (value <= static_cast<uint64_t>(std::numeric_limits<int64_t>::max()))
        return false;
    char* xml = nullptr;
    uint32_t length = 0;
    plist_to_xml(node, &xml, &length);
    bool negative = !xml || std::string_view(xml, length).find("<integer>-") != std::string_view::npos;
    plist_to_xml_free(xml);
    return !negative;
}
