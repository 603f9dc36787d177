// What the host reads of the mapping file itself. Values of unexpected types read as absent.
#ifndef HOST_WORKER_MAPPING_LOOKUP_H_
#define HOST_WORKER_MAPPING_LOOKUP_H_

#include <json/json.h>

#include <string>
#include <string_view>

namespace host {

// Whether an entry has a text that is not empty under this key.
bool hasText(const Json::Value& entry, std::string_view key);

// Whether an entry's class may be served from the data cache.
bool isCachedClass(const Json::Value& entry, const std::string& cimClass);

// Whether any class of the mapping file may be.
bool hasCachedClass(const Json::Value& mapping);

} // namespace host

#endif
