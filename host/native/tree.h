// The service's own resources: the root, the message registries, the schemas of what the mapping
// describes, and the constant resources of the service file.
#ifndef HOST_NATIVE_TREE_H_
#define HOST_NATIVE_TREE_H_

#include "native/document.h"
#include "native/registry_files.h"
#include "service_file/service_file.h"

#include <json/json.h>

#include <string>
#include <vector>

namespace host::native {

// What is known of the service beside its mapping.
struct Service
{
    std::string uuid; // "": it has none
    std::vector<RegistryFile> registries;
    std::string filePath = {}; // of the service file; "": there is none
};

// All of them but those whose URI is one of the mapping: it wins. Of the service file's resources
// those that are constant.
Documents documentsOf(const Json::Value& mapping, const Service& service,
                      const service_file::ServiceFile& file = {});

} // namespace host::native

#endif
