#include "query_tokens.h"

#include <cctype>

namespace cimomd {

namespace {

constexpr std::string_view kLongSymbols[] = {"<>", "<=", ">=", "!="};
constexpr std::string_view kShortSymbols = "=<>(),.*";

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool isNameStart(char c)
{
    const auto byte = static_cast<unsigned char>(c);
    return std::isalpha(byte) != 0 || c == '_' || byte >= 0x80;
}

bool isNamePart(char c)
{
    return isNameStart(c) || isDigit(c);
}

class Splitter
{
public:
    Splitter(std::string_view query, std::vector<QueryToken>& tokens, std::string& problem)
        : mQuery(query), mTokens(tokens), mProblem(problem)
    {}

    bool run()
    {
        while (mAt < mQuery.size()) {
            if (std::isspace(static_cast<unsigned char>(mQuery[mAt])) != 0) {
                ++mAt;
            } else if (!takeToken()) {
                return false;
            }
        }
        add(QueryToken::Kind::End, {});
        return true;
    }

private:
    bool takeToken()
    {
        const char first = mQuery[mAt];
        if (first == '\'' || first == '"') {
            return takeText(first);
        }
        if (isNameStart(first)) {
            take(QueryToken::Kind::Name, endOf(isNamePart, mAt));
            return true;
        }
        const bool isSigned = first == '-' || first == '+';
        if (isDigit(charAt(isSigned ? mAt + 1 : mAt))) {
            takeNumber(isSigned ? mAt + 1 : mAt);
            return true;
        }
        return takeSymbol();
    }

    // The character at an offset; a null character beyond the end.
    char charAt(size_t offset) const { return offset < mQuery.size() ? mQuery[offset] : '\0'; }

    size_t endOf(bool (*belongs)(char), size_t from) const
    {
        while (from < mQuery.size() && belongs(mQuery[from])) {
            ++from;
        }
        return from;
    }

    void add(QueryToken::Kind kind, std::string text)
    {
        mTokens.push_back({kind, std::move(text), mAt});
    }

    void take(QueryToken::Kind kind, size_t end)
    {
        add(kind, std::string(mQuery.substr(mAt, end - mAt)));
        mAt = end;
    }

    // Whether it is a number that any type can hold shows when it becomes a value.
    void takeNumber(size_t digits)
    {
        size_t end = endOf(isNamePart, digits);
        if (charAt(end) == '.' && isDigit(charAt(end + 1))) {
            end = endOf(isNamePart, end + 1);
        }
        const bool isHex = charAt(digits + 1) == 'x' || charAt(digits + 1) == 'X';
        const char last = charAt(end - 1);
        const char sign = charAt(end);
        if (!isHex && (last == 'e' || last == 'E') && (sign == '-' || sign == '+')) {
            end = endOf(isDigit, end + 1);
        }
        take(QueryToken::Kind::Number, end);
    }

    bool takeText(char quote)
    {
        std::string text;
        for (size_t i = mAt + 1; i < mQuery.size(); ++i) {
            const char c = mQuery[i];
            const bool isEscape = (c == quote || c == '\\') && charAt(i + 1) == c;
            const bool isEscapedQuote = c == '\\' && charAt(i + 1) == quote;
            if (isEscape || isEscapedQuote) {
                text += charAt(++i);
            } else if (c != quote) {
                text += c;
            } else {
                add(QueryToken::Kind::Text, std::move(text));
                mAt = i + 1;
                return true;
            }
        }
        mProblem = "a text without its closing quote at offset " + std::to_string(mAt);
        return false;
    }

    bool takeSymbol()
    {
        for (const std::string_view symbol : kLongSymbols) {
            if (mQuery.substr(mAt).starts_with(symbol)) {
                take(QueryToken::Kind::Symbol, mAt + symbol.size());
                return true;
            }
        }
        if (kShortSymbols.find(mQuery[mAt]) != std::string_view::npos) {
            take(QueryToken::Kind::Symbol, mAt + 1);
            return true;
        }
        mProblem = "an unexpected character at offset " + std::to_string(mAt);
        return false;
    }

    std::string_view mQuery;
    std::vector<QueryToken>& mTokens;
    std::string& mProblem;
    size_t mAt = 0;
};

} // namespace

bool splitQuery(std::string_view query, std::vector<QueryToken>& tokens, std::string& problem)
{
    return Splitter(query, tokens, problem).run();
}

} // namespace cimomd
