// The words of a query.
#ifndef CIMOMD_QUERY_TOKENS_H_
#define CIMOMD_QUERY_TOKENS_H_

#include <string>
#include <string_view>
#include <vector>

namespace cimomd {

struct QueryToken
{
    enum class Kind { Name, Text, Number, Symbol, End };

    Kind kind = Kind::End;
    std::string text;  // of a Text: without quotes
    size_t offset = 0; // where it begins in the query
};

// Splits a query; the last token is an End. Returns false with the cause in problem.
bool splitQuery(std::string_view query, std::vector<QueryToken>& tokens, std::string& problem);

} // namespace cimomd

#endif
