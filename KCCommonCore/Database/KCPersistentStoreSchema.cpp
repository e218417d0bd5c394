// Creating the tables of a store and bringing older ones up to the model by adding columns.
#include "KCPersistentStore.h"

#include "KCPersistentStoreInternal.h"
#include "KCSQLiteDatabase.h"
#include "KCStoreValueCoding.h"

#include <sqlite3.h>

#include <charconv>

namespace {

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
    if (value.string()) {
        std::string literal = "'";
        for (char c : value.utf8String())
            literal += c == '\'' ? std::string("''") : std::string(1, c);
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
    return KCQuotedSQLName(attribute.name) + " " + columnType(attribute.type) + " DEFAULT " + defaultLiteral(attribute);
}

std::string indexName(const KCEntityDescription& entity, const std::vector<std::string>& columns)
{
    std::string name = entity.name() + "_index";
    for (const auto& column : columns)
        name.append(1, '_').append(column);
    return name;
}

} // namespace

// The columns the entity's table has now (none when it does not exist yet).
std::optional<std::set<std::string>> KCPersistentStore::tableColumns(const KCEntityDescription& entity, KCError* error)
{
    auto statement = m_database->prepare("PRAGMA table_info(" + KCQuotedSQLName(entity.name()) + ")", error);
    if (!statement)
        return std::nullopt;
    std::set<std::string> columns;
    while (statement.step() == SQLITE_ROW)
        columns.insert(statement.columnText(1));
    return columns;
}

bool KCPersistentStore::needsMigration(bool& needed, KCError* error)
{
    needed = KCStoreMetadataValue(m_metadata, KCStoreModelVersionKey).int64Value() != m_model->version();
    for (const auto& entity : m_model->entities()) {
        auto columns = tableColumns(*entity, error);
        if (!columns)
            return false;
        for (const auto& attribute : entity->attributes())
            needed = needed || !columns->count(attribute.name);
        // A store made before an index joined the model gets it by migrating.
        auto statement = m_database->prepare("SELECT name FROM sqlite_master WHERE type = 'index' AND tbl_name = ?", error);
        if (!statement)
            return false;
        statement.bind(1, KCValue::fromUTF8(entity->name()));
        std::set<std::string> indexes;
        while (statement.step() == SQLITE_ROW)
            indexes.insert(statement.columnText(0));
        for (const auto& index : entity->indexes())
            needed = needed || !indexes.count(indexName(*entity, index));
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
    if (fresh && !m_database->execute(std::string("CREATE TABLE ") + KCStoreMetadataTable + " (key TEXT PRIMARY KEY NOT NULL, value BLOB)", error))
        return fail();
    for (const auto& entity : m_model->entities()) {
        std::string create = "CREATE TABLE IF NOT EXISTS " + KCQuotedSQLName(entity->name()) + " (\"_pk\" INTEGER PRIMARY KEY AUTOINCREMENT, \"_opt\" INTEGER NOT NULL DEFAULT 1";
        for (const auto& attribute : entity->attributes())
            create += ", " + columnDefinition(attribute);
        if (!m_database->execute(create + ")", error))
            return fail();
        auto columns = tableColumns(*entity, error);
        if (!columns)
            return fail();
        for (const auto& attribute : entity->attributes()) {
            if (!columns->count(attribute.name) && !m_database->execute("ALTER TABLE " + KCQuotedSQLName(entity->name()) + " ADD COLUMN " + columnDefinition(attribute), error))
                return fail();
        }
        for (const auto& index : entity->indexes()) {
            std::string sql = "CREATE INDEX IF NOT EXISTS " + KCQuotedSQLName(indexName(*entity, index)) + " ON " + KCQuotedSQLName(entity->name()) + " (";
            for (size_t i = 0; i < index.size(); ++i)
                sql += (i ? ", " : "") + KCQuotedSQLName(index[i]);
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
