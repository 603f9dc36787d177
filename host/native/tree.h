// The service's own resources: the root, the message registries, and the schemas of what the
// mapping describes.
#ifndef HOST_NATIVE_TREE_H_
#define HOST_NATIVE_TREE_H_

#include "native/document.h"
#include "native/registry_files.h"

#include <json/json.h>

#include <string>
#include <vector>

namespace host::native {

// What is known of the service beside its mapping.
struct Service
{
    std::string uuid; // "": it has none
    std::vector<RegistryFile> registries;
};

// All of them but those whose URI is one of the mapping: it wins.
Documents documentsOf(const Json::Value& mapping, const Service& service);

} // namespace host::native

#endif
