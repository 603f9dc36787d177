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

// At least one.
using Types = std::vector<const ResourceType*>;

// The document of the types of one version of a name space: what an answer of each can hold, and
// nothing else.
std::string jsonSchemaOf(const Types& types);

// The document of a name space: each of its types that has no version, and of those that have one
// a link, or a resource of any of them.
std::string unversionedSchemaOf(const Types& types);

} // namespace host::schema

#endif
