#include "query.h"

#include "query_tokens.h"

#include <strings.h>

#include <utility>

namespace cimomd {

namespace {

// How deep conditions may be nested: beyond what anyone writes, far from the end of the stack.
constexpr unsigned int kMaxNesting = 64;

bool isSame(const std::string& a, const char* b)
{
    return strcasecmp(a.c_str(), b) == 0;
}

struct ComparisonSymbol
{
    std::string_view symbol;
    Condition::Kind kind;
    Condition::Kind mirrored; // with its operands exchanged
};

constexpr ComparisonSymbol kComparisons[] = {
    {"=", Condition::Kind::Equal, Condition::Kind::Equal},
    {"<>", Condition::Kind::NotEqual, Condition::Kind::NotEqual},
    {"!=", Condition::Kind::NotEqual, Condition::Kind::NotEqual},
    {"<", Condition::Kind::Less, Condition::Kind::Greater},
    {"<=", Condition::Kind::LessOrEqual, Condition::Kind::GreaterOrEqual},
    {">", Condition::Kind::Greater, Condition::Kind::Less},
    {">=", Condition::Kind::GreaterOrEqual, Condition::Kind::LessOrEqual},
};

class Parser
{
public:
    Parser(const std::vector<QueryToken>& tokens, QueryLanguage language, Query& query,
           std::string& problem)
        : mTokens(tokens), mLanguage(language), mQuery(query), mProblem(problem)
    {}

    bool run();

private:
    const QueryToken& next() const { return mTokens[mAt]; }
    bool nextIsKeyword(const char* keyword) const;
    bool takeKeyword(const char* keyword);
    bool takeSymbol(std::string_view symbol);
    bool takeName(std::string& name);
    bool expected(const std::string& what);

    bool readSelectList();
    bool readFrom();
    bool checkQualifiers();
    bool readProperty(std::string& name);

    bool readOr(Condition& condition);
    bool readAnd(Condition& condition);
    bool readNot(Condition& condition);
    bool readTest(Condition& condition);
    bool readOperand(Operand& operand);
    bool readComparison(Condition& condition);
    bool readLike(Condition& condition);
    bool readIs(Condition& condition);

