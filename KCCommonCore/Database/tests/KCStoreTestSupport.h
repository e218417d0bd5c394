#pragma once
// A scratch directory and a small object model for the store tests.
#include "Database/KCManagedObjectModel.h"
#include "Database/KCPersistentStoreCoordinator.h"
#include "Utilities/tests/KCTestFiles.h"

// Version 2 of the test model; version 1 lacked "rating" and "extra".
inline std::string KCTestModelJSON(int version = 2)
{
    std::string attributes = R"([
        {"name": "title", "type": "string", "indexed": true},
        {"name": "count", "type": "integer32"},
        {"name": "sortKey", "type": "integer64"},
        {"name": "flag", "type": "boolean", "default": false},
        {"name": "score", "type": "double"},
        {"name": "when", "type": "date"},
        {"name": "payload", "type": "value"})";
    if (version >= 2)
        attributes += R"(, {"name": "rating", "type": "integer16", "default": 3}, {"name": "extra", "type": "string"})";
    return R"({"version": )" + std::to_string(version) + R"(, "entities": [{"name": "Item", "attributes": )" + attributes + "]}]}";
}

inline std::shared_ptr<const KCManagedObjectModel> KCTestModel(int version = 2)
{
    return KCManagedObjectModel::modelWithJSON(KCTestModelJSON(version));
}

// Opens, creating or migrating, the store at `url` with the model the JSON describes.
inline std::shared_ptr<KCPersistentStoreCoordinator> KCOpenStoreWithModel(const KCURL& url, const std::string& modelJSON, KCError* error = nullptr)
{
    auto coordinator = std::make_shared<KCPersistentStoreCoordinator>(KCManagedObjectModel::modelWithJSON(modelJSON));
    if (!coordinator->addPersistentStore("SQLite", url, KCPersistentStoreOptions {true, true}, error))
        return nullptr;
    return coordinator;
}

inline std::shared_ptr<KCPersistentStoreCoordinator> KCOpenTestStore(const KCURL& url, int version = 2, KCError* error = nullptr)
{
    return KCOpenStoreWithModel(url, KCTestModelJSON(version), error);
}
