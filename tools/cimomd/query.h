// The SELECT statements of ExecQuery, in CQL (DSP0202) and in WQL; both share the part that is
// supported here:
//
//   SELECT * | property [, property]... FROM class [[AS] alias] [WHERE condition]
//
// A condition is a comparison (= <> != < <= > >=), [NOT] LIKE with a text (see like_pattern.h),
// IS [NOT] NULL, or such joined by AND, OR, NOT and parentheses. An operand is a property, which
// may be qualified by the class or its alias, or a literal: 'text' or "text" (doubled quotes and
// backslashes stand for themselves), a number (decimal, real, 0x hexadecimal), TRUE or FALSE.
// Keywords and names are told without case.
#ifndef CIMOMD_QUERY_H_
#define CIMOMD_QUERY_H_

#include "like_pattern.h"

#include <string>
#include <string_view>
#include <vector>

namespace cimomd {

enum class QueryLanguage { Cql, Wql };

// A property's name, or a literal as text that still has to become a value.
struct Operand
{
    enum class Kind { Property, Text, Number, Boolean };

    Kind kind = Kind::Property;
    std::string text;
};

struct Condition
{
    enum class Kind {
        And,
        Or,
        Not,
        Equal,
        NotEqual,
        Less,
        LessOrEqual,
        Greater,
        GreaterOrEqual,
        Like,
        IsNull
    };

    Kind kind = Kind::And;
    std::vector<Condition> parts; // of And and Or: any number; of Not: one
    Operand left;                 // of the others
    Operand right;                // of the comparisons
    LikePattern pattern;          // of Like
};

struct Query
{
    std::vector<std::string> properties; // none: all
    std::string className;
    std::vector<Condition> where; // none or one
};

// Returns false with what is wrong, and where, in problem.
bool readQuery(std::string_view text, QueryLanguage language, Query& query, std::string& problem);

} // namespace cimomd

#endif
