// The links that an entry may have, and how each is found.
#ifndef RESOURCE_MAPPER_MAPPING_LINKS_H_
#define RESOURCE_MAPPER_MAPPING_LINKS_H_

#include <json/json.h>

#include <string>

// Link name to association table, key column and base URI of the related instances.
extern const std::string assocString;
extern const Json::Value assocObj;
extern const bool assocParsed;

namespace cimgate::mapping {

inline constexpr const char* kComputerSystemLink = "ComputerSystem";
inline constexpr const char* kPowerSupplyLinks = "VexoPowerSupplyCollection";
inline constexpr const char* kSensorLinks = "VexoPSNumericSensorCollection";

// Where the related resources of a link come from.
enum class LinkKind {
    Fixed,       // the mapping names them
    Number,      // from the number in the instance's id
    Association, // from an association table of the data cache
    Unknown      // it is in no answer
};

LinkKind kindOfLink(const std::string& name);

// The data cache's table behind a link; "" for a link of another kind.
std::string associationTableOf(const std::string& link);

// Whether an entry has a link that comes from the data cache. Silent.
bool hasAssociations(const Json::Value& entry);

// Whether anything that the mapping describes comes from the data cache. Silent.
bool readsDataCache(const Json::Value& mapping);

// What is asked of that table; its parameter is the key of the instance.
std::string associationQuery(const std::string& link);

} // namespace cimgate::mapping

#endif
