#include "KCPredicate.h"

#include "KCManagedObjectModel.h"
#include "Utilities/KCFormat.h"
#include "Utilities/KCStringConversion.h"

#include <cmath>

namespace {

int sign(auto difference)
{
    return difference < 0 ? -1 : difference > 0 ? 1 : 0;
}

std::optional<int> compareNumbers(const KCValue& a, const KCValue& b)
{
    using Kind = KCValue::Kind;
    if (a.kind() == Kind::Double || b.kind() == Kind::Double) {
        double x = *a.doubleValue(), y = *b.doubleValue();
        if (std::isnan(x) || std::isnan(y))
            return std::nullopt;
        return x < y ? -1 : x > y ? 1 : 0;
    }
    bool aNegative = a.kind() == Kind::Integer && *a.int64Value() < 0;
    bool bNegative = b.kind() == Kind::Integer && *b.int64Value() < 0;
    if (aNegative != bNegative)
        return aNegative ? -1 : 1;
    if (aNegative) {
        int64_t x = *a.int64Value(), y = *b.int64Value();
        return x < y ? -1 : x > y ? 1 : 0;
    }
    uint64_t x = *a.uint64Value(), y = *b.uint64Value();
    return x < y ? -1 : x > y ? 1 : 0;
}

std::optional<double> secondsOf(const KCValue& value)
{
    if (auto date = value.date())
        return date->timeIntervalSinceReferenceDate;
    return value.doubleValue();
}

bool valuesEqual(const KCValue& a, const KCValue& b)
{
    if (a.isNull() || b.isNull())
        return a.isNull() && b.isNull();
    if (auto order = KCCompareValues(a, b))
        return *order == 0;
    return a == b;
}

const KCValue& operandValue(const KCExpression& expression, const KCKeyValueReading& object)
{
    return expression.type() == KCExpression::Type::KeyPath ? object.valueForKey(expression.key()) : expression.value();
}

void appendQuoted(std::string& sql, std::string_view name)
{
    sql += '"';
    sql += name;
    sql += '"';
}

bool appendOperandSQL(const KCExpression& expression, const KCEntityDescription& entity, std::string& sql, std::vector<KCValue>& bindings, KCError* error)
{
    if (expression.type() == KCExpression::Type::Constant) {
        sql += '?';
        bindings.push_back(expression.value());
        return true;
    }
    if (!entity.attributeNamed(expression.key()))
        return KCSetStoreError(error, KCStoreErrorUnknownKey, "keypath " + expression.key() + " not found in entity " + entity.name());
    appendQuoted(sql, expression.key());
    return true;
}

const char* operatorSQL(KCPredicate::Operator op)
{
    using Op = KCPredicate::Operator;
    switch (op) {
    // IS keeps NULL comparisons as the in-memory ones: NULL == NULL, and NULL != 3.
    case Op::Equal: return " IS ";
    case Op::NotEqual: return " IS NOT ";
    case Op::Less: return " < ";
    case Op::LessOrEqual: return " <= ";
    case Op::Greater: return " > ";
    case Op::GreaterOrEqual: return " >= ";
    case Op::In: return " IN ";
    }
    return " IS ";
}

const char* operatorText(KCPredicate::Operator op)
{
    using Op = KCPredicate::Operator;
    switch (op) {
    case Op::Equal: return "==";
    case Op::NotEqual: return "!=";
    case Op::Less: return "<";
    case Op::LessOrEqual: return "<=";
    case Op::Greater: return ">";
    case Op::GreaterOrEqual: return ">=";
    case Op::In: return "IN";
    }
    return "==";
}

std::string valueText(const KCValue& value)
{
    if (value.isNull())
        return "nil";
    if (const std::u16string* text = value.string()) {
        std::string quoted = "\"";
        for (char c : KCUTF8FromUTF16(*text)) {
            if (c == '"' || c == '\\')
                quoted += '\\';
            quoted += c;
        }
        return quoted + "\"";
    }
    if (const KCArray* array = value.array()) {
        std::string list = "{";
        for (size_t i = 0; i < array->size(); ++i)
            list += (i ? ", " : "") + valueText((*array)[i]);
        return list + "}";
    }
    if (auto date = value.date())
        return KCStringWithFormat("%f", date->timeIntervalSinceReferenceDate);
    return value.description();
}

std::string expressionText(const KCExpression& expression)
{
    return expression.type() == KCExpression::Type::KeyPath ? expression.key() : valueText(expression.value());
}

} // namespace

std::optional<int> KCCompareValues(const KCValue& a, const KCValue& b)
{
    if (a.isNumber() && b.isNumber())
        return compareNumbers(a, b);
    if (a.string() && b.string())
        return sign(a.string()->compare(*b.string()));
    if ((a.date() && (b.date() || b.isNumber())) || (b.date() && a.isNumber())) {
        double x = *secondsOf(a), y = *secondsOf(b);
        return x < y ? -1 : x > y ? 1 : 0;
    }
    return std::nullopt;
}

