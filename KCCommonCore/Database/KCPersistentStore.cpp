#include "KCPersistentStore.h"

#include "KCSQLiteDatabase.h"
#include "KCStoreValueCoding.h"
#include "Utilities/KCLogger.h"

#include <glib.h>
#include <sqlite3.h>

#include <charconv>
#include <cstring>
#include <fstream>
#include <set>
#include <sys/stat.h>

const char* const KCSQLiteStoreType = "SQLite";
const char* const KCStoreModelVersionKey = "KCStoreModelVersion";
const char* const KCStoreUUIDKey = "KCStoreUUID";
const char* const KCStoreTypeKey = "KCStoreType";

namespace {

constexpr const char* kMetadataTable = "KCStoreMetadata";

const KCValue& metadataValue(const KCDictionary& metadata, std::string_view key)
{
    const KCValue* value = metadata.find(key);
    return value ? *value : KCNullValue();
}

std::string quoted(std::string_view name)
{
    std::string text;
    text.reserve(name.size() + 2);
    text.append(1, '"').append(name).append(1, '"');
    return text;
}

const char* columnType(KCAttributeType type)
{
    switch (type) {
    case KCAttributeType::Integer16:
    case KCAttributeType::Integer32:
    case KCAttributeType::Integer64:
    case KCAttributeType::Boolean: return "INTEGER";
    case KCAttributeType::Double:
    case KCAttributeType::Date: return "REAL";
    case KCAttributeType::String: return "TEXT";
    case KCAttributeType::Value: return "BLOB";
    }
    return "BLOB";
}

// The default of an attribute as an SQL literal, for columns added to existing rows.
std::string defaultLiteral(const KCAttributeDescription& attribute)
{
    const KCValue& value = attribute.defaultValue;
    if (value.isNull())
        return "NULL";
    if (attribute.type == KCAttributeType::Value) {
        static const char hex[] = "0123456789ABCDEF";
        std::string literal = "X'";
        for (uint8_t byte : KCEncodeStoreValue(value).value_or(KCData()))
            literal += {hex[byte >> 4], hex[byte & 15]};
        return literal + "'";
    }
    if (const std::u16string* text = value.string()) {
        std::string literal = "'";
        for (char c : value.utf8String())
            literal += c == '\'' ? std::string("''") : std::string(1, c);
        (void)text;
        return literal + "'";
    }
    if (value.kind() == KCValue::Kind::Double) {
        char text[64];
        auto result = std::to_chars(text, text + sizeof text, *value.doubleValue());
        return std::string(text, result.ptr);
    }
    return std::to_string(*value.int64Value());
}

std::string columnDefinition(const KCAttributeDescription& attribute)
{
    return quoted(attribute.name) + " " + columnType(attribute.type) + " DEFAULT " + defaultLiteral(attribute);
}

std::string indexName(const KCEntityDescription& entity, const std::vector<std::string>& columns)
{
    std::string name = entity.name() + "_index";
    for (const auto& column : columns)
        name.append(1, '_').append(column);
    return quoted(name);
}

const char* aggregateFunction(std::string_view function)
{
    static const std::pair<std::string_view, const char*> functions[] = {
        {"max:", "MAX"}, {"min:", "MIN"}, {"sum:", "SUM"}, {"count:", "COUNT"}, {"average:", "AVG"}};
    for (const auto& [name, sql] : functions) {
        if (name == function)
            return sql;
    }
    return nullptr;
}

bool isSQLiteFileOrEmpty(const std::string& path, bool& exists, KCError* error)
{
    struct stat status {};
    exists = ::stat(path.c_str(), &status) == 0;
    if (!exists)
        return true;
    if (!S_ISREG(status.st_mode))
        return KCSetStoreError(error, KCStoreErrorCannotOpen, path + " is not a file");
    if (status.st_size == 0)
        return true;
    char header[16] = {};
    std::ifstream file(path, std::ios::binary);
    if (!file.read(header, sizeof header) || std::memcmp(header, "SQLite format 3", 16) != 0)
        return KCSetStoreError(error, KCStoreErrorNotAStore, path + " is not a store file");
    return true;
}

} // namespace

