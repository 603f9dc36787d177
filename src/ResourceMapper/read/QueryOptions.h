// The request's query options, $select matching, and the SELECT text for a class's table.
#ifndef RESOURCE_MAPPER_READ_QUERY_OPTIONS_H_
#define RESOURCE_MAPPER_READ_QUERY_OPTIONS_H_

#include "ResourceMapper.h"

#include <string>
#include <string_view>

namespace cimgate {

// A numeric option: stores its value, or 0 when absent, and returns whether it is present.
bool numericOption(const odata::URI& uri, int option, unsigned long& value);

// A list option: see ResourceMapper::isQueryOptionPresent().
_ResourceMapperError listOption(ResourceMapper& mapper, int option, Json::Value& list);

// The names in $select; what is refused is either an option not supported or an internal error.
_ResourceMapperError selectedNames(ResourceMapper& mapper, Json::Value& list);

// ResourceMapper::TrimWhiteSpace().
std::string_view trimmed(std::string_view text);

// ResourceMapper::MatchQueryParamAndPropList().
_ResourceMapperError matchSelect(ResourceMapper& mapper, const Json::Value& candidates,
                                 const Json::Value& selectList, Json::Value& matched,
                                 bool& selectAll);

// Which rows of a class's table are read: a page of them, or the one with a key, or those that a
// condition (with its leading blank) leaves.
struct Rows
{
    unsigned long limit = 0;   // 0 for none
    unsigned long offset = 0;  // 0 for none
    std::string_view key = {}; // what matters is whether there is one: the caller binds it
    std::string_view condition = {};
};

// ResourceMapper::GetSelectQuery().
std::string selectQuery(const Json::Value& entry, const std::string& cimClass, const Rows& rows);

} // namespace cimgate

#endif
