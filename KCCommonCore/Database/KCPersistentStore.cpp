#include "KCPersistentStore.h"

#include "KCPersistentStoreInternal.h"
#include "KCSQLiteDatabase.h"

#include <glib.h>
#include <sqlite3.h>

const char* const KCSQLiteStoreType = "SQLite";
const char* const KCStoreModelVersionKey = "KCStoreModelVersion";
const char* const KCStoreUUIDKey = "KCStoreUUID";
const char* const KCStoreTypeKey = "KCStoreType";

std::shared_ptr<KCPersistentStore> KCPersistentStore::open(const KCURL& url, std::shared_ptr<const KCManagedObjectModel> model, const KCPersistentStoreOptions& options, KCError* error)
{
    if (!url.isFileURL() || url.path().empty()) {
        KCSetStoreError(error, KCStoreErrorCannotOpen, "the store URL " + url.absoluteString() + " is not a file URL");
        return nullptr;
    }
    bool exists = false;
    if (!model || !KCIsSQLiteFileOrEmpty(url.path(), exists, error)) {
        if (!model)
            KCSetStoreError(error, KCStoreErrorInvalidModel, "no object model");
        return nullptr;
    }
    auto database = KCSQLiteDatabase::open(url.path(), error);
    if (!database)
        return nullptr;
    std::shared_ptr<KCPersistentStore> store(new KCPersistentStore(url, std::move(model), std::move(database)));
    if (!store->prepareStore(options, error))
        return nullptr;
    return store;
}

KCPersistentStore::KCPersistentStore(KCURL url, std::shared_ptr<const KCManagedObjectModel> model, std::unique_ptr<KCSQLiteDatabase> database)
    : m_url(std::move(url)), m_model(std::move(model)), m_database(std::move(database))
{
}

KCPersistentStore::~KCPersistentStore() = default;

const std::string& KCPersistentStore::type() const
{
    static const std::string type = KCSQLiteStoreType;
    return type;
}

std::string KCPersistentStore::identifier() const
{
    return KCStoreMetadataValue(m_metadata, KCStoreUUIDKey).utf8String();
}

// Nothing is written until the file is known to be ours and not newer than the model.
bool KCPersistentStore::prepareStore(const KCPersistentStoreOptions& options, KCError* error)
{
    bool fresh = false;
    if (!checkStoreOfOurs(fresh, error))
        return false;
    // WAL: readers never block the writer, and a commit is one append to the log.
    if (!m_database->execute("PRAGMA journal_mode = WAL", error) || !m_database->execute("PRAGMA synchronous = FULL", error))
        return false;
    if (fresh) {
        m_metadata = KCDictionary();
        m_metadata.set(KCStoreTypeKey, KCValue::fromUTF8(KCSQLiteStoreType));
        gchar* uuid = g_uuid_string_random();
        m_metadata.set(KCStoreUUIDKey, KCValue::fromUTF8(uuid));
        g_free(uuid);
        return createSchema(true, error);
    }
    bool migrate = false;
    if (!needsMigration(migrate, error))
        return false;
    if (!migrate)
        return true;
    if (!options.migratePersistentStoresAutomatically || !options.inferMappingModelAutomatically)
        return KCSetStoreError(error, KCStoreErrorMigrationRequired, "the store needs migrating to model version " + std::to_string(m_model->version()));
    return createSchema(false, error);
}

bool KCPersistentStore::readMetadata(KCError* error)
{
    auto statement = m_database->prepare(std::string("SELECT key, value FROM ") + KCStoreMetadataTable + " ORDER BY rowid", error);
    if (!statement)
        return false;
    KCDictionary metadata;
    int result;
    while ((result = statement.step()) == SQLITE_ROW) {
        KCValue value = statement.columnValue(1, KCAttributeType::Value);
        metadata.set(statement.columnText(0), std::move(value));
    }
    if (result != SQLITE_DONE)
        return m_database->failure(error, "reading the store metadata");
    m_metadata = std::move(metadata);
    return true;
}

bool KCPersistentStore::writeMetadata(KCError* error)
{
    if (!m_database->execute(std::string("DELETE FROM ") + KCStoreMetadataTable, error))
        return false;
    auto statement = m_database->prepare(std::string("INSERT INTO ") + KCStoreMetadataTable + " (key, value) VALUES (?, ?)", error);
    if (!statement)
        return false;
    for (const auto& [key, value] : m_metadata) {
        statement.bindText(1, key);
        statement.bind(2, value, KCAttributeType::Value);
        if (statement.step() != SQLITE_DONE)
            return m_database->failure(error, "writing the store metadata");
        sqlite3_reset(statement.get());
    }
    return true;
}

void KCPersistentStore::setMetadata(const KCDictionary& metadata)
{
    // Our own keys describe the file and are not the caller's to change.
    KCDictionary merged = metadata;
    for (const char* key : {KCStoreTypeKey, KCStoreUUIDKey, KCStoreModelVersionKey}) {
        if (const KCValue* value = m_metadata.find(key))
            merged.set(key, *value);
    }
    m_metadata = std::move(merged);
    m_metadataToWrite = true;
}

const KCPersistentStore::EntitySQL& KCPersistentStore::sqlFor(const KCEntityDescription& entity)
{
    auto found = m_entitySQL.find(&entity);
    if (found != m_entitySQL.end())
        return found->second;
    EntitySQL sql;
    std::string table = KCQuotedSQLName(entity.name());
    std::string columns, placeholders;
    for (const auto& attribute : entity.attributes()) {
        columns.append(1, ',').append(KCQuotedSQLName(attribute.name));
        placeholders += ",?";
    }
    sql.select = "SELECT \"_pk\",\"_opt\"" + columns + " FROM " + table;
    sql.insert = "INSERT INTO " + table + " (\"_opt\"" + columns + ") VALUES (1" + placeholders + ")";
    sql.versionOf = "SELECT \"_opt\" FROM " + table + " WHERE \"_pk\" = ?";
    sql.remove = "DELETE FROM " + table + " WHERE \"_pk\" = ?";
    return m_entitySQL.emplace(&entity, std::move(sql)).first->second;
}
