// Looks for what is wrong with the mapping file and the data cache, without answering a request.
#ifndef HOST_CHECK_CHECK_H_
#define HOST_CHECK_CHECK_H_

#include "check/cache_rules.h"
#include "check/fault.h"

#include <json/json.h>

#include <string>
#include <vector>

namespace host::check {

struct Report
{
    bool isMappingUsable = false; // where it is not, the first fault says why
    bool needsCache = false;      // without a cached class it is not looked at
    std::vector<Fault> faults;    // of the mapping in the order of its lines, then of the cache
};

// Files that are damaged do no harm beside that. Drops what the library would log meanwhile.
Report checkFiles(const std::string& mappingPath, const std::string& cachePath, Depth depth);

// The same of a mapping that was read from the file already.
Report checkMapping(const Json::Value& mapping, const std::string& mappingPath,
                    const std::string& cachePath, Depth depth);

} // namespace host::check

#endif
