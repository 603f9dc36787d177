#include "query_tokens.h"

#include <algorithm>
#include <cctype>

namespace cimomd {

namespace {

constexpr std::string_view kSymbols[] = {"<>", "<=", ">=", "=", "<", ">", "(", ")", ",", "*"};

bool isSpace(char c)
{
    return std::isspace(static_cast<unsigned char>(c)) != 0;
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

bool isNumberStart(char c)
{
    return std::isdigit(static_cast<unsigned char>(c)) != 0 || c == '+' || c == '-';
}

std::string_view takeWhile(std::string_view& rest, bool (*belongs)(char))
{
    const auto end = std::find_if_not(rest.begin(), rest.end(), belongs);
    const std::string_view taken = rest.substr(0, static_cast<size_t>(end - rest.begin()));
    rest.remove_prefix(taken.size());
    return taken;
}

// Takes a text and its quotes. A backslash stands before a quote or a backslash that means itself.
bool takeText(std::string_view& rest, std::string& text)
{
    const char quote = rest.front();
    for (size_t i = 1; i < rest.size(); ++i) {
        if (rest[i] == quote) {
            rest.remove_prefix(i + 1);
            return true;
        }
        const bool isEscape =
            rest[i] == '\\' && i + 1 < rest.size() && (rest[i + 1] == quote || rest[i + 1] == '\\');
        text += rest[isEscape ? ++i : i];
    }
    return false;
}

bool takeSymbol(std::string_view& rest, std::string& text)
{
    for (const std::string_view symbol : kSymbols) {
        if (rest.starts_with(symbol)) {
            text = symbol;
            rest.remove_prefix(symbol.size());
            return true;
        }
    }
    return false;
}

bool takeToken(std::string_view& rest, QueryToken& token, std::string& problem)
{
    const char first = rest.front();
    const std::string at = " at offset " + std::to_string(token.offset);
    if (first == '\'' || first == '"') {
        token.kind = QueryToken::Kind::Text;
        problem = "a text without its closing quote" + at;
        return takeText(rest, token.text);
    }
    if (isNumberStart(first)) {
        token.kind = QueryToken::Kind::Number;
        token.text = takeWhile(rest, isNumberPart);
        return true;
    }
    if (isNamePart(first)) {
        token.kind = QueryToken::Kind::Name;
        token.text = takeWhile(rest, isNamePart);
        return true;
    }
    token.kind = QueryToken::Kind::Symbol;
    problem = std::string("the character ") + first + at + " means nothing here";
    return takeSymbol(rest, token.text);
}

} // namespace

bool splitQuery(std::string_view query, std::vector<QueryToken>& tokens, std::string& problem)
{
    for (std::string_view rest = query;;) {
        (void)takeWhile(rest, isSpace);
        QueryToken& token = tokens.emplace_back();
        token.offset = query.size() - rest.size();
        if (rest.empty()) {
            return true;
        }
        if (!takeToken(rest, token, problem)) {
            return false;
        }
    }
}

} // namespace cimomd
