// What a worker knows of the service's own resources.
#ifndef HOST_SERVICE_FILE_SERVICE_RESOURCES_H_
#define HOST_SERVICE_FILE_SERVICE_RESOURCES_H_

#include "service_file/service_file.h"

#include <functional>
#include <map>
#include <string>

namespace host::service_file {

struct ServiceResources
{
    ServiceFile file;
    // Bodies, as JSON texts, of the resources that no file declares: the root and what it leads to.
    std::map<std::string, std::string, std::less<>> constants;
};

} // namespace host::service_file

#endif
