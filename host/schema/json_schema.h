// JSON Schema (draft 7, as DSP0266 has it) of resource types.
//
// A document refers to nothing outside but the types of a collection's members and of what a
// container embeds, so that answers can be checked without the Internet.
#ifndef HOST_SCHEMA_JSON_SCHEMA_H_
#define HOST_SCHEMA_JSON_SCHEMA_H_

#include "schema/resource_type.h"

#include <string>
#include <vector>

namespace host::schema {

// The document of the types of one version of a name space: what an answer of each can hold, and
// nothing else.
std::string jsonSchemaOf(const std::vector<const ResourceType*>& types);

// The document of a name space whose types have versions: a link, or a resource of any of them.
std::string unversionedSchemaOf(const std::vector<TypeName>& types);

} // namespace host::schema

#endif
