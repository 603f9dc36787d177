// Looks for what is wrong with mapping file, service file and data cache, without answering a
// request.
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
    std::vector<Fault>
        faults; // of the mapping in the order of its lines, of the service file, of the cache
};

// Files that are damaged do no harm beside that. Drops what the library would log meanwhile.
// servicePath is empty where there is no service file.
Report checkFiles(const std::string& mappingPath, const std::string& servicePath,
                  const std::string& cachePath, Depth depth);

// The same of a mapping that was read from the file already.
Report checkMapping(const Json::Value& mapping, const std::string& mappingPath,
                    const std::string& cachePath, Depth depth);

// What is wrong with a service file that was read from the file already, beside this mapping.
std::vector<Fault> checkServiceFile(const Json::Value& file, const std::string& servicePath,
                                    const Json::Value& mapping);

// Adds them behind those of the mapping.
void addFaults(Report& report, std::vector<Fault> ofServiceFile);

} // namespace host::check

#endif
