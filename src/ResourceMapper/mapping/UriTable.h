// The table of registered URIs: URI text to method bits (RM_METHOD_GET for an entry's "@odata.id",
// RM_METHOD_POST for an action's "target"). Written by the first load of the mapping file, under
// ResourceMapper::RmfLock, and only read afterwards.
#ifndef URI_TABLE_H_
#define URI_TABLE_H_

#include <json/json.h>

// NOLINTBEGIN(cppcoreguidelines-avoid-non-const-global-variables): one table for the process
extern Json::Value URIObj;
// NOLINTEND(cppcoreguidelines-avoid-non-const-global-variables)

#endif
