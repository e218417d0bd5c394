#include "KCSQLiteDatabase.h"

#include "KCStoreValueCoding.h"
#include "Utilities/KCLogger.h"
#include "Utilities/KCStringConversion.h"

#include <sqlite3.h>

#include <charconv>

namespace {

bool ok(int result)
{
    return result == SQLITE_OK;
}

} // namespace

KCSQLiteStatement::~KCSQLiteStatement()
{
    if (m_statement && m_owned) {
        sqlite3_finalize(m_statement);
    } else if (m_statement) {
        sqlite3_reset(m_statement);
        sqlite3_clear_bindings(m_statement);
    }
}

bool KCSQLiteStatement::bindInt64(int index, int64_t value)
{
    return ok(sqlite3_bind_int64(m_statement, index, value));
}

bool KCSQLiteStatement::bindText(int index, std::string_view text)
{
    return ok(sqlite3_bind_text64(m_statement, index, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8));
}

bool KCSQLiteStatement::bind(int index, const KCValue& value)
{
    using Kind = KCValue::Kind;
    switch (value.kind()) {
    case Kind::Null: return ok(sqlite3_bind_null(m_statement, index));
    case Kind::Boolean:
    case Kind::Integer: return bindInt64(index, *value.int64Value());
    case Kind::Unsigned:
        if (*value.uint64Value() <= INT64_MAX)
            return bindInt64(index, *value.int64Value());
        return ok(sqlite3_bind_double(m_statement, index, *value.doubleValue()));
    case Kind::Double: return ok(sqlite3_bind_double(m_statement, index, *value.doubleValue()));
    case Kind::String: return bindText(index, value.utf8String());
    case Kind::Date: return ok(sqlite3_bind_double(m_statement, index, value.date()->timeIntervalSinceReferenceDate));
    case Kind::URL: return bindText(index, value.url()->absoluteString());
    case Kind::Data: {
        const KCData& data = *value.data();
        return ok(sqlite3_bind_blob64(m_statement, index, data.data(), data.size(), SQLITE_TRANSIENT));
    }
    default: {
        auto encoded = KCEncodeStoreValue(value);
        if (!encoded)
            return ok(sqlite3_bind_null(m_statement, index));
        return ok(sqlite3_bind_blob64(m_statement, index, encoded->data(), encoded->size(), SQLITE_TRANSIENT));
    }
    }
}

bool KCSQLiteStatement::bind(int index, const KCValue& value, KCAttributeType type)
{
    if (value.isNull())
        return ok(sqlite3_bind_null(m_statement, index));
    if (type != KCAttributeType::Value)
        return bind(index, value);
    auto encoded = KCEncodeStoreValue(value);
    if (!encoded) {
        KCLog("Unable to store value %@; storing nothing", value);
        return ok(sqlite3_bind_null(m_statement, index));
    }
    return ok(sqlite3_bind_blob64(m_statement, index, encoded->data(), encoded->size(), SQLITE_TRANSIENT));
}

int KCSQLiteStatement::step()
{
    int result = sqlite3_step(m_statement);
    return m_database ? m_database->noteResult(result) : result;
}

int64_t KCSQLiteStatement::columnInt64(int column) const
{
    return sqlite3_column_int64(m_statement, column);
}

std::string KCSQLiteStatement::columnText(int column) const
{
    auto text = reinterpret_cast<const char*>(sqlite3_column_text(m_statement, column));
    return text ? std::string(text, static_cast<size_t>(sqlite3_column_bytes(m_statement, column))) : std::string();
}

bool KCSQLiteStatement::columnIsNull(int column) const
{
    return sqlite3_column_type(m_statement, column) == SQLITE_NULL;
}

KCValue KCSQLiteStatement::columnValue(int column, KCAttributeType type) const
{
    int storedType = sqlite3_column_type(m_statement, column);
    if (storedType == SQLITE_NULL)
        return KCValue();
    switch (type) {
    case KCAttributeType::Integer16:
    case KCAttributeType::Integer32:
    case KCAttributeType::Integer64: {
        auto value = KCAttributeValue(type, KCValue(static_cast<int64_t>(sqlite3_column_int64(m_statement, column))));
        return value ? *value : KCValue();
    }
    case KCAttributeType::Boolean: return KCValue(sqlite3_column_int64(m_statement, column) != 0);
    case KCAttributeType::Double: return KCValue(sqlite3_column_double(m_statement, column));
    case KCAttributeType::Date:
        if (storedType == SQLITE_TEXT) {
            // A date taken from a text column (an aggregate over dates kept as text).
            std::string text = columnText(column);
            double seconds = 0;
            auto result = std::from_chars(text.data(), text.data() + text.size(), seconds);
            return result.ec == std::errc() ? KCValue(KCDate {seconds}) : KCValue();
        }
        return KCValue(KCDate {sqlite3_column_double(m_statement, column)});
    case KCAttributeType::String: {
        auto text = reinterpret_cast<const char*>(sqlite3_column_text(m_statement, column));
        return KCValue(KCUTF16FromUTF8(std::string_view(text, static_cast<size_t>(sqlite3_column_bytes(m_statement, column)))));
    }
    case KCAttributeType::Value: {
        auto bytes = static_cast<const uint8_t*>(sqlite3_column_blob(m_statement, column));
        size_t size = static_cast<size_t>(sqlite3_column_bytes(m_statement, column));
        auto value = KCDecodeStoreValue(std::span<const uint8_t>(bytes, size));
        return value ? *value : KCValue();
    }
    }
    return KCValue();
}