std::shared_ptr<KCPersistentStore> KCPersistentStore::open(const KCURL& url, std::shared_ptr<const KCManagedObjectModel> model, const KCPersistentStoreOptions& options, KCError* error)
{
    if (!url.isFileURL() || url.path().empty()) {
        KCSetStoreError(error, KCStoreErrorCannotOpen, "the store URL " + url.absoluteString() + " is not a file URL");
        return nullptr;
    }
    bool exists = false;
    if (!model || !isSQLiteFileOrEmpty(url.path(), exists, error)) {
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
    return metadataValue(m_metadata, KCStoreUUIDKey).utf8String();
}

// Nothing is written until the file is known to be ours and not newer than the model.
bool KCPersistentStore::prepareStore(const KCPersistentStoreOptions& options, KCError* error)
{
    std::set<std::string> tables;
    {
        auto statement = m_database->prepare("SELECT name FROM sqlite_master WHERE type = 'table'", error);
        if (!statement)
            return KCSetStoreError(error, KCStoreErrorNotAStore, m_url.path() + " is not a store file: " + (error ? error->message : std::string()));
        int result;
        while ((result = statement.step()) == SQLITE_ROW)
            tables.insert(statement.columnText(0));
        if (result != SQLITE_DONE)
            return KCSetStoreError(error, KCStoreErrorNotAStore, m_url.path() + " is not a store file");
    }
    bool fresh = tables.empty();
    if (!fresh) {
        if (!tables.count(kMetadataTable) || !readMetadata(error))
            return KCSetStoreError(error, KCStoreErrorNotAStore, m_url.path() + " is not a store file of ours");
        auto version = metadataValue(m_metadata, KCStoreModelVersionKey).int64Value();
        if (!version)
            return KCSetStoreError(error, KCStoreErrorNotAStore, m_url.path() + " has no model version");
        if (*version > m_model->version())
            return KCSetStoreError(error, KCStoreErrorIncompatibleVersion,
                "the store was written by model version " + std::to_string(*version) + ", newer than this model's " + std::to_string(m_model->version()));
    }
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

bool KCPersistentStore::needsMigration(bool& needed, KCError* error)
{
    needed = metadataValue(m_metadata, KCStoreModelVersionKey).int64Value() != m_model->version();
    for (const auto& entity : m_model->entities()) {
        std::set<std::string> columns;
        auto statement = m_database->prepare("PRAGMA table_info(" + quoted(entity->name()) + ")", error);
        if (!statement)
            return false;
        while (statement.step() == SQLITE_ROW)
            columns.insert(statement.columnText(1));
        for (const auto& attribute : entity->attributes())
            needed = needed || !columns.count(attribute.name);
    }
    return true;
}

// Creates what is missing: tables, columns (existing rows take the default) and indexes.
bool KCPersistentStore::createSchema(bool fresh, KCError* error)
{
    if (!m_database->execute("BEGIN IMMEDIATE", error))
        return false;
    auto fail = [&] {
        m_database->execute("ROLLBACK", nullptr);
        return false;
    };
    if (fresh && !m_database->execute(std::string("CREATE TABLE ") + kMetadataTable + " (key TEXT PRIMARY KEY NOT NULL, value BLOB)", error))
        return fail();
    for (const auto& entity : m_model->entities()) {
        std::string create = "CREATE TABLE IF NOT EXISTS " + quoted(entity->name()) + " (\"_pk\" INTEGER PRIMARY KEY AUTOINCREMENT, \"_opt\" INTEGER NOT NULL DEFAULT 1";
        for (const auto& attribute : entity->attributes())
            create += ", " + columnDefinition(attribute);
        if (!m_database->execute(create + ")", error))
            return fail();
        std::set<std::string> columns;
        {
            auto statement = m_database->prepare("PRAGMA table_info(" + quoted(entity->name()) + ")", error);
            if (!statement)
                return fail();
            while (statement.step() == SQLITE_ROW)
                columns.insert(statement.columnText(1));
        }
        for (const auto& attribute : entity->attributes()) {
            if (!columns.count(attribute.name) && !m_database->execute("ALTER TABLE " + quoted(entity->name()) + " ADD COLUMN " + columnDefinition(attribute), error))
                return fail();
        }
        for (const auto& index : entity->indexes()) {
            std::string sql = "CREATE INDEX IF NOT EXISTS " + indexName(*entity, index) + " ON " + quoted(entity->name()) + " (";
            for (size_t i = 0; i < index.size(); ++i)
                sql += (i ? ", " : "") + quoted(index[i]);
            if (!m_database->execute(sql + ")", error))
                return fail();
        }
    }
    KCDictionary previous = m_metadata;
    m_metadata.set(KCStoreModelVersionKey, KCValue(m_model->version()));
    if (!writeMetadata(error) || !m_database->execute("COMMIT", error)) {
        m_metadata = previous;
        return fail();
    }
    return true;
}

bool KCPersistentStore::readMetadata(KCError* error)
{
    auto statement = m_database->prepare(std::string("SELECT key, value FROM ") + kMetadataTable + " ORDER BY rowid", error);
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
    if (!m_database->execute(std::string("DELETE FROM ") + kMetadataTable, error))
        return false;
    auto statement = m_database->prepare(std::string("INSERT INTO ") + kMetadataTable + " (key, value) VALUES (?, ?)", error);
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
    std::string table = quoted(entity.name());
    std::string columns, placeholders;
    for (const auto& attribute : entity.attributes()) {
        columns.append(1, ',').append(quoted(attribute.name));
        placeholders += ",?";
    }
    sql.select = "SELECT \"_pk\",\"_opt\"" + columns + " FROM " + table;
    sql.insert = "INSERT INTO " + table + " (\"_opt\"" + columns + ") VALUES (1" + placeholders + ")";
    sql.versionOf = "SELECT \"_opt\" FROM " + table + " WHERE \"_pk\" = ?";
    sql.remove = "DELETE FROM " + table + " WHERE \"_pk\" = ?";
    return m_entitySQL.emplace(&entity, std::move(sql)).first->second;
}

bool KCPersistentStore::appendWhere(const KCFetchRequest& request, const KCEntityDescription& entity, std::string& sql, std::vector<KCValue>& bindings, KCError* error)
{
    if (!request.predicate)
        return KCSetStoreError(error, KCStoreErrorInvalidPredicate, "the fetch of " + entity.name() + " has no predicate: its format did not parse");
    sql += " WHERE ";
    return request.predicate->appendSQL(entity, sql, bindings, error);
}

bool KCPersistentStore::appendOrder(const std::vector<KCSortDescriptor>& sort, const KCEntityDescription& entity, std::string& sql, KCError* error)
{
    for (size_t i = 0; i < sort.size(); ++i) {
        if (!entity.attributeNamed(sort[i].key))
            return KCSetStoreError(error, KCStoreErrorUnknownKey, "sort key " + sort[i].key + " not found in entity " + entity.name());
        sql += i ? ", " : " ORDER BY ";
        sql += quoted(sort[i].key) + (sort[i].ascending ? " ASC" : " DESC");
    }
    return true;
}

void KCPersistentStore::readRow(const KCSQLiteStatement& statement, const KCEntityDescription& entity, KCStoreRow& row)
{
    const auto& attributes = entity.attributes();
    row.primaryKey = statement.columnInt64(0);
    row.version = statement.columnInt64(1);
    row.values.clear();
    row.values.reserve(attributes.size());
    for (size_t i = 0; i < attributes.size(); ++i)
        row.values.push_back(statement.columnValue(static_cast<int>(i + 2), attributes[i].type));
}

bool KCPersistentStore::fetchRows(const KCFetchRequest& request, const KCEntityDescription& entity, bool applyLimit, std::vector<KCStoreRow>& rows, KCError* error)
{
    std::string sql = sqlFor(entity).select;
    std::vector<KCValue> bindings;
    if (!appendWhere(request, entity, sql, bindings, error) || !appendOrder(request.sortDescriptors, entity, sql, error))
        return false;
    // Ties keep the order of insertion.
    sql += request.sortDescriptors.empty() ? " ORDER BY \"_pk\"" : ", \"_pk\"";
    if (applyLimit && request.fetchLimit)
        sql += " LIMIT " + std::to_string(request.fetchLimit);
    auto statement = m_database->prepare(sql, error);
    if (!statement)
        return false;
    for (size_t i = 0; i < bindings.size(); ++i)
        statement.bind(static_cast<int>(i + 1), bindings[i]);
    int result;
    while ((result = statement.step()) == SQLITE_ROW) {
        rows.emplace_back();
        readRow(statement, entity, rows.back());
    }
    return result == SQLITE_DONE || m_database->failure(error, sql);
}

std::optional<KCStoreRow> KCPersistentStore::fetchRow(const KCEntityDescription& entity, int64_t primaryKey, KCError* error)
{
    auto statement = m_database->prepare(sqlFor(entity).select + " WHERE \"_pk\" = ?", error);
    if (!statement)
        return std::nullopt;
    statement.bindInt64(1, primaryKey);
    int result = statement.step();
    if (result == SQLITE_ROW) {
        KCStoreRow row;
        readRow(statement, entity, row);
        return row;
    }
    if (result != SQLITE_DONE)
        m_database->failure(error, "fetching a row");
    else
        KCSetStoreError(error, KCStoreErrorObjectDeleted, "the object no longer exists");
    return std::nullopt;
}

std::optional<std::vector<KCDictionary>> KCPersistentStore::fetchDictionaries(const KCFetchRequest& request, const KCEntityDescription& entity, KCError* error)
{
    struct Column {
        std::string name;
        std::optional<KCAttributeType> type;
    };
    std::vector<Column> columns;
    std::string sql = request.returnsDistinctResults ? "SELECT DISTINCT " : "SELECT ";
    auto addColumn = [&](const std::string& expression, std::string name, std::optional<KCAttributeType> type) {
        sql += (columns.empty() ? "" : ", ") + expression;
        columns.push_back({std::move(name), type});
    };
    if (request.propertiesToFetch.empty()) {
        for (const auto& attribute : entity.attributes())
            addColumn(quoted(attribute.name), attribute.name, attribute.type);
    }
    for (const auto& property : request.propertiesToFetch) {
        if (const auto* name = std::get_if<std::string>(&property)) {
            const KCAttributeDescription* attribute = entity.attributeNamed(*name);
            if (!attribute) {
                KCSetStoreError(error, KCStoreErrorUnknownKey, "property " + *name + " not found in entity " + entity.name());
                return std::nullopt;
            }
            addColumn(quoted(*name), *name, attribute->type);
            continue;
        }
        const auto& expression = std::get<KCExpressionDescription>(property);
        const char* function = aggregateFunction(expression.function());
        if (!function || !entity.attributeNamed(expression.keyPath())) {
            KCSetStoreError(error, KCStoreErrorInvalidFetch, "unsupported expression " + expression.function() + " of " + expression.keyPath());
            return std::nullopt;
        }
        std::string call(function);
        call.append(1, '(').append(quoted(expression.keyPath())).append(1, ')');
        addColumn(call, expression.name(), expression.expressionResultType());
    }
    sql += " FROM " + quoted(entity.name());
    std::vector<KCValue> bindings;
    if (!appendWhere(request, entity, sql, bindings, error))
        return std::nullopt;
    std::vector<KCSortDescriptor> order = request.sortDescriptors;
    for (size_t i = 0; i < request.propertiesToGroupBy.size(); ++i) {
        const std::string& key = request.propertiesToGroupBy[i];
        if (!entity.attributeNamed(key)) {
            KCSetStoreError(error, KCStoreErrorUnknownKey, "group key " + key + " not found in entity " + entity.name());
            return std::nullopt;
        }
        sql += (i ? ", " : " GROUP BY ") + quoted(key);
        // Groups come back in the order of their keys unless asked otherwise.
        if (request.sortDescriptors.empty())
            order.push_back({key, true});
    }
    if (!appendOrder(order, entity, sql, error))
        return std::nullopt;
    if (request.fetchLimit)
        sql += " LIMIT " + std::to_string(request.fetchLimit);
    auto statement = m_database->prepare(sql, error);
    if (!statement)
        return std::nullopt;
    for (size_t i = 0; i < bindings.size(); ++i)
        statement.bind(static_cast<int>(i + 1), bindings[i]);
    std::vector<KCDictionary> rows;
    int result;
    while ((result = statement.step()) == SQLITE_ROW) {
        KCDictionary row;
        for (size_t i = 0; i < columns.size(); ++i) {
            int column = static_cast<int>(i);
            KCValue value = columns[i].type ? statement.columnValue(column, *columns[i].type) : statement.columnValue(column);
            if (!value.isNull())
                row.set(columns[i].name, std::move(value));
        }
        rows.push_back(std::move(row));
    }
    if (result != SQLITE_DONE) {
        m_database->failure(error, sql);
        return std::nullopt;
    }
    return rows;
}

std::optional<size_t> KCPersistentStore::count(const KCFetchRequest& request, const KCEntityDescription& entity, KCError* error)
{
    std::string sql = "SELECT COUNT(*) FROM " + quoted(entity.name());
    std::vector<KCValue> bindings;
    if (!appendWhere(request, entity, sql, bindings, error))
        return std::nullopt;
    auto statement = m_database->prepare(sql, error);
    if (!statement)
        return std::nullopt;
    for (size_t i = 0; i < bindings.size(); ++i)
        statement.bind(static_cast<int>(i + 1), bindings[i]);
    if (statement.step() != SQLITE_ROW) {
        m_database->failure(error, sql);
        return std::nullopt;
    }
    auto total = static_cast<size_t>(statement.columnInt64(0));
    return request.fetchLimit ? std::min(total, request.fetchLimit) : total;
}

bool KCPersistentStore::save(KCStoreChanges& changes, KCError* error)
{
    if (changes.empty() && !m_metadataToWrite)
        return true;
    if (!m_database->execute("BEGIN IMMEDIATE", error))
        return false;
    auto fail = [&] {
        m_database->execute("ROLLBACK", nullptr);
        return false;
    };
    for (const auto& removal : changes.deletes) {
        auto statement = m_database->prepare(sqlFor(*removal.entity).remove, error);
        if (!statement)
            return fail();
        statement.bindInt64(1, removal.primaryKey);
        if (statement.step() != SQLITE_DONE)
            return m_database->failure(error, "deleting a row") || fail();
    }
    for (auto& insertion : changes.inserts) {
        const auto& attributes = insertion.entity->attributes();
        auto statement = m_database->prepare(sqlFor(*insertion.entity).insert, error);
        if (!statement)
            return fail();
        for (size_t i = 0; i < attributes.size(); ++i)
            statement.bind(static_cast<int>(i + 1), (*insertion.values)[i], attributes[i].type);
        if (statement.step() != SQLITE_DONE)
            return m_database->failure(error, "inserting a row") || fail();
        insertion.primaryKey = m_database->lastInsertRowID();
    }
    for (auto& update : changes.updates) {
        const EntitySQL& entitySQL = sqlFor(*update.entity);
        int64_t storedVersion = 0;
        {
            auto statement = m_database->prepare(entitySQL.versionOf, error);
            if (!statement)
                return fail();
            statement.bindInt64(1, update.primaryKey);
            int result = statement.step();
            if (result == SQLITE_DONE) {
                KCSetStoreError(error, KCStoreErrorObjectDeleted, "an updated " + update.entity->name() + " was deleted from the store");
                return fail();
            }
            if (result != SQLITE_ROW)
                return m_database->failure(error, "reading a row version") || fail();
            storedVersion = statement.columnInt64(0);
        }
        const auto& attributes = update.entity->attributes();
        std::string sql = "UPDATE " + quoted(update.entity->name()) + " SET ";
        for (size_t index : update.changedAttributes)
            sql += quoted(attributes[index].name) + " = ?, ";
        sql += "\"_opt\" = \"_opt\" + 1 WHERE \"_pk\" = ?";
        auto statement = m_database->prepare(sql, error);
        if (!statement)
            return fail();
        int parameter = 1;
        for (size_t index : update.changedAttributes)
            statement.bind(parameter++, (*update.values)[index], attributes[index].type);
        statement.bindInt64(parameter, update.primaryKey);
        if (statement.step() != SQLITE_DONE)
            return m_database->failure(error, "updating a row") || fail();
        update.newVersion = storedVersion + 1;
        // Someone else saved this object since we read it: hand back the stored row to merge with.
        if (storedVersion != update.knownVersion) {
            update.storedRow = fetchRow(*update.entity, update.primaryKey, error);
            if (!update.storedRow)
                return fail();
        }
    }
    if (m_metadataToWrite && !writeMetadata(error))
        return fail();
    if (!m_database->execute("COMMIT", error))
        return fail();
    m_metadataToWrite = false;
    return true;
}
