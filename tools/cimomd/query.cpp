#include "query.h"

#include "cim_status.h"
#include "values.h"

#include <algorithm>
#include <cctype>
#include <compare>
#include <type_traits>
#include <utility>

namespace cimomd {

namespace {

using Condition = Query::Condition;

// How deep conditions may be nested: beyond what anyone writes, far from the end of the stack.
constexpr unsigned int kMaxNesting = 64;

constexpr const char* kSupported =
    "; supported is SELECT * | property, ... FROM class [WHERE condition] with =, <>, <, <=, >, "
    ">=, IS NULL, IS NOT NULL, AND, OR and parentheses: no NOT, no LIKE, no aliases, no functions";

bool isSpace(char c)
{
    return std::isspace(static_cast<unsigned char>(c)) != 0;
}

bool isDigit(char c)
{
    return std::isdigit(static_cast<unsigned char>(c)) != 0;
}

bool isNamePart(char c)
{
    const auto byte = static_cast<unsigned char>(c);
    return std::isalnum(byte) != 0 || c == '_' || byte >= 0x80;
}

// Whether it is a number that the property's type can hold shows when it becomes a value.
bool isNumberPart(char c)
{
    return isNamePart(c) || c == '.' || c == '+' || c == '-';
}

std::string_view leading(std::string_view text, bool (*belongs)(char))
{
    const auto end = std::find_if_not(text.begin(), text.end(), belongs);
    return text.substr(0, static_cast<size_t>(end - text.begin()));
}

// By what holds of an order.
struct Comparison
{
    bool holds(std::partial_ordering order) const
    {
        return (isLess && std::is_lt(order)) || (isEqual && std::is_eq(order)) ||
               (isGreater && std::is_gt(order));
    }

    std::string_view symbol;
    bool isLess;
    bool isEqual;
    bool isGreater;
};

// The longer ones come before those that they begin with.
constexpr Comparison kComparisons[] = {{"=", false, true, false}, {"<>", true, false, true},
                                       {"<=", true, true, false}, {"<", true, false, false},
                                       {">=", false, true, true}, {">", false, false, true}};

// Of values of one type.
std::partial_ordering compare(const cimxml::Scalar& a, const cimxml::Scalar& b)
{
    return std::visit(
        [](const auto& x, const auto& y) -> std::partial_ordering {
            using X = std::decay_t<decltype(x)>;
            constexpr bool kHasOrder = std::is_arithmetic_v<X> || std::is_same_v<X, std::string>;
            if constexpr (kHasOrder && std::is_same_v<X, std::decay_t<decltype(y)>>) {
                return x <=> y;
            } else {
                return std::partial_ordering::unordered;
            }
        },
        a, b);
}

enum class LiteralKind { Number, Text, Boolean, None };

// What values of a type are compared with.
LiteralKind literalKindOf(cimxml::Type type)
{
    if (cimxml::isUnsigned(type) || cimxml::isSigned(type) || cimxml::isReal(type)) {
        return LiteralKind::Number;
    }
    if (type == cimxml::Type::String) {
        return LiteralKind::Text;
    }
    return type == cimxml::Type::Boolean ? LiteralKind::Boolean : LiteralKind::None;
}

Condition joined(Condition a, Condition b, bool needsBoth)
{
    return [a = std::move(a), b = std::move(b), needsBoth](const cimxml::Instance& instance) {
        return needsBoth ? a(instance) && b(instance) : a(instance) || b(instance);
    };
}

class Parser
{
public:
    Parser(std::string_view text, const NameSpace& nameSpace, Query& query, cimxml::CimError& error)
        : mText(text), mNameSpace(nameSpace), mQuery(query), mError(error)
    {
        take(0);
    }

    bool run();

private:
    void take(size_t bytes);
    std::string_view word() const { return leading(mRest, isNamePart); }
    bool takeKeyword(std::string_view keyword);
    bool takeSymbol(std::string_view symbol);
    bool takeName(std::string& name);
    bool takeText(std::string& text);
    bool takeLiteral(std::string& text, LiteralKind& kind);
    std::string offset() const { return std::to_string(mText.size() - mRest.size()); }
    bool expected(const std::string& what);
    bool invalid(const std::string& problem) { return fail(mError, kInvalidQuery, problem); }