KCValue KCSQLiteStatement::columnValue(int column) const
{
    switch (sqlite3_column_type(m_statement, column)) {
    case SQLITE_INTEGER: return KCValue(static_cast<int64_t>(sqlite3_column_int64(m_statement, column)));
    case SQLITE_FLOAT: return KCValue(sqlite3_column_double(m_statement, column));
    case SQLITE_TEXT: return columnValue(column, KCAttributeType::String);
    case SQLITE_BLOB: {
        auto bytes = static_cast<const uint8_t*>(sqlite3_column_blob(m_statement, column));
        return KCValue(KCData(bytes, bytes + sqlite3_column_bytes(m_statement, column)));
    }
    default: return KCValue();
    }
}

std::unique_ptr<KCSQLiteDatabase> KCSQLiteDatabase::open(const std::string& path, KCError* error)
{
    sqlite3* database = nullptr;
    int result = sqlite3_open_v2(path.c_str(), &database, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_FULLMUTEX, nullptr);
    if (result != SQLITE_OK) {
        KCSetStoreError(error, result, std::string("unable to open ") + path + ": " + (database ? sqlite3_errmsg(database) : sqlite3_errstr(result)), KCSQLiteErrorDomain);
        sqlite3_close_v2(database);
        return nullptr;
    }
    sqlite3_extended_result_codes(database, 1);
    sqlite3_busy_timeout(database, 10000);
    return std::unique_ptr<KCSQLiteDatabase>(new KCSQLiteDatabase(database));
}

KCSQLiteDatabase::~KCSQLiteDatabase()
{
    for (auto& [sql, statement] : m_statements)
        sqlite3_finalize(statement);
    sqlite3_close_v2(m_database);
}

bool KCSQLiteDatabase::execute(const std::string& sql, KCError* error)
{
    if (noteResult(sqlite3_exec(m_database, sql.c_str(), nullptr, nullptr, nullptr)) != SQLITE_OK)
        return failure(error, sql);
    return true;
}

int KCSQLiteDatabase::noteResult(int result)
{
    int primary = result & 0xFF;
    if (primary == SQLITE_CORRUPT || primary == SQLITE_NOTADB)
        m_damaged = true;
    return result;
}

KCSQLiteStatement KCSQLiteDatabase::prepare(const std::string& sql, const std::vector<KCValue>& bindings, KCError* error)
{
    auto statement = prepare(sql, error);
    for (size_t i = 0; statement && i < bindings.size(); ++i)
        statement.bind(static_cast<int>(i + 1), bindings[i]);
    return statement;
}

KCSQLiteStatement KCSQLiteDatabase::prepare(const std::string& sql, KCError* error)
{
    auto found = m_statements.find(sql);
    if (found != m_statements.end())
        return KCSQLiteStatement(found->second, false, this);
    constexpr size_t kCachedStatements = 256;
    bool cache = m_statements.size() < kCachedStatements;
    sqlite3_stmt* statement = nullptr;
    if (noteResult(sqlite3_prepare_v3(m_database, sql.c_str(), static_cast<int>(sql.size()), cache ? SQLITE_PREPARE_PERSISTENT : 0, &statement, nullptr)) != SQLITE_OK) {
        failure(error, sql);
        sqlite3_finalize(statement);
        return KCSQLiteStatement(nullptr, false, this);
    }
    if (cache)
        m_statements.emplace(sql, statement);
    return KCSQLiteStatement(statement, !cache, this);
}

int64_t KCSQLiteDatabase::lastInsertRowID() const
{
    return sqlite3_last_insert_rowid(m_database);
}

bool KCSQLiteDatabase::failure(KCError* error, std::string_view context) const
{
    return KCSetStoreError(error, sqlite3_extended_errcode(m_database), std::string(sqlite3_errmsg(m_database)) + " (" + std::string(context) + ")", KCSQLiteErrorDomain);
}
