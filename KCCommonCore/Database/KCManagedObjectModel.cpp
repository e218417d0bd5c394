#include "KCManagedObjectModel.h"

#include "Utilities/KCLogger.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <limits>
#include <set>

namespace {

struct TypeName {
    KCAttributeType type;
    const char* name;
};

constexpr TypeName kTypeNames[] = {
    {KCAttributeType::Integer16, "integer16"}, {KCAttributeType::Integer32, "integer32"},
    {KCAttributeType::Integer64, "integer64"}, {KCAttributeType::Boolean, "boolean"},
    {KCAttributeType::Double, "double"}, {KCAttributeType::String, "string"},
    {KCAttributeType::Date, "date"}, {KCAttributeType::Value, "value"},
};

// Names of our own columns and reserved words are not attribute names.
bool isValidName(const std::string& name)
{
    if (name.empty() || name.size() > 128 || name[0] == '_' || std::isdigit(static_cast<unsigned char>(name[0])))
        return false;
    for (char c : name) {
        if (!std::isalnum(static_cast<unsigned char>(c)) && c != '_')
            return false;
    }
    return true;
}

std::optional<KCValue> defaultFromJSON(KCAttributeType type, const nlohmann::json& value)
{
    if (value.is_null())
        return KCValue();
    if (value.is_boolean())
        return KCAttributeValue(type, KCValue(value.get<bool>()));
    if (value.is_number_integer())
        return KCAttributeValue(type, KCValue(value.get<int64_t>()));
    if (value.is_number_float())
        return KCAttributeValue(type, KCValue(value.get<double>()));
    if (value.is_string() && type == KCAttributeType::String)
        return KCValue::fromUTF8(value.get<std::string>());
    return std::nullopt;
}

} // namespace

std::optional<KCAttributeType> KCAttributeTypeNamed(std::string_view name)
{
    for (const auto& entry : kTypeNames) {
        if (name == entry.name)
            return entry.type;
    }
    return std::nullopt;
}

const char* KCAttributeTypeName(KCAttributeType type)
{
    for (const auto& entry : kTypeNames) {
        if (entry.type == type)
            return entry.name;
    }
    return "unknown";
}

std::optional<KCValue> KCAttributeValue(KCAttributeType type, const KCValue& value)
{
    if (value.isNull())
        return value;
    switch (type) {
    case KCAttributeType::Integer16:
        if (auto number = value.int64Value())
            return KCValue(static_cast<int64_t>(static_cast<int16_t>(*number)));
        return std::nullopt;
    case KCAttributeType::Integer32:
        if (auto number = value.int64Value())
            return KCValue(static_cast<int64_t>(static_cast<int32_t>(*number)));
        return std::nullopt;
    case KCAttributeType::Integer64:
        if (value.kind() == KCValue::Kind::Integer)
            return value;
        if (auto number = value.int64Value())
            return KCValue(*number);
        return std::nullopt;
    case KCAttributeType::Boolean:
        if (auto flag = value.boolValue())
            return KCValue(*flag);
        return std::nullopt;
    case KCAttributeType::Double:
        if (value.kind() == KCValue::Kind::Double)
            return value;
        if (auto number = value.doubleValue())
            return KCValue(*number);
        return std::nullopt;
    case KCAttributeType::String:
        return value.string() ? std::optional<KCValue>(value) : std::nullopt;
    case KCAttributeType::Date:
        return value.date() ? std::optional<KCValue>(value) : std::nullopt;
    case KCAttributeType::Value:
        return value;
    }
    return std::nullopt;
}

const KCAttributeDescription* KCEntityDescription::attributeNamed(std::string_view name) const
{
    auto found = m_attributeIndex.find(name);
    return found == m_attributeIndex.end() ? nullptr : &m_attributes[found->second];
}

const KCEntityDescription* KCManagedObjectModel::entityNamed(std::string_view name) const
{
    for (const auto& entity : m_entities) {
        if (entity->name() == name)
            return entity.get();
    }
    return nullptr;
}