    const std::vector<QueryToken>& mTokens;
    QueryLanguage mLanguage;
    Query& mQuery;
    std::string& mProblem;
    size_t mAt = 0;
    unsigned int mNesting = 0;
    std::string mAlias;
    std::vector<std::string> mQualifiers; // of properties; the class is known only after some
};

bool Parser::nextIsKeyword(const char* keyword) const
{
    return next().kind == QueryToken::Kind::Name && isSame(next().text, keyword);
}

bool Parser::takeKeyword(const char* keyword)
{
    if (!nextIsKeyword(keyword)) {
        return false;
    }
    ++mAt;
    return true;
}

bool Parser::takeSymbol(std::string_view symbol)
{
    if (next().kind != QueryToken::Kind::Symbol || next().text != symbol) {
        return false;
    }
    ++mAt;
    return true;
}

bool Parser::takeName(std::string& name)
{
    if (next().kind != QueryToken::Kind::Name) {
        return false;
    }
    name = next().text;
    ++mAt;
    return true;
}

// Always false.
bool Parser::expected(const std::string& what)
{
    mProblem = "expected " + what + " at offset " + std::to_string(next().offset) +
               (next().kind == QueryToken::Kind::End ? ", where the query ends" : "");
    return false;
}

bool Parser::run()
{
    if (!takeKeyword("SELECT")) {
        return expected("SELECT");
    }
    if (!readSelectList() || !readFrom()) {
        return false;
    }
    if (takeKeyword("WHERE") && !readOr(mQuery.where.emplace_back())) {
        return false;
    }
    if (next().kind != QueryToken::Kind::End) {
        return expected("the end of the query");
    }
    return checkQualifiers();
}

bool Parser::readSelectList()
{
    if (takeSymbol("*")) {
        return true;
    }
    do {
        if (!readProperty(mQuery.properties.emplace_back())) {
            return false;
        }
    } while (takeSymbol(","));
    return true;
}

bool Parser::readFrom()
{
    if (!takeKeyword("FROM")) {
        return expected("FROM");
    }
    if (!takeName(mQuery.className)) {
        return expected("a class");
    }
    if (takeKeyword("AS") && !takeName(mAlias)) {
        return expected("the alias of the class");
    }
    if (mAlias.empty() && !nextIsKeyword("WHERE")) {
        (void)takeName(mAlias);
    }
    return true;
}

bool Parser::readProperty(std::string& name)
{
    if (!takeName(name)) {
        return expected("a property");
    }
    if (takeSymbol(".")) {
        mQualifiers.push_back(std::move(name));
        if (!takeName(name)) {
            return expected("a property");
        }
    }
    return true;
}

bool Parser::checkQualifiers()
{
    for (const std::string& qualifier : mQualifiers) {
        if (!isSame(qualifier, mQuery.className.c_str()) && !isSame(qualifier, mAlias.c_str())) {
            mProblem = qualifier + " is not the class that is selected from";
            return false;
        }
    }
    return true;
}

bool Parser::readOr(Condition& condition)
{
    if (++mNesting > kMaxNesting) {
        mProblem = "conditions are nested too deep";
        return false;
    }
    condition.kind = Condition::Kind::Or;
    do {
        if (!readAnd(condition.parts.emplace_back())) {
            return false;
        }
    } while (takeKeyword("OR"));
    --mNesting;
    return true;
}

bool Parser::readAnd(Condition& condition)
{
    condition.kind = Condition::Kind::And;
    do {
        if (!readNot(condition.parts.emplace_back())) {
            return false;
        }
    } while (takeKeyword("AND"));
    return true;
}

bool Parser::readNot(Condition& condition)
{
    bool isNegated = false;
    while (takeKeyword("NOT")) {
        isNegated = !isNegated;
    }
    if (isNegated) {
        condition.kind = Condition::Kind::Not;
    }
    return readTest(isNegated ? condition.parts.emplace_back() : condition);
}

bool Parser::readTest(Condition& condition)
{
    if (takeSymbol("(")) {
        return readOr(condition) && (takeSymbol(")") || expected("\")\""));
    }
    if (!readOperand(condition.left)) {
        return false;
    }
    if (takeKeyword("IS")) {
        return readIs(condition);
    }
    if (nextIsKeyword("NOT") || nextIsKeyword("LIKE")) {
        return readLike(condition);
    }
    return readComparison(condition);
}

bool Parser::readOperand(Operand& operand)
{
    switch (next().kind) {
    case QueryToken::Kind::Text:
        operand.kind = Operand::Kind::Text;
        break;
    case QueryToken::Kind::Number:
        operand.kind = Operand::Kind::Number;
        break;
    case QueryToken::Kind::Name:
        if (!nextIsKeyword("TRUE") && !nextIsKeyword("FALSE")) {
            operand.kind = Operand::Kind::Property;
            return readProperty(operand.text);
        }
        operand.kind = Operand::Kind::Boolean;
        break;
    default:
        return expected("a property or a literal");
    }
    operand.text = next().text;
    ++mAt;
    return true;
}

// A property comes to stand on the left, so that the literal takes its type.
bool Parser::readComparison(Condition& condition)
{
    for (const ComparisonSymbol& comparison : kComparisons) {
        if (!takeSymbol(comparison.symbol)) {
            continue;
        }
        condition.kind = comparison.kind;
        if (!readOperand(condition.right)) {
            return false;
        }
        if (condition.left.kind != Operand::Kind::Property) {
            std::swap(condition.left, condition.right);
            condition.kind = comparison.mirrored;
        }
        return condition.left.kind == Operand::Kind::Property ||
               expected("a comparison of a property before this");
    }
    return expected("a comparison");
}

bool Parser::readLike(Condition& condition)
{
    Condition like;
    like.kind = Condition::Kind::Like;
    like.left = std::move(condition.left);
    const bool isNegated = takeKeyword("NOT");
    if (!takeKeyword("LIKE")) {
        return expected("LIKE");
    }
    if (like.left.kind != Operand::Kind::Property) {
        return expected("LIKE for a property instead of what is before it");
    }
    if (next().kind != QueryToken::Kind::Text) {
        return expected("a pattern in quotes");
    }
    const std::string& pattern = next().text;
    if (!(mLanguage == QueryLanguage::Cql
              ? LikePattern::readCql(pattern, like.pattern, mProblem)
              : LikePattern::readWql(pattern, like.pattern, mProblem))) {
        return false;
    }
    ++mAt;
    condition = isNegated ? Condition{Condition::Kind::Not, {std::move(like)}, {}, {}, {}}
                          : std::move(like);
    return true;
}

bool Parser::readIs(Condition& condition)
{
    if (condition.left.kind != Operand::Kind::Property) {
        return expected("IS for a property instead of what is before it");
    }
    condition.kind = Condition::Kind::IsNull;
    if (takeKeyword("NOT")) {
        condition = Condition{Condition::Kind::Not, {condition}, {}, {}, {}};
    }
    return takeKeyword("NULL") || expected("NULL");
}

} // namespace

bool readQuery(std::string_view text, QueryLanguage language, Query& query, std::string& problem)
{
    query = {};
    std::vector<QueryToken> tokens;
    return splitQuery(text, tokens, problem) && Parser(tokens, language, query, problem).run();
}

} // namespace cimomd
