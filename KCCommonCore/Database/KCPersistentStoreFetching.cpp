// The SQL of fetches, and reading their rows back.
#include "KCPersistentStore.h"

#include "KCPersistentStoreInternal.h"
#include "KCSQLiteDatabase.h"

#include <sqlite3.h>

#include <algorithm>

namespace {

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

// Grouped rows that show every group key, as itself or as its max: or min:
// (the key's own value within its group), are distinct already; asking
// SQLite for DISTINCT would only add a sort of the whole result.
bool groupsAreDistinct(const KCFetchRequest& request)
{
    if (request.propertiesToGroupBy.empty())
        return false;
    auto shows = [&](const std::string& key) {
        for (const auto& property : request.propertiesToFetch) {
            if (const auto* name = std::get_if<std::string>(&property)) {
                if (*name == key)
                    return true;
                continue;
            }
            const auto& expression = std::get<KCExpressionDescription>(property);
            if (expression.keyPath() == key && (expression.function() == "max:" || expression.function() == "min:"))
                return true;
        }
        return false;
    };
    return std::all_of(request.propertiesToGroupBy.begin(), request.propertiesToGroupBy.end(), shows);
}

} // namespace

KCDictionary KCDictionaryFromRow(const std::vector<std::string>& names, std::span<const KCValue> values)
{
    KCDictionary row;
    for (size_t i = 0; i < values.size() && i < names.size(); ++i) {
        if (!values[i].isNull())
            row.set(names[i], values[i]);
    }
    return row;
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
        sql += KCQuotedSQLName(sort[i].key) + (sort[i].ascending ? " ASC" : " DESC");
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
    auto statement = m_database->prepare(sql, bindings, error);
    if (!statement)
        return false;
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

bool KCPersistentStore::enumerateDictionaryRows(const KCFetchRequest& request, const KCEntityDescription& entity, std::vector<std::string>& names, const KCStoreRowVisitor& visit, KCError* error)
{
    std::vector<std::optional<KCAttributeType>> types;
    names.clear();
    std::string sql = request.returnsDistinctResults && !groupsAreDistinct(request) ? "SELECT DISTINCT " : "SELECT ";
    auto addColumn = [&](const std::string& expression, std::string name, std::optional<KCAttributeType> type) {
        sql += (names.empty() ? "" : ", ") + expression;
        names.push_back(std::move(name));
        types.push_back(type);
    };
    if (request.propertiesToFetch.empty()) {
        for (const auto& attribute : entity.attributes())
            addColumn(KCQuotedSQLName(attribute.name), attribute.name, attribute.type);
    }
    for (const auto& property : request.propertiesToFetch) {
        if (const auto* name = std::get_if<std::string>(&property)) {
            const KCAttributeDescription* attribute = entity.attributeNamed(*name);
            if (!attribute)
                return KCSetStoreError(error, KCStoreErrorUnknownKey, "property " + *name + " not found in entity " + entity.name());
            addColumn(KCQuotedSQLName(*name), *name, attribute->type);
            continue;
        }
        const auto& expression = std::get<KCExpressionDescription>(property);
        const char* function = aggregateFunction(expression.function());
        if (!function || !entity.attributeNamed(expression.keyPath()))
            return KCSetStoreError(error, KCStoreErrorInvalidFetch, "unsupported expression " + expression.function() + " of " + expression.keyPath());
        std::string call(function);
        call.append(1, '(').append(KCQuotedSQLName(expression.keyPath())).append(1, ')');
        addColumn(call, expression.name(), expression.expressionResultType());
    }
    sql += " FROM " + KCQuotedSQLName(entity.name());
    std::vector<KCValue> bindings;
    if (!appendWhere(request, entity, sql, bindings, error))
        return false;
    std::vector<KCSortDescriptor> order = request.sortDescriptors;
    for (size_t i = 0; i < request.propertiesToGroupBy.size(); ++i) {
        const std::string& key = request.propertiesToGroupBy[i];
        if (!entity.attributeNamed(key))
            return KCSetStoreError(error, KCStoreErrorUnknownKey, "group key " + key + " not found in entity " + entity.name());
        sql += (i ? ", " : " GROUP BY ") + KCQuotedSQLName(key);
        // Groups come back in the order of their keys unless asked otherwise.
        if (request.sortDescriptors.empty())
            order.push_back({key, true});
    }
    if (!appendOrder(order, entity, sql, error))
        return false;
    if (request.fetchLimit)
        sql += " LIMIT " + std::to_string(request.fetchLimit);
    auto statement = m_database->prepare(sql, bindings, error);
    if (!statement)
        return false;
    std::vector<KCValue> values(names.size());
    int result;
    while ((result = statement.step()) == SQLITE_ROW) {
        for (size_t i = 0; i < values.size(); ++i) {
            int column = static_cast<int>(i);
            values[i] = types[i] ? statement.columnValue(column, *types[i]) : statement.columnValue(column);
        }
        visit(values);
    }
    return result == SQLITE_DONE || m_database->failure(error, sql);
}

std::optional<std::vector<KCDictionary>> KCPersistentStore::fetchDictionaries(const KCFetchRequest& request, const KCEntityDescription& entity, KCError* error)
{
    std::vector<std::string> names;
    std::vector<KCDictionary> rows;
    bool fetched = enumerateDictionaryRows(request, entity, names, [&](std::span<const KCValue> values) { rows.push_back(KCDictionaryFromRow(names, values)); }, error);
    if (!fetched)
        return std::nullopt;
    return rows;
}

std::optional<size_t> KCPersistentStore::count(const KCFetchRequest& request, const KCEntityDescription& entity, KCError* error)
{
    std::string sql = "SELECT COUNT(*) FROM " + KCQuotedSQLName(entity.name());
    std::vector<KCValue> bindings;
    if (!appendWhere(request, entity, sql, bindings, error))
        return std::nullopt;
    auto statement = m_database->prepare(sql, bindings, error);
    if (!statement)
        return std::nullopt;
    if (statement.step() != SQLITE_ROW) {
        m_database->failure(error, sql);
        return std::nullopt;
    }
    auto total = static_cast<size_t>(statement.columnInt64(0));
    return request.fetchLimit ? std::min(total, request.fetchLimit) : total;
}
