// The service's own resources: the root, the message registries, the constant resources of the
// service file, and the schemas of what the mapping describes.
#ifndef HOST_NATIVE_TREE_H_
#define HOST_NATIVE_TREE_H_

#include "native/document.h"
#include "native/registry_files.h"
#include "service_file/service_file.h"

#include <json/json.h>

#include <string>
#include <string_view>
#include <vector>

namespace host::native {

// What is known of the service beside its mapping.
struct Service
{
    std::string uuid; // "": it has none
    std::vector<RegistryFile> registries;
    std::string filePath = {}; // of the service file; "": there is none
};

// All of them but the vendor's schemas, and those whose URI is one of the mapping: it wins. Of the
// service file's resources those that are constant.
Documents documentsOf(const Json::Value& mapping, const Service& service,
                      const service_file::ServiceFile& file = {});

// The vendor's schemas, as CSDL and as JSON Schema. Making them takes about as long as reading the
// mapping.
Documents schemasOf(const Json::Value& mapping);

// Whether a URI may be that of one of the vendor's schemas.
bool isSchemaUri(std::string_view uri);

} // namespace host::native

#endif
