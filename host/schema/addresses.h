// Where schemas are: those of the standard where it publishes them, the vendor's in this service.
#ifndef HOST_SCHEMA_ADDRESSES_H_
#define HOST_SCHEMA_ADDRESSES_H_

#include "schema/resource_type.h"

#include <string>

namespace host::schema {

inline constexpr const char* kJsonSchemasUri = "/redfish/v1/JsonSchemas";
inline constexpr const char* kCsdlUri = "/redfish/v1/Schemas";
inline constexpr const char* kMetadataUri = "/redfish/v1/$metadata"; // says where all of them are

// The CSDL file of a namespace, all its versions in it.
std::string csdlUriOf(const TypeName& type);

// The JSON Schema document of a version; of a type without a version the only one.
std::string jsonSchemaUriOf(const TypeName& type);

// The JSON Schema document that clients are sent to: it refers to all versions.
std::string unversionedSchemaUriOf(const TypeName& type);

} // namespace host::schema

#endif
