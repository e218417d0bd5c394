// Writing a context's changes in one transaction.
#include "KCPersistentStore.h"

#include "KCPersistentStoreInternal.h"
#include "KCSQLiteDatabase.h"

#include <sqlite3.h>

bool KCPersistentStore::save(KCStoreChanges& changes, KCError* error)
{
    if (changes.empty() && !m_metadataToWrite)
        return true;
    if (m_database->isDamaged())
        return KCSetStoreError(error, KCStoreErrorDamaged, "the store file " + m_url.path() + " is damaged; nothing more is written to it");
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
        std::string sql = "UPDATE " + KCQuotedSQLName(update.entity->name()) + " SET ";
        for (size_t index : update.changedAttributes)
            sql += KCQuotedSQLName(attributes[index].name) + " = ?, ";
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
