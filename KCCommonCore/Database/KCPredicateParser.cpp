// The predicate format language: a tokenizer that resolves the format's
// arguments as it goes, and a recursive-descent parser over the tokens.
#include "KCPredicate.h"

#include "Utilities/KCLogger.h"
#include "Utilities/KCStringConversion.h"

#include <glib.h>

#include <cctype>
#include <charconv>
#include <optional>
#include <variant>

namespace {

constexpr int kMaximumNesting = 64;

struct Token {
    enum class Kind { End, Identifier, Value, Key, Operator, LeftParen, RightParen, LeftBrace, RightBrace, Comma };
    Kind kind = Kind::End;
    std::string text;  // identifier, key or operator
    KCValue value;
    bool normalized = false;  // an operator's [n] option
    size_t offset = 0;
};

bool equalsIgnoringCase(std::string_view a, std::string_view b)
{
    if (a.size() != b.size())
        return false;
    for (size_t i = 0; i < a.size(); ++i) {
        if (g_ascii_toupper(a[i]) != g_ascii_toupper(b[i]))  // keywords are ASCII, whatever the locale
            return false;
    }
    return true;
}

class Tokenizer {
public:
    Tokenizer(std::string_view format, std::span<const KCValue> arguments) : m_format(format), m_arguments(arguments) {}

    std::optional<std::vector<Token>> tokenize(std::string& error)
    {
        std::vector<Token> tokens;
        while (true) {
            skipSpace();
            Token token;
            token.offset = m_position;
            if (m_position >= m_format.size()) {
                tokens.push_back(token);
                return tokens;
            }
            if (!next(token, error))
                return std::nullopt;
            tokens.push_back(std::move(token));
        }
    }

private:
    void skipSpace()
    {
        while (m_position < m_format.size() && std::isspace(static_cast<unsigned char>(m_format[m_position])))
            ++m_position;
    }

    bool fail(std::string& error, const std::string& message) const
    {
        error = message + " at offset " + std::to_string(m_position);
        return false;
    }

    bool next(Token& token, std::string& error)
    {
        char c = m_format[m_position];
        auto single = [&](Token::Kind kind) {
            token.kind = kind;
            ++m_position;
            return true;
        };
        switch (c) {
        case '(': return single(Token::Kind::LeftParen);
        case ')': return single(Token::Kind::RightParen);
        case '{': return single(Token::Kind::LeftBrace);
        case '}': return single(Token::Kind::RightBrace);
        case ',': return single(Token::Kind::Comma);
        case '%': return formatArgument(token, error);
        case '\'':
        case '"': return quotedText(token, error);
        default: break;
        }
        if (std::isdigit(static_cast<unsigned char>(c)) || (c == '-' && m_position + 1 < m_format.size() && std::isdigit(static_cast<unsigned char>(m_format[m_position + 1]))))
            return number(token, error);
        if (std::isalpha(static_cast<unsigned char>(c)) || c == '_' || c == '$') {
            size_t start = m_position;
            while (m_position < m_format.size()) {
                char d = m_format[m_position];
                if (!std::isalnum(static_cast<unsigned char>(d)) && d != '_' && d != '$' && d != '.')
                    break;
                ++m_position;
            }
            token.kind = Token::Kind::Identifier;
            token.text = std::string(m_format.substr(start, m_position - start));
            return true;
        }
        return comparisonOperator(token, error);
    }

    bool comparisonOperator(Token& token, std::string& error)
    {
        static constexpr std::string_view operators[] = {"==", "!=", "<>", "<=", "=<", ">=", "=>", "&&", "||", "=", "<", ">", "!"};
        for (std::string_view op : operators) {
            if (m_format.substr(m_position, op.size()) == op) {
                token.kind = Token::Kind::Operator;
                token.text = std::string(op);
                m_position += op.size();
                return options(token, error);
            }
        }
        return fail(error, std::string("unexpected character '") + m_format[m_position] + "'");
    }

    // "[n]" after a comparison: text is compared as normalised, which for
    // stored text is plain equality. Case and diacritic folding are not offered.
    bool options(Token& token, std::string& error)
    {
        if (m_position >= m_format.size() || m_format[m_position] != '[')
            return true;
        size_t close = m_format.find(']', m_position);
        if (close == std::string_view::npos)
            return fail(error, "unterminated comparison option");
        std::string_view letters = m_format.substr(m_position + 1, close - m_position - 1);
        for (char letter : letters) {
            if (letter != 'n')
                return fail(error, std::string("unsupported comparison option '") + letter + "'");
        }
        token.normalized = true;
        m_position = close + 1;
        return true;
    }

