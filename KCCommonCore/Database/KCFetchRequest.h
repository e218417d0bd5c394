#pragma once
// What to fetch: an entity, a predicate, sort keys, a limit, and either the
// objects themselves or one dictionary per row of chosen properties, which
// may be aggregate expressions ("max:" of a key), grouped and distinct.
#include "KCManagedObjectModel.h"
#include "KCPredicate.h"

#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

struct KCSortDescriptor {
    std::string key;
    bool ascending = true;
};

// A named expression to fetch: a store function ("max:", "min:", "sum:",
// "count:", "average:") applied to a key path, read back as the result type
// (without one, as the store holds the result).
class KCExpressionDescription {
public:
    KCExpressionDescription(std::string name, std::string function, std::string keyPath, std::optional<KCAttributeType> resultType = std::nullopt)
        : m_name(std::move(name)), m_function(std::move(function)), m_keyPath(std::move(keyPath)), m_resultType(resultType) {}

    const std::string& name() const { return m_name; }
    const std::string& function() const { return m_function; }
    const std::string& keyPath() const { return m_keyPath; }
    std::optional<KCAttributeType> expressionResultType() const { return m_resultType; }
    void setExpressionResultType(std::optional<KCAttributeType> type) { m_resultType = type; }

private:
    std::string m_name;
    std::string m_function;
    std::string m_keyPath;
    std::optional<KCAttributeType> m_resultType;
};

// An attribute name or an expression.
using KCPropertyToFetch = std::variant<std::string, KCExpressionDescription>;

enum class KCFetchRequestResultType { ManagedObject, Dictionary };

struct KCFetchRequest {
    explicit KCFetchRequest(std::string entity) : entityName(std::move(entity)) {}

    std::string entityName;
    // Every object unless narrowed. Null is what a format that did not parse
    // gives, so a fetch with a null predicate fails rather than widening to every object.
    std::shared_ptr<const KCPredicate> predicate = KCPredicate::predicateWithValue(true);
    std::vector<KCSortDescriptor> sortDescriptors;
    size_t fetchLimit = 0;  // 0: no limit
    KCFetchRequestResultType resultType = KCFetchRequestResultType::ManagedObject;
    // Dictionary results only.
    std::vector<KCPropertyToFetch> propertiesToFetch;  // none: every attribute
    std::vector<std::string> propertiesToGroupBy;
    bool returnsDistinctResults = false;
};
