// Telling our store files from anything else before anything is written.
#include "KCPersistentStore.h"

#include "KCPersistentStoreInternal.h"
#include "KCSQLiteDatabase.h"

#include <sqlite3.h>

#include <cstring>
#include <fstream>
#include <set>
#include <sys/stat.h>

bool KCIsSQLiteFileOrEmpty(const std::string& path, bool& exists, KCError* error)
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

// An empty file is a new store; one with tables must hold our metadata, of a model not newer than ours.
bool KCPersistentStore::checkStoreOfOurs(bool& fresh, KCError* error)
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
    fresh = tables.empty();
    if (!fresh) {
        if (!tables.count(KCStoreMetadataTable) || !readMetadata(error))
            return KCSetStoreError(error, KCStoreErrorNotAStore, m_url.path() + " is not a store file of ours");
        auto version = KCStoreMetadataValue(m_metadata, KCStoreModelVersionKey).int64Value();
        if (!version)
            return KCSetStoreError(error, KCStoreErrorNotAStore, m_url.path() + " has no model version");
        if (*version > m_model->version())
            return KCSetStoreError(error, KCStoreErrorIncompatibleVersion,
                "the store was written by model version " + std::to_string(*version) + ", newer than this model's " + std::to_string(m_model->version()));
    }
    return true;
}
