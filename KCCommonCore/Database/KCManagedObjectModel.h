#pragma once
// The object model: entities, their attributes and a model version number,
// read from a JSON resource:
//   {"version": 2, "entities": [{"name": "Item", "class": "Item",
//     "attributes": [{"name": "title", "type": "string", "default": "", "indexed": true}, ...],
//     "indexes": [["a", "b"]]}]}
// Attribute types: integer16, integer32, integer64, boolean, double, string,
// date (seconds since 2001-01-01) and value (any value, stored encoded).
// Errors: modelWithJSON answers nothing, logs and fills *error for JSON that is not a valid model.
#include "KCStoreError.h"
#include "Utilities/KCValue.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

enum class KCAttributeType { Integer16, Integer32, Integer64, Boolean, Double, String, Date, Value };

std::optional<KCAttributeType> KCAttributeTypeNamed(std::string_view name);
const char* KCAttributeTypeName(KCAttributeType type);

// The value as an attribute of the type holds it: numbers take the attribute's
// number kind (32-bit attributes are narrowed), strings and dates must match.
// Nothing when the value cannot be held; null stays null.
std::optional<KCValue> KCAttributeValue(KCAttributeType type, const KCValue& value);

struct KCAttributeDescription {
    std::string name;
    KCAttributeType type = KCAttributeType::String;
    KCValue defaultValue;
    bool indexed = false;
    size_t index = 0;  // position among the entity's attributes
};

class KCEntityDescription {
public:
    const std::string& name() const { return m_name; }
    const std::string& managedObjectClassName() const { return m_className; }
    const std::vector<KCAttributeDescription>& attributes() const { return m_attributes; }
    const std::vector<std::vector<std::string>>& indexes() const { return m_indexes; }
    const KCAttributeDescription* attributeNamed(std::string_view name) const;

private:
    friend class KCManagedObjectModel;
    struct Hash {
        using is_transparent = void;
        size_t operator()(std::string_view s) const { return std::hash<std::string_view>()(s); }
    };
    std::string m_name;
    std::string m_className;
    std::vector<KCAttributeDescription> m_attributes;
    std::vector<std::vector<std::string>> m_indexes;
    std::unordered_map<std::string, size_t, Hash, std::equal_to<>> m_attributeIndex;
};

class KCManagedObjectModel {
public:
    static std::shared_ptr<const KCManagedObjectModel> modelWithJSON(std::string_view json, KCError* error = nullptr);

    int64_t version() const { return m_version; }
    const std::vector<std::unique_ptr<KCEntityDescription>>& entities() const { return m_entities; }
    const KCEntityDescription* entityNamed(std::string_view name) const;

private:
    int64_t m_version = 0;
    std::vector<std::unique_ptr<KCEntityDescription>> m_entities;
};
