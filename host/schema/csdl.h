// CSDL (OData Common Schema Definition Language 4.0, in XML) of resource types, and the service's
// metadata document.
#ifndef HOST_SCHEMA_CSDL_H_
#define HOST_SCHEMA_CSDL_H_

#include "schema/resource_type.h"

#include <string>
#include <vector>

namespace host::schema {

// The file of a namespace: all types of it, in all versions.
std::string csdlOf(const std::vector<const ResourceType*>& types);

// The metadata document: it refers to the files of all these types.
std::string metadataOf(const std::vector<TypeName>& types);

} // namespace host::schema

#endif
