#include "PMBookJSON.h"

#include "Utilities/KCStringConversion.h"

nlohmann::ordered_json PMJSONFromValue(const KCValue& value)
{
    switch (value.kind()) {
    case KCValue::Kind::Null:
        return nullptr;
    case KCValue::Kind::Boolean:
        return *value.boolValue();
    case KCValue::Kind::Integer:
        return *value.int64Value();
    case KCValue::Kind::Unsigned:
        return *value.uint64Value();
    case KCValue::Kind::Double:
        return *value.doubleValue();
    case KCValue::Kind::String:
        return value.utf8String();
    case KCValue::Kind::Data:
        return value.data()->size();
    case KCValue::Kind::Array: {
        auto array = nlohmann::ordered_json::array();
        for (const auto& element : *value.array())
            array.push_back(PMJSONFromValue(element));
        return array;
    }
    case KCValue::Kind::Dictionary: {
        auto object = nlohmann::ordered_json::object();
        for (const auto& [key, element] : *value.dictionary())
            object[key] = PMJSONFromValue(element);
        return object;
    }
    default:
        return value.description();
    }
}

nlohmann::ordered_json PMBookInfoJSON(const PMBook& book)
{
    const PMPackage& package = book.package();
    nlohmann::ordered_json json;
    json["contentsPath"] = book.contentsPath();
    json["packagePath"] = book.packagePath();
    json["uniqueIdentifier"] = package.uniqueIdentifier;
    json["bookEpubId"] = KCUTF8FromUTF16(book.bookEpubId());
    auto uuidForm = book.bookEpubIdWithUUIDScheme();
    json["bookEpubIdWithUUIDScheme"] = uuidForm ? nlohmann::ordered_json(KCUTF8FromUTF16(*uuidForm)) : nlohmann::ordered_json(nullptr);
    json["identifiers"] = package.identifiers;
    json["title"] = package.title;
    json["creator"] = package.creator;
    json["language"] = package.language;
    auto manifest = nlohmann::ordered_json::array();
    for (const auto& item : package.manifest)
        manifest.push_back({{"id", item.identifier}, {"href", item.href}, {"path", item.path}, {"mediaType", item.mediaType}, {"properties", item.properties}});
    json["manifest"] = std::move(manifest);
    auto spine = nlohmann::ordered_json::array();
    for (const auto& item : package.spine)
        spine.push_back({{"idref", item.idref}, {"path", item.path}, {"linear", item.linear}});
    json["spine"] = std::move(spine);
    json["resources"] = PMJSONFromValue(book.resourceInformation());
    return json;
}

std::string PMJSONText(const nlohmann::ordered_json& json)
{
    return json.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}
