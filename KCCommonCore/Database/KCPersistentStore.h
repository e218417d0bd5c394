#pragma once
// One SQLite store file: its tables (one per entity, one column per
// attribute), its metadata table, and the SQL of fetches and saves. Opening
// refuses files that are not our stores and stores of a newer model without
// writing to them, and migrates stores of an older model by adding columns.
// Callers serialise every use under the coordinator's lock.
// Errors: open, fetches, count and save answer nothing (false) and fill *error when the file is not our store, needs a migration it may not do, or SQLite fails; once a statement has found the file damaged, save refuses (KCStoreErrorDamaged).
#include "KCFetchRequest.h"
#include "KCManagedObjectModel.h"
#include "KCStoreError.h"
#include "Utilities/KCURL.h"
#include "Utilities/KCValue.h"

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

class KCSQLiteDatabase;

using KCStoreRowVisitor = std::function<void(std::span<const KCValue> values)>;
// A streamed row as a fetch's dictionary: the named values, nulls left out.
KCDictionary KCDictionaryFromRow(const std::vector<std::string>& names, std::span<const KCValue> values);
class KCSQLiteStatement;

extern const char* const KCSQLiteStoreType;              // "SQLite"
extern const char* const KCStoreModelVersionKey;         // "KCStoreModelVersion"
extern const char* const KCStoreUUIDKey;                 // "KCStoreUUID"
extern const char* const KCStoreTypeKey;                 // "KCStoreType"

struct KCPersistentStoreOptions {
    bool migratePersistentStoresAutomatically = false;
    bool inferMappingModelAutomatically = false;
};

// A row as stored: its primary key, its optimistic-locking version and one value per attribute.
struct KCStoreRow {
    int64_t primaryKey = 0;
    int64_t version = 0;
    std::vector<KCValue> values;
};

// The changes of one save. The store fills in the keys of inserted rows and,
// for updates, the new version and the stored row when someone else changed it meanwhile.
struct KCStoreChanges {
    struct Insert {
        const KCEntityDescription* entity;
        const std::vector<KCValue>* values;
        int64_t primaryKey = 0;
    };
    struct Update {
        const KCEntityDescription* entity;
        int64_t primaryKey;
        int64_t knownVersion;
        const std::vector<KCValue>* values;
        std::vector<size_t> changedAttributes;
        int64_t newVersion = 0;
        std::optional<KCStoreRow> storedRow;  // set on a conflict, after the update
    };
    struct Delete {
        const KCEntityDescription* entity;
        int64_t primaryKey;
    };
    std::vector<Insert> inserts;
    std::vector<Update> updates;
    std::vector<Delete> deletes;
    bool empty() const { return inserts.empty() && updates.empty() && deletes.empty(); }
};

class KCPersistentStore {
public:
    static std::shared_ptr<KCPersistentStore> open(const KCURL& url, std::shared_ptr<const KCManagedObjectModel> model, const KCPersistentStoreOptions& options, KCError* error);
    ~KCPersistentStore();

    const KCURL& URL() const { return m_url; }
    const std::string& type() const;
    std::string identifier() const;

    // The whole store metadata, our own keys included; changes are written with the next save.
    const KCDictionary& metadata() const { return m_metadata; }
    void setMetadata(const KCDictionary& metadata);
    bool hasMetadataToWrite() const { return m_metadataToWrite; }

    bool fetchRows(const KCFetchRequest& request, const KCEntityDescription& entity, bool applyLimit, std::vector<KCStoreRow>& rows, KCError* error);
    std::optional<KCStoreRow> fetchRow(const KCEntityDescription& entity, int64_t primaryKey, KCError* error);
    std::optional<std::vector<KCDictionary>> fetchDictionaries(const KCFetchRequest& request, const KCEntityDescription& entity, KCError* error);
    // The rows of a dictionary fetch one at a time, without a dictionary per
    // row: `names` gets the column names, each row its values in that order
    // (null where the store has none).
    bool enumerateDictionaryRows(const KCFetchRequest& request, const KCEntityDescription& entity, std::vector<std::string>& names, const KCStoreRowVisitor& visit, KCError* error);
    std::optional<size_t> count(const KCFetchRequest& request, const KCEntityDescription& entity, KCError* error);

    // Applies the changes and any metadata change in one transaction.
    bool save(KCStoreChanges& changes, KCError* error);

private:
    struct EntitySQL {
        std::string select;  // SELECT "_pk","_opt",<columns> FROM "<entity>"
        std::string insert;
        std::string versionOf;
        std::string remove;
    };

    KCPersistentStore(KCURL url, std::shared_ptr<const KCManagedObjectModel> model, std::unique_ptr<KCSQLiteDatabase> database);
    bool prepareStore(const KCPersistentStoreOptions& options, KCError* error);
    bool checkStoreOfOurs(bool& fresh, KCError* error);
    std::optional<std::set<std::string>> tableColumns(const KCEntityDescription& entity, KCError* error);
    bool createSchema(bool fresh, KCError* error);
    bool readMetadata(KCError* error);
    bool writeMetadata(KCError* error);
    bool needsMigration(bool& needed, KCError* error);
    const EntitySQL& sqlFor(const KCEntityDescription& entity);
    bool appendWhere(const KCFetchRequest& request, const KCEntityDescription& entity, std::string& sql, std::vector<KCValue>& bindings, KCError* error);
    bool appendOrder(const std::vector<KCSortDescriptor>& sort, const KCEntityDescription& entity, std::string& sql, KCError* error);
    void readRow(const KCSQLiteStatement& statement, const KCEntityDescription& entity, KCStoreRow& row);

    KCURL m_url;
    std::shared_ptr<const KCManagedObjectModel> m_model;
    std::unique_ptr<KCSQLiteDatabase> m_database;
    KCDictionary m_metadata;
    bool m_metadataToWrite = false;
    std::unordered_map<const KCEntityDescription*, EntitySQL> m_entitySQL;
};