std::shared_ptr<const KCPredicate> KCPredicate::predicateWithValue(bool value)
{
    static const auto truePredicate = std::make_shared<const KCPredicate>(Type::True);
    static const auto falsePredicate = std::make_shared<const KCPredicate>(Type::False);
    return value ? truePredicate : falsePredicate;
}

std::shared_ptr<const KCPredicate> KCPredicate::comparison(KCExpression left, Operator op, KCExpression right, bool normalized)
{
    auto predicate = std::make_shared<KCPredicate>(Type::Comparison);
    predicate->m_operator = op;
    predicate->m_normalized = normalized;
    predicate->m_operands.push_back(std::move(left));
    predicate->m_operands.push_back(std::move(right));
    return predicate;
}

std::shared_ptr<const KCPredicate> KCPredicate::compound(Type type, std::vector<std::shared_ptr<const KCPredicate>> subpredicates)
{
    auto predicate = std::make_shared<KCPredicate>(type);
    predicate->m_subpredicates = std::move(subpredicates);
    return predicate;
}

bool KCPredicate::evaluateWithObject(const KCKeyValueReading& object) const
{
    switch (m_type) {
    case Type::True: return true;
    case Type::False: return false;
    case Type::And:
        for (const auto& predicate : m_subpredicates) {
            if (!predicate->evaluateWithObject(object))
                return false;
        }
        return true;
    case Type::Or:
        for (const auto& predicate : m_subpredicates) {
            if (predicate->evaluateWithObject(object))
                return true;
        }
        return false;
    case Type::Not: return !m_subpredicates[0]->evaluateWithObject(object);
    case Type::Comparison: break;
    }
    const KCValue& left = operandValue(m_operands[0], object);
    const KCValue& right = operandValue(m_operands[1], object);
    if (m_operator == Operator::Equal)
        return valuesEqual(left, right);
    if (m_operator == Operator::NotEqual)
        return !valuesEqual(left, right);
    if (m_operator == Operator::In) {
        const KCArray* list = right.array();
        if (!list || left.isNull())
            return false;
        for (const KCValue& item : *list) {
            if (valuesEqual(left, item))
                return true;
        }
        return false;
    }
    auto order = KCCompareValues(left, right);
    if (!order)
        return false;
    switch (m_operator) {
    case Operator::Less: return *order < 0;
    case Operator::LessOrEqual: return *order <= 0;
    case Operator::Greater: return *order > 0;
    case Operator::GreaterOrEqual: return *order >= 0;
    default: return false;
    }
}

bool KCPredicate::appendSQL(const KCEntityDescription& entity, std::string& sql, std::vector<KCValue>& bindings, KCError* error) const
{
    switch (m_type) {
    case Type::True: sql += '1'; return true;
    case Type::False: sql += '0'; return true;
    case Type::Not:
        sql += "NOT (";
        if (!m_subpredicates[0]->appendSQL(entity, sql, bindings, error))
            return false;
        sql += ')';
        return true;
    case Type::And:
    case Type::Or:
        sql += '(';
        for (size_t i = 0; i < m_subpredicates.size(); ++i) {
            if (i)
                sql += m_type == Type::And ? " AND " : " OR ";
            if (!m_subpredicates[i]->appendSQL(entity, sql, bindings, error))
                return false;
        }
        sql += ')';
        return true;
    case Type::Comparison: break;
    }
    if (m_operator == Operator::In) {
        const KCArray* list = m_operands[1].value().array();
        if (!list || list->empty()) {
            // Still check the key, so that a bad key fails whatever the list.
            std::string ignored;
            std::vector<KCValue> ignoredBindings;
            if (!appendOperandSQL(m_operands[0], entity, ignored, ignoredBindings, error))
                return false;
            sql += '0';
            return true;
        }
        if (!appendOperandSQL(m_operands[0], entity, sql, bindings, error))
            return false;
        sql += " IN (";
        for (size_t i = 0; i < list->size(); ++i) {
            sql += i ? ",?" : "?";
            bindings.push_back((*list)[i]);
        }
        sql += ')';
        return true;
    }
    if (!appendOperandSQL(m_operands[0], entity, sql, bindings, error))
        return false;
    sql += operatorSQL(m_operator);
    return appendOperandSQL(m_operands[1], entity, sql, bindings, error);
}

std::string KCPredicate::predicateFormat() const
{
    switch (m_type) {
    case Type::True: return "TRUEPREDICATE";
    case Type::False: return "FALSEPREDICATE";
    case Type::Not: return "NOT " + m_subpredicates[0]->predicateFormat();
    case Type::And:
    case Type::Or: {
        std::string text;
        for (size_t i = 0; i < m_subpredicates.size(); ++i) {
            if (i)
                text += m_type == Type::And ? " AND " : " OR ";
            const auto& sub = m_subpredicates[i];
            bool group = sub->type() == Type::And || sub->type() == Type::Or;
            if (group)
                text.append(1, '(').append(sub->predicateFormat()).append(1, ')');
            else
                text += sub->predicateFormat();
        }
        return text;
    }
    case Type::Comparison: break;
    }
    return expressionText(m_operands[0]) + " " + operatorText(m_operator) + (m_normalized ? "[n] " : " ") + expressionText(m_operands[1]);
}
