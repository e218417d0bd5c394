#pragma once
// Predicates of the store's predicate language, parsed from a format string
// with arguments:
//   "annotationAssetID == %@ AND (1 == %d OR annotationDeleted == 0)"
// Comparisons: == = != <> < <= =< > >= => IN, with the option [n] (equality
// on normalised text); AND OR NOT (also && || !), parentheses, TRUEPREDICATE,
// FALSEPREDICATE. Operands: key names, %K (a key given as an argument), %@ (a
// value: text, number, date, list), %d %i %u %ld %lld %lu %llu (integers), %f,
// quoted text, numbers, TRUE/YES/FALSE/NO, NULL/NIL and {a, b} lists.
// A predicate evaluates against an object in memory and compiles to SQL whose
// values are all bound parameters.
// Errors: predicateWithFormat answers nothing, logs and fills *error for a malformed format; appendSQL answers false for keys the entity lacks.
#include "KCStoreError.h"
#include "Utilities/KCValue.h"

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

class KCEntityDescription;

class KCExpression {
public:
    enum class Type { KeyPath, Constant };

    static KCExpression keyPath(std::string key) { return KCExpression(Type::KeyPath, std::move(key), {}); }
    static KCExpression constant(KCValue value) { return KCExpression(Type::Constant, {}, std::move(value)); }

    Type type() const { return m_type; }
    const std::string& key() const { return m_key; }
    const KCValue& value() const { return m_value; }

private:
    KCExpression(Type type, std::string key, KCValue value) : m_type(type), m_key(std::move(key)), m_value(std::move(value)) {}
    Type m_type;
    std::string m_key;
    KCValue m_value;
};

// Reads a key of the evaluated object.
class KCKeyValueReading {
public:
    virtual ~KCKeyValueReading() = default;
    virtual const KCValue& valueForKey(std::string_view key) const = 0;
};

class KCPredicate {
public:
    enum class Type { True, False, Comparison, And, Or, Not };
    enum class Operator { Equal, NotEqual, Less, LessOrEqual, Greater, GreaterOrEqual, In };

    // Nothing, logged, for a format that does not parse or whose arguments do not fit.
    static std::shared_ptr<const KCPredicate> predicateWithFormat(std::string_view format, std::span<const KCValue> arguments, KCError* error = nullptr);
    template <typename... Args>
    static std::shared_ptr<const KCPredicate> predicateWithFormat(std::string_view format, const Args&... arguments)
    {
        if constexpr (sizeof...(Args) == 0) {
            return predicateWithFormat(format, std::span<const KCValue>());
        } else {
            const KCValue values[] = {KCValue(arguments)...};
            return predicateWithFormat(format, std::span<const KCValue>(values));
        }
    }
    static std::shared_ptr<const KCPredicate> predicateWithValue(bool value);

    static std::shared_ptr<const KCPredicate> comparison(KCExpression left, Operator op, KCExpression right, bool normalized = false);
    static std::shared_ptr<const KCPredicate> compound(Type type, std::vector<std::shared_ptr<const KCPredicate>> subpredicates);

    Type type() const { return m_type; }
    Operator comparisonOperator() const { return m_operator; }
    const KCExpression& leftExpression() const { return m_operands[0]; }
    const KCExpression& rightExpression() const { return m_operands[1]; }
    const std::vector<std::shared_ptr<const KCPredicate>>& subpredicates() const { return m_subpredicates; }

    bool evaluateWithObject(const KCKeyValueReading& object) const;

    // Appends the predicate as an SQL condition over the entity's table,
    // adding one binding per '?'. Fails for keys that the entity lacks.
    bool appendSQL(const KCEntityDescription& entity, std::string& sql, std::vector<KCValue>& bindings, KCError* error) const;

    // The predicate written back in the format language, values inline.
    std::string predicateFormat() const;

    KCPredicate(Type type) : m_type(type) {}

private:
    Type m_type;
    Operator m_operator = Operator::Equal;
    bool m_normalized = false;
    std::vector<KCExpression> m_operands;
    std::vector<std::shared_ptr<const KCPredicate>> m_subpredicates;
};

// Orders two values as the store's comparisons do: numbers by value, texts
// by code units, dates by time. Nothing when they do not compare (a null, or different kinds).
std::optional<int> KCCompareValues(const KCValue& a, const KCValue& b);