    bool quotedText(Token& token, std::string& error)
    {
        char quote = m_format[m_position++];
        std::string text;
        while (m_position < m_format.size() && m_format[m_position] != quote) {
            char c = m_format[m_position++];
            if (c == '\\' && m_position < m_format.size()) {
                char escaped = m_format[m_position++];
                c = escaped == 'n' ? '\n' : escaped == 't' ? '\t' : escaped == 'r' ? '\r' : escaped;
            }
            text += c;
        }
        if (m_position >= m_format.size())
            return fail(error, "unterminated quoted text");
        ++m_position;
        token.kind = Token::Kind::Value;
        token.value = KCValue::fromUTF8(text);
        return true;
    }

    bool number(Token& token, std::string& error)
    {
        const char* begin = m_format.data() + m_position;
        const char* end = m_format.data() + m_format.size();
        bool negative = *begin == '-';
        const char* digits = negative ? begin + 1 : begin;
        if (end - digits > 2 && digits[0] == '0' && (digits[1] == 'x' || digits[1] == 'X')) {
            uint64_t value = 0;
            auto result = std::from_chars(digits + 2, end, value, 16);
            if (result.ec != std::errc() || value > INT64_MAX)
                return fail(error, "bad hexadecimal number");
            token.value = KCValue(negative ? -static_cast<int64_t>(value) : static_cast<int64_t>(value));
            m_position += static_cast<size_t>(result.ptr - begin);
        } else {
            int64_t integer = 0;
            auto integerResult = std::from_chars(begin, end, integer);
            double real = 0;
            auto realResult = std::from_chars(begin, end, real);
            if (realResult.ec != std::errc())
                return fail(error, "bad number");
            if (integerResult.ec == std::errc() && integerResult.ptr == realResult.ptr) {
                token.value = KCValue(integer);
            } else {
                token.value = KCValue(real);
            }
            m_position += static_cast<size_t>(realResult.ptr - begin);
        }
        token.kind = Token::Kind::Value;
        if (m_position < m_format.size() && std::isalpha(static_cast<unsigned char>(m_format[m_position])))
            return fail(error, "bad number");
        return true;
    }

    bool formatArgument(Token& token, std::string& error)
    {
        static constexpr std::string_view integers[] = {"%lld", "%llu", "%ld", "%lu", "%d", "%i", "%u"};
        std::string_view rest = m_format.substr(m_position);
        auto takeArgument = [&](size_t length) -> const KCValue* {
            if (m_nextArgument >= m_arguments.size()) {
                fail(error, "missing argument for " + std::string(rest.substr(0, length)));
                return nullptr;
            }
            m_position += length;
            return &m_arguments[m_nextArgument++];
        };
        if (rest.starts_with("%@")) {
            const KCValue* argument = takeArgument(2);
            if (!argument)
                return false;
            token.kind = Token::Kind::Value;
            token.value = *argument;
            return true;
        }
        if (rest.starts_with("%K")) {
            const KCValue* argument = takeArgument(2);
            if (!argument)
                return false;
            if (!argument->string() || argument->string()->empty())
                return fail(error, "%K needs a key name");
            token.kind = Token::Kind::Key;
            token.text = argument->utf8String();
            return true;
        }
        for (std::string_view specifier : integers) {
            if (!rest.starts_with(specifier))
                continue;
            const KCValue* argument = takeArgument(specifier.size());
            if (!argument)
                return false;
            auto number = argument->int64Value();
            if (!number)
                return fail(error, std::string(specifier) + " needs an integer");
            bool narrow = specifier == "%d" || specifier == "%i";
            bool isUnsigned = specifier.back() == 'u';
            token.kind = Token::Kind::Value;
            if (narrow)
                token.value = KCValue(static_cast<int64_t>(static_cast<int32_t>(*number)));
            else if (isUnsigned && specifier.size() == 2)
                token.value = KCValue(static_cast<int64_t>(static_cast<uint32_t>(*number)));
            else
                token.value = isUnsigned ? KCValue(*argument->uint64Value()) : KCValue(*number);
            return true;
        }
        if (rest.starts_with("%f") || rest.starts_with("%lf")) {
            const KCValue* argument = takeArgument(rest.starts_with("%f") ? 2 : 3);
            if (!argument)
                return false;
            auto number = argument->doubleValue();
            if (!number)
                return fail(error, "%f needs a number");
            token.kind = Token::Kind::Value;
            token.value = KCValue(*number);
            return true;
        }
        return fail(error, "unknown format specifier");
    }

