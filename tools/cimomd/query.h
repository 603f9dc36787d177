// The queries of ExecQuery, in that part of CQL (DSP0202) which is supported here:
//
//   SELECT * | property [, property]... FROM class [WHERE condition]
//
// A condition compares a property with a literal (=, <>, <, <=, >, >=) or tests it for null
// (IS NULL, IS NOT NULL); AND, OR and parentheses join conditions. A literal is a text in single or
// double quotes, a number, TRUE or FALSE, and takes the type of the property. Keywords and names
// are told without case.
//
// A comparison with null does not hold. Date-times, references and arrays can only be tested for
// null.
#ifndef CIMOMD_QUERY_H_
#define CIMOMD_QUERY_H_

#include "name_space.h"

#include <cimxml/types.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace cimomd {

struct Query
{
    // Tests an instance of the class or of a subclass, with all properties in their order.
    using Condition = std::function<bool(const cimxml::Instance&)>;

    std::vector<std::string> properties; // none: all
    const ClassEntry* cls = nullptr;
    Condition selects;
};

// Returns false with kInvalidQuery or kInvalidClass; the description says where and what is wrong.
bool readQuery(std::string_view text, const NameSpace& nameSpace, Query& query,
               cimxml::CimError& error);

} // namespace cimomd

#endif
