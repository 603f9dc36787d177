#include "query.h"

#include "cim_status.h"
#include "query_tokens.h"
#include "values.h"

#include <algorithm>
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
    ">=, "
    "IS NULL, IS NOT NULL, AND, OR and parentheses: no NOT, no LIKE, no aliases, no functions";

struct Comparison
{
    std::string_view symbol;
    bool (*holds)(std::partial_ordering order);
};

constexpr Comparison kComparisons[] = {
    {"=",
     [](std::partial_ordering order) {
         return order == 0;
     }},
    {"<>",
     [](std::partial_ordering order) {
         return order != 0;
     }},
    {"<",
     [](std::partial_ordering order) {
         return order < 0;
     }},
    {"<=",
     [](std::partial_ordering order) {
         return order <= 0;
     }},
    {">",
     [](std::partial_ordering order) {
         return order > 0;
     }},
    {">=",
     [](std::partial_ordering order) {
         return order >= 0;
     }},
};

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

// What values of a type are compared with; Symbol: with nothing.
QueryToken::Kind kindOfLiteral(cimxml::Type type)
{
    if (cimxml::isUnsigned(type) || cimxml::isSigned(type) || cimxml::isReal(type)) {
        return QueryToken::Kind::Number;
    }
    if (type == cimxml::Type::String) {
        return QueryToken::Kind::Text;
    }
    return type == cimxml::Type::Boolean ? QueryToken::Kind::Name : QueryToken::Kind::Symbol;
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
    Parser(const std::vector<QueryToken>& tokens, const NameSpace& nameSpace, Query& query,
           cimxml::CimError& error)
        : mTokens(tokens), mNameSpace(nameSpace), mQuery(query), mError(error)
    {}

    bool run();

private:
    const QueryToken& next() const { return mTokens[mAt]; }
    bool nextIsKeyword(const char* keyword) const;
    bool takeKeyword(const char* keyword);
    bool takeSymbol(std::string_view symbol);
    bool takeName(std::string& name);
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

    const std::vector<QueryToken>& mTokens;
    const NameSpace& mNameSpace;
    Query& mQuery;
    cimxml::CimError& mError;
    size_t mAt = 0;
    unsigned int mNesting = 0;
};

bool Parser::nextIsKeyword(const char* keyword) const
{
    return next().kind == QueryToken::Kind::Name && cimxml::equalsIgnoreCase(next().text, keyword);
}

bool Parser::takeKeyword(const char* keyword)
{
    const bool isThere = nextIsKeyword(keyword);
    mAt += isThere ? 1 : 0;
    return isThere;
}

bool Parser::takeSymbol(std::string_view symbol)
{
    const bool isThere = next().kind == QueryToken::Kind::Symbol && next().text == symbol;
    mAt += isThere ? 1 : 0;
    return isThere;
}

bool Parser::takeName(std::string& name)
{
    const bool isThere = next().kind == QueryToken::Kind::Name && !nextIsKeyword("NOT");
    if (isThere) {
        name = next().text;
        ++mAt;
    }
    return isThere;
}

// Always false.
bool Parser::expected(const std::string& what)
{
    const bool isEnd = next().kind == QueryToken::Kind::End;
    return invalid("expected " + what + " at offset " + std::to_string(next().offset) +
                   (isEnd ? ", where the query ends" : " instead of " + next().text) + kSupported);
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
    return next().kind == QueryToken::Kind::End || expected("the end of the query");
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
                     holds = comparison.holds](const cimxml::Instance& instance) {
            const cimxml::Value& value = instance.properties[property].value;
            return !value.isNull && holds(compare(value.scalar, literal));
        };
        return true;
    }
    return expected("a comparison");
}

bool Parser::readLiteral(const cimxml::Property& property, cimxml::Scalar& literal)
{
    const bool isBoolean = nextIsKeyword("TRUE") || nextIsKeyword("FALSE");
    if (next().kind != QueryToken::Kind::Text && next().kind != QueryToken::Kind::Number &&
        !isBoolean) {
        return expected("a literal");
    }
    const cimxml::Type type = property.value.type;
    auto value = cimxml::parseScalar(type, next().text);
    if (property.value.isArray || kindOfLiteral(type) != next().kind || !value) {
        return invalid(property.name + " is of type " + typeText(type, property.value.isArray) +
                       " and cannot be compared with " + next().text);
    }
    literal = std::move(*value);
    ++mAt;
    return true;
}

} // namespace

bool readQuery(std::string_view text, const NameSpace& nameSpace, Query& query,
               cimxml::CimError& error)
{
    std::vector<QueryToken> tokens;
    std::string problem;
    return splitQuery(text, tokens, problem) ? Parser(tokens, nameSpace, query, error).run()
                                             : fail(error, kInvalidQuery, problem + kSupported);
}

} // namespace cimomd