    std::string_view m_format;
    std::span<const KCValue> m_arguments;
    size_t m_position = 0;
    size_t m_nextArgument = 0;
};

// A parsed piece: a predicate, or an expression waiting to be compared.
struct Node {
    std::shared_ptr<const KCPredicate> predicate;
    std::optional<KCExpression> expression;
};

class Parser {
public:
    explicit Parser(std::vector<Token> tokens) : m_tokens(std::move(tokens)) {}

    std::shared_ptr<const KCPredicate> parse(std::string& error)
    {
        auto node = parseOr(0);
        if (!node)
            return failed(error);
        if (current().kind != Token::Kind::End) {
            m_error = "unexpected text";
            return failed(error);
        }
        if (!node->predicate) {
            m_error = "a value is not a predicate";
            return failed(error);
        }
        return node->predicate;
    }

private:
    std::shared_ptr<const KCPredicate> failed(std::string& error)
    {
        error = m_error + " at offset " + std::to_string(current().offset);
        return nullptr;
    }

    const Token& current() const { return m_tokens[m_position]; }
    void advance()
    {
        if (m_position + 1 < m_tokens.size())
            ++m_position;
    }
    bool isKeyword(std::string_view keyword) const
    {
        return current().kind == Token::Kind::Identifier && equalsIgnoringCase(current().text, keyword);
    }
    bool isOperator(std::string_view op) const { return current().kind == Token::Kind::Operator && current().text == op; }

    std::optional<Node> error(std::string message)
    {
        m_error = std::move(message);
        return std::nullopt;
    }

    std::optional<Node> parseCompound(int depth, KCPredicate::Type type)
    {
        bool isOr = type == KCPredicate::Type::Or;
        auto first = isOr ? parseCompound(depth, KCPredicate::Type::And) : parseNot(depth);
        if (!first)
            return std::nullopt;
        std::vector<std::shared_ptr<const KCPredicate>> parts;
        while (isOr ? (isKeyword("OR") || isOperator("||")) : (isKeyword("AND") || isOperator("&&"))) {
            advance();
            auto next = isOr ? parseCompound(depth, KCPredicate::Type::And) : parseNot(depth);
            if (!next)
                return std::nullopt;
            if (parts.empty()) {
                if (!first->predicate)
                    return error(std::string(isOr ? "OR" : "AND") + " needs predicates");
                parts.push_back(first->predicate);
            }
            if (!next->predicate)
                return error(std::string(isOr ? "OR" : "AND") + " needs predicates");
            parts.push_back(next->predicate);
        }
        if (parts.empty())
            return first;
        return Node {KCPredicate::compound(type, std::move(parts)), std::nullopt};
    }

    std::optional<Node> parseOr(int depth)
    {
        if (depth > kMaximumNesting)
            return error("predicate nested too deeply");
        return parseCompound(depth, KCPredicate::Type::Or);
    }

    std::optional<Node> parseNot(int depth)
    {
        if (isKeyword("NOT") || isOperator("!")) {
            if (depth > kMaximumNesting)
                return error("predicate nested too deeply");
            advance();
            auto operand = parseNot(depth + 1);
            if (!operand)
                return std::nullopt;
            if (!operand->predicate)
                return error("NOT needs a predicate");
            return Node {KCPredicate::compound(KCPredicate::Type::Not, {operand->predicate}), std::nullopt};
        }
        return parseComparison(depth);
    }

    std::optional<KCPredicate::Operator> comparisonOperator() const
    {
        using Op = KCPredicate::Operator;
        if (isKeyword("IN"))
            return Op::In;
        if (current().kind != Token::Kind::Operator)
            return std::nullopt;
        const std::string& op = current().text;
        if (op == "==" || op == "=")
            return Op::Equal;
        if (op == "!=" || op == "<>")
            return Op::NotEqual;
        if (op == "<")
            return Op::Less;
        if (op == "<=" || op == "=<")
            return Op::LessOrEqual;
        if (op == ">")
            return Op::Greater;
        if (op == ">=" || op == "=>")
            return Op::GreaterOrEqual;
        return std::nullopt;
    }

