// The table of registered URIs: URI text to method bits (RM_METHOD_GET for an entry's "@odata.id",
// RM_METHOD_POST for an action's "target"). Written by the first load of the mapping file, under
// ResourceMapper::RmfLock, and only read afterwards.
#ifndef RESOURCE_MAPPER_MAPPING_URI_TABLE_H_
#define RESOURCE_MAPPER_MAPPING_URI_TABLE_H_

#include <json/json.h>

#include <string>

// NOLINTBEGIN(cppcoreguidelines-avoid-non-const-global-variables): one table for the process
extern Json::Value URIObj;
// NOLINTEND(cppcoreguidelines-avoid-non-const-global-variables)

namespace cimgate {

// The method bits of a registered URI; null when it is not registered.
const Json::Value* findRegistered(const std::string& uri);

} // namespace cimgate

#endif