std::shared_ptr<const KCManagedObjectModel> KCManagedObjectModel::modelWithJSON(std::string_view json, KCError* error)
{
    auto fail = [&](const std::string& message) -> std::shared_ptr<const KCManagedObjectModel> {
        KCLog("Invalid object model: %@", message);
        KCSetStoreError(error, KCStoreErrorInvalidModel, "invalid object model: " + message);
        return nullptr;
    };
    nlohmann::json root = nlohmann::json::parse(json, nullptr, false);
    if (root.is_discarded() || !root.is_object())
        return fail("not a JSON object");
    const auto version = root.find("version");
    if (version == root.end() || !version->is_number_integer() || version->get<int64_t>() < 0)
        return fail("no version number");
    const auto entities = root.find("entities");
    if (entities == root.end() || !entities->is_array() || entities->empty())
        return fail("no entities");

    auto model = std::make_shared<KCManagedObjectModel>();
    model->m_version = version->get<int64_t>();
    for (const auto& entityJSON : *entities) {
        if (!entityJSON.is_object() || !entityJSON.contains("name") || !entityJSON["name"].is_string())
            return fail("an entity without a name");
        auto entity = std::make_unique<KCEntityDescription>();
        entity->m_name = entityJSON["name"].get<std::string>();
        if (!isValidName(entity->m_name) || model->entityNamed(entity->m_name))
            return fail("bad or repeated entity name '" + entity->m_name + "'");
        auto className = entityJSON.find("class");
        entity->m_className = className != entityJSON.end() && className->is_string() ? className->get<std::string>() : entity->m_name;
        auto attributes = entityJSON.find("attributes");
        if (attributes == entityJSON.end() || !attributes->is_array())
            return fail("entity '" + entity->m_name + "' has no attributes");
        for (const auto& attributeJSON : *attributes) {
            if (!attributeJSON.is_object() || !attributeJSON.contains("name") || !attributeJSON["name"].is_string()
                || !attributeJSON.contains("type") || !attributeJSON["type"].is_string())
                return fail("an attribute of '" + entity->m_name + "' lacks a name or type");
            KCAttributeDescription attribute;
            attribute.name = attributeJSON["name"].get<std::string>();
            auto type = KCAttributeTypeNamed(attributeJSON["type"].get<std::string>());
            if (!isValidName(attribute.name) || !type || entity->m_attributeIndex.count(attribute.name))
                return fail("bad attribute '" + attribute.name + "' in '" + entity->m_name + "'");
            attribute.type = *type;
            if (auto defaultValue = attributeJSON.find("default"); defaultValue != attributeJSON.end()) {
                auto value = defaultFromJSON(attribute.type, *defaultValue);
                if (!value)
                    return fail("bad default of '" + attribute.name + "'");
                attribute.defaultValue = *value;
            }
            attribute.indexed = attributeJSON.value("indexed", false);
            attribute.index = entity->m_attributes.size();
            entity->m_attributeIndex.emplace(attribute.name, attribute.index);
            entity->m_attributes.push_back(std::move(attribute));
        }
        if (auto indexes = entityJSON.find("indexes"); indexes != entityJSON.end()) {
            if (!indexes->is_array())
                return fail("indexes of '" + entity->m_name + "' are not a list");
            for (const auto& indexJSON : *indexes) {
                std::vector<std::string> columns;
                if (!indexJSON.is_array() || indexJSON.empty())
                    return fail("an index of '" + entity->m_name + "' is not a list of attributes");
                for (const auto& column : indexJSON) {
                    if (!column.is_string() || !entity->attributeNamed(column.get<std::string>()))
                        return fail("an index of '" + entity->m_name + "' names an unknown attribute");
                    columns.push_back(column.get<std::string>());
                }
                entity->m_indexes.push_back(std::move(columns));
            }
        }
        for (const auto& attribute : entity->m_attributes) {
            if (attribute.indexed)
                entity->m_indexes.push_back({attribute.name});
        }
        model->m_entities.push_back(std::move(entity));
    }
    return model;
}
