#include "PMBookJSON.h"

#include "Utilities/KCJSON.h"
#include "Utilities/KCStringConversion.h"

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
    json["resources"] = KCJSONFromValue(book.resourceInformation()).value_or(nullptr);
    return json;
}

std::string PMJSONText(const nlohmann::ordered_json& json)
{
    return json.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}
