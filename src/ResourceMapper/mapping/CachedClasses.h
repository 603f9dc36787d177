// What the mapping needs of the data cache: its tables and their columns.
#ifndef RESOURCE_MAPPER_MAPPING_CACHED_CLASSES_H_
#define RESOURCE_MAPPER_MAPPING_CACHED_CLASSES_H_

#include <json/json.h>

#include <string>
#include <string_view>
#include <vector>

namespace cimgate::mapping {

// A class's table is this followed by the class name.
inline constexpr const char* kTablePrefix = "Tbl_";
inline std::string tableOf(const std::string& cimClass)
{
    return kTablePrefix + cimClass;
}

// The table with the names of the classes that are ready.
inline constexpr const char* kReadinessTable = "Tbl_CMPIReady";

// The columns that are asked for when an instance of the entry is read, in their order: the mapped
// properties and then the key, which may be one of them.
std::vector<std::string> columnsOf(const Json::Value& entry, const std::string& cimClass);

// An entry and its name, as long as the mapping.
struct NamedEntry
{
    std::string_view name;
    const Json::Value* entry;
};

// A class that is read from the data cache.
struct CachedClass
{
    std::string name;
    std::vector<std::string> columns; // of all its entries; letter case makes no other column
    std::vector<NamedEntry> entries;  // in the mapping's order; at least one
};

// In the order of their names. A class counts where instances of one of its entries are read: by
// their key, as members of a collection, or embedded in what a container shows.
std::vector<CachedClass> cachedClasses(const Json::Value& mapping);

} // namespace cimgate::mapping

#endif
