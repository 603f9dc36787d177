// Names of tables and columns, as SQLite takes them.
#ifndef RESOURCE_MAPPER_MAPPING_CACHE_NAMES_H_
#define RESOURCE_MAPPER_MAPPING_CACHE_NAMES_H_

#include <string>
#include <string_view>

namespace cimgate::mapping {

// With its letters in lower case: CIM and SQLite take names without regard to case.
std::string lower(std::string_view name);

// For a statement: in quotation marks, so that it may be any text.
std::string quotedName(std::string_view name);

} // namespace cimgate::mapping

#endif
