// The names of CIM types in the mapping ("cim_type").
#ifndef RESOURCE_MAPPER_MAPPING_CIM_TYPE_H_
#define RESOURCE_MAPPER_MAPPING_CIM_TYPE_H_

#include <optional>
#include <string>

namespace cimgate::mapping {

// What a cell of the data cache that stores a number stands for.
enum class NumberType { Uint64, Sint64, Sint, Uint, Boolean, DateTime };

// Nothing for a type of which the data cache has no numbers: reading one ends the process.
std::optional<NumberType> numberTypeOf(const std::string& cimType);

// Whether CIM has a type of this name, in any letter case.
bool isCimType(const std::string& cimType);

} // namespace cimgate::mapping

#endif