    bool readSelectList();
    bool readClass();
    bool findProperty(const std::string& name, size_t& index);
    bool readAlternatives(Condition& condition);
    bool readConjunction(Condition& condition);
    bool readJoined(const char* keyword, bool (Parser::*readPart)(Condition&),
                    Condition& condition);
    bool readTest(Condition& condition);
    bool readNullTest(size_t property, Condition& condition);
    bool readComparison(size_t property, Condition& condition);
    bool readLiteral(const cimxml::Property& property, cimxml::Scalar& literal);

    std::string_view mText;
    std::string_view mRest = mText; // begins with a word or a symbol
    const NameSpace& mNameSpace;
    Query& mQuery;
    cimxml::CimError& mError;
    unsigned int mNesting = 0;
};

void Parser::take(size_t bytes)
{
    mRest.remove_prefix(bytes);
    mRest.remove_prefix(leading(mRest, isSpace).size());
}

bool Parser::takeKeyword(std::string_view keyword)
{
    const bool isThere = cimxml::equalsIgnoreCase(word(), keyword);
    take(isThere ? keyword.size() : 0);
    return isThere;
}

bool Parser::takeSymbol(std::string_view symbol)
{
    const bool isThere = mRest.starts_with(symbol);
    take(isThere ? symbol.size() : 0);
    return isThere;
}

bool Parser::takeName(std::string& name)
{
    name = word();
    if (name.empty() || isDigit(name.front()) || cimxml::equalsIgnoreCase(name, "NOT")) {
        return false;
    }
    take(name.size());
    return true;
}

// A backslash stands before a quote or a backslash that means itself.
bool Parser::takeText(std::string& text)
{
    const char quote = mRest.front();
    for (size_t i = 1; i < mRest.size(); ++i) {
        if (mRest[i] == quote) {
            take(i + 1);
            return true;
        }
        const char escaped = mRest[i] == '\\' && i + 1 < mRest.size() ? mRest[i + 1] : '\0';
        i += escaped == quote || escaped == '\\' ? 1 : 0;
        text += mRest[i];
    }
    return invalid("a text without its closing quote at offset " + offset() + kSupported);
}

bool Parser::takeLiteral(std::string& text, LiteralKind& kind)
{
    const char first = mRest.empty() ? '\0' : mRest.front();
    if (first == '\'' || first == '"') {
        kind = LiteralKind::Text;
        return takeText(text);
    }
    const bool isNumber = isDigit(first) || first == '-' || first == '+';
    kind = isNumber ? LiteralKind::Number : LiteralKind::Boolean;
    text = leading(mRest, isNumber ? isNumberPart : isNamePart);
    if (!isNumber && !cimxml::equalsIgnoreCase(text, "TRUE") &&
        !cimxml::equalsIgnoreCase(text, "FALSE")) {
        return expected("a literal");
    }
    take(text.size());
    return true;
}

// Always false.
bool Parser::expected(const std::string& what)
{
    const std::string_view found = word().empty() ? mRest.substr(0, 1) : word();
    return invalid("expected " + what + " at offset " + offset() +
                   (found.empty() ? ", where the query ends" : " instead of ") +
                   std::string(found) + kSupported);
}

bool Parser::run()
{
    if (!takeKeyword("SELECT")) {
        return expected("SELECT");
    }
    if (!readSelectList() || !readClass()) {
        return false;
    }
    mQuery.selects = [](const cimxml::Instance&) {
        return true;
    };
    if (takeKeyword("WHERE") && !readAlternatives(mQuery.selects)) {
        return false;
    }
    return mRest.empty() || expected("the end of the query");
}

bool Parser::readSelectList()
{
    if (takeSymbol("*")) {
        return true;
    }
    do {
        if (!takeName(mQuery.properties.emplace_back())) {
            return expected("a property");
        }
    } while (takeSymbol(","));
    return true;
}

bool Parser::readClass()
{
    std::string name;
    if (!takeKeyword("FROM")) {
        return expected("FROM");
    }
    if (!takeName(name)) {
        return expected("a class");
    }
    mQuery.cls = mNameSpace.findClass(name, mError);
    size_t ignored = 0;
    return mQuery.cls != nullptr && std::all_of(mQuery.properties.begin(), mQuery.properties.end(),
                                                [&](const std::string& property) {
                                                    return findProperty(property, ignored);
                                                });
}

bool Parser::findProperty(const std::string& name, size_t& index)
{
    const cimxml::Class& cls = mQuery.cls->definition;
    const cimxml::Property* const property = cls.findProperty(name);
    if (property == nullptr) {
        return invalid(cls.name + " has no property " + name);
    }
    index = static_cast<size_t>(property - cls.properties.data());
    return true;
}

bool Parser::readAlternatives(Condition& condition)
{
    if (++mNesting > kMaxNesting) {
        return invalid("conditions are nested too deep");
    }
    const bool isRead = readJoined("OR", &Parser::readConjunction, condition);
    --mNesting;
    return isRead;
}

bool Parser::readConjunction(Condition& condition)
{
    return readJoined("AND", &Parser::readTest, condition);
}

bool Parser::readJoined(const char* keyword, bool (Parser::*readPart)(Condition&),
                        Condition& condition)
{
    const bool needsBoth = std::string_view(keyword) == "AND";
    bool isRead = (this->*readPart)(condition);
    while (isRead && takeKeyword(keyword)) {
        Condition other;
        isRead = (this->*readPart)(other);
        condition = joined(std::move(condition), std::move(other), needsBoth);
    }
    return isRead;
}

bool Parser::readTest(Condition& condition)
{
    if (takeSymbol("(")) {
        return readAlternatives(condition) && (takeSymbol(")") || expected("\")\""));
    }
    std::string name;
    size_t property = 0;
    if (!takeName(name)) {
        return expected("a property or \"(\"");
    }
    if (!findProperty(name, property)) {
        return false;
    }
    return takeKeyword("IS") ? readNullTest(property, condition)
                             : readComparison(property, condition);
}

bool Parser::readNullTest(size_t property, Condition& condition)
{
    const bool isNull = !takeKeyword("NOT");
    condition = [property, isNull](const cimxml::Instance& instance) {
        return instance.properties[property].value.isNull == isNull;
    };
    return takeKeyword("NULL") || expected("NULL");
}

bool Parser::readComparison(size_t property, Condition& condition)
{
    for (const Comparison& comparison : kComparisons) {
        if (!takeSymbol(comparison.symbol)) {
            continue;
        }
        cimxml::Scalar literal;
        if (!readLiteral(mQuery.cls->definition.properties[property], literal)) {
            return false;
        }
        condition = [property, literal = std::move(literal),
                     comparison](const cimxml::Instance& instance) {
            const cimxml::Value& value = instance.properties[property].value;
            return !value.isNull && comparison.holds(compare(value.scalar, literal));
        };
        return true;
    }
    return expected("a comparison");
}

bool Parser::readLiteral(const cimxml::Property& property, cimxml::Scalar& literal)
{
    std::string text;
    LiteralKind kind{};
    if (!takeLiteral(text, kind)) {
        return false;
    }
    const cimxml::Type type = property.value.type;
    auto value = cimxml::parseScalar(type, text);
    if (property.value.isArray || literalKindOf(type) != kind || !value) {
        return invalid(property.name + " is of type " + typeText(type, property.value.isArray) +
                       " and cannot be compared with " + text);
    }
    literal = std::move(*value);
    return true;
}

} // namespace

bool readQuery(std::string_view text, const NameSpace& nameSpace, Query& query,
               cimxml::CimError& error)
{
    return Parser(text, nameSpace, query, error).run();
}

} // namespace cimomd