    std::optional<Node> parseComparison(int depth)
    {
        auto left = parseTerm(depth);
        if (!left)
            return std::nullopt;
        auto op = comparisonOperator();
        if (!op)
            return left;
        bool normalized = current().normalized;
        advance();
        auto right = parseTerm(depth);
        if (!right)
            return std::nullopt;
        if (!left->expression || !right->expression)
            return error("a comparison needs values on both sides");
        if (*op == KCPredicate::Operator::In) {
            const KCExpression& list = *right->expression;
            if (list.type() != KCExpression::Type::Constant || !list.value().array())
                return error("IN needs a list");
        }
        return Node {KCPredicate::comparison(std::move(*left->expression), *op, std::move(*right->expression), normalized), std::nullopt};
    }

    std::optional<Node> parseTerm(int depth)
    {
        if (depth > kMaximumNesting)
            return error("predicate nested too deeply");
        const Token& token = current();
        switch (token.kind) {
        case Token::Kind::LeftParen: {
            advance();
            auto inner = parseOr(depth + 1);
            if (!inner)
                return std::nullopt;
            if (current().kind != Token::Kind::RightParen)
                return error("missing ')'");
            advance();
            return inner;
        }
        case Token::Kind::LeftBrace: return parseList(depth);
        case Token::Kind::Value: {
            KCValue value = token.value;
            advance();
            return Node {nullptr, KCExpression::constant(std::move(value))};
        }
        case Token::Kind::Key: {
            std::string key = token.text;
            advance();
            return Node {nullptr, KCExpression::keyPath(std::move(key))};
        }
        case Token::Kind::Identifier: return parseIdentifier();
        default: return error("expected a value");
        }
    }

    std::optional<Node> parseIdentifier()
    {
        struct Constant {
            const char* word;
            std::optional<bool> value;  // nothing: NULL
        };
        static const Constant constants[] = {{"NULL", std::nullopt}, {"NIL", std::nullopt}, {"TRUE", true}, {"YES", true}, {"FALSE", false}, {"NO", false}};
        if (isKeyword("TRUEPREDICATE") || isKeyword("FALSEPREDICATE")) {
            bool value = isKeyword("TRUEPREDICATE");
            advance();
            return Node {KCPredicate::predicateWithValue(value), std::nullopt};
        }
        for (const auto& constant : constants) {
            if (isKeyword(constant.word)) {
                advance();
                return Node {nullptr, KCExpression::constant(constant.value ? KCValue(*constant.value) : KCValue())};
            }
        }
        static const char* const reserved[] = {"AND", "OR", "NOT", "IN"};
        for (const char* word : reserved) {
            if (isKeyword(word))
                return error(std::string("unexpected ") + word);
        }
        std::string key = current().text;
        advance();
        return Node {nullptr, KCExpression::keyPath(std::move(key))};
    }

    std::optional<Node> parseList(int depth)
    {
        advance();
        KCArray items;
        while (current().kind != Token::Kind::RightBrace) {
            if (!items.empty()) {
                if (current().kind != Token::Kind::Comma)
                    return error("expected ',' or '}'");
                advance();
            }
            auto item = parseTerm(depth + 1);
            if (!item)
                return std::nullopt;
            if (!item->expression || item->expression->type() != KCExpression::Type::Constant)
                return error("a list holds values only");
            items.push_back(item->expression->value());
        }
        advance();
        return Node {nullptr, KCExpression::constant(KCValue(std::move(items)))};
    }

    std::vector<Token> m_tokens;
    size_t m_position = 0;
    std::string m_error;
};

} // namespace

std::shared_ptr<const KCPredicate> KCPredicate::predicateWithFormat(std::string_view format, std::span<const KCValue> arguments, KCError* error)
{
    std::string message;
    auto tokens = Tokenizer(format, arguments).tokenize(message);
    std::shared_ptr<const KCPredicate> predicate;
    if (tokens)
        predicate = Parser(std::move(*tokens)).parse(message);
    if (!predicate) {
        KCLog("Unable to parse the format string \"%@\": %@", format, message);
        KCSetStoreError(error, KCStoreErrorInvalidPredicate, "unable to parse \"" + std::string(format) + "\": " + message);
    }
    return predicate;
}
