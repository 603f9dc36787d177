#include "schema/addresses.h"

namespace host::schema {

namespace {

constexpr const char* kStandardUri = "http://redfish.dmtf.org/schemas/v1/";

// The folder of a type's schemas, where the vendor's are in ours.
std::string folderOf(const TypeName& type, const char* ours)
{
    return type.isVendors() ? std::string(ours) + "/" : kStandardUri;
}

} // namespace

std::string csdlUriOf(const TypeName& type)
{
    // The standard's files have their major version in their name.
    return folderOf(type, kCsdlUri) + type.nameSpace + "_v1.xml";
}

std::string jsonSchemaUriOf(const TypeName& type)
{
    return folderOf(type, kJsonSchemasUri) + type.versioned() + ".json";
}

std::string unversionedSchemaUriOf(const TypeName& type)
{
    return folderOf(type, kJsonSchemasUri) + type.nameSpace + ".json";
}

} // namespace host::schema
