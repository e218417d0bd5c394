#pragma once
// A thin owner of one SQLite connection: statements prepared once and kept,
// values bound and read by attribute type. Not thread-safe by itself; the
// store serialises every use under its coordinator's lock.
// Errors: open, execute and prepare answer nothing (false, an empty statement) and fill *error with SQLite's message; a damaged file is remembered (isDamaged).
#include "KCManagedObjectModel.h"
#include "KCStoreError.h"
#include "Utilities/KCValue.h"

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;
class KCSQLiteDatabase;

// A prepared statement in use; resets it and clears its bindings when done.
class KCSQLiteStatement {
public:
    // An owned statement is finalized when done; a cached one is only reset.
    KCSQLiteStatement(sqlite3_stmt* statement, bool owned, KCSQLiteDatabase* database)
        : m_statement(statement), m_owned(owned), m_database(database) {}
    ~KCSQLiteStatement();
    KCSQLiteStatement(KCSQLiteStatement&& other) noexcept
        : m_statement(other.m_statement), m_owned(other.m_owned), m_database(other.m_database) { other.m_statement = nullptr; }
    KCSQLiteStatement(const KCSQLiteStatement&) = delete;
    KCSQLiteStatement& operator=(const KCSQLiteStatement&) = delete;

    explicit operator bool() const { return m_statement != nullptr; }
    sqlite3_stmt* get() const { return m_statement; }

    // Binds by the value's own kind (predicate values, metadata).
    bool bind(int index, const KCValue& value);
    // Binds as a column of the attribute type stores it.
    bool bind(int index, const KCValue& value, KCAttributeType type);
    bool bindInt64(int index, int64_t value);
    bool bindText(int index, std::string_view text);

    // SQLITE_ROW, SQLITE_DONE or an error code.
    int step();

    int64_t columnInt64(int column) const;
    std::string columnText(int column) const;
    bool columnIsNull(int column) const;
    KCValue columnValue(int column, KCAttributeType type) const;
    // The value as the store holds it: integer, real, text or data.
    KCValue columnValue(int column) const;

private:
    sqlite3_stmt* m_statement;
    bool m_owned;
    KCSQLiteDatabase* m_database;
};

class KCSQLiteDatabase {
public:
    static std::unique_ptr<KCSQLiteDatabase> open(const std::string& path, KCError* error);
    ~KCSQLiteDatabase();
    KCSQLiteDatabase(const KCSQLiteDatabase&) = delete;
    KCSQLiteDatabase& operator=(const KCSQLiteDatabase&) = delete;

    bool execute(const std::string& sql, KCError* error);
    // A statement for the SQL, cached unless the cache is full (long IN lists
    // make many one-off texts); empty on failure, with the error filled.
    KCSQLiteStatement prepare(const std::string& sql, KCError* error);
    // The same, with `bindings` bound to the parameters in order, each by its own kind.
    KCSQLiteStatement prepare(const std::string& sql, const std::vector<KCValue>& bindings, KCError* error);
    int64_t lastInsertRowID() const;
    // Fills the error from the connection's last failure; answers false.
    bool failure(KCError* error, std::string_view context) const;

    sqlite3* handle() const { return m_database; }

    // Once any statement has found the file damaged (SQLITE_CORRUPT,
    // SQLITE_NOTADB), the store must not write to it: a write could spread
    // the damage over pages that are still good.
    bool isDamaged() const { return m_damaged; }
    // Notes a result code of SQLite; answers it unchanged.
    int noteResult(int result);

private:
    explicit KCSQLiteDatabase(sqlite3* database) : m_database(database) {}
    sqlite3* m_database;
    bool m_damaged = false;
    std::unordered_map<std::string, sqlite3_stmt*> m_statements;
};
