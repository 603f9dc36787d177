#include "schema/addresses.h"

namespace host::schema {

namespace {

constexpr const char* kStandardUri = "http://redfish.dmtf.org/schemas/v1/";

std::string jsonSchemaBaseOf(const TypeName& type)
{
    return type.isVendors() ? std::string(kJsonSchemasUri) + "/" : kStandardUri;
}

} // namespace

std::string csdlUriOf(const TypeName& type)
{
    // The standard's files have their major version in their name.
    return (type.isVendors() ? kCsdlUri : kStandardUri) + type.nameSpace + "_v1.xml";
}

std::string jsonSchemaUriOf(const TypeName& type)
{
    return jsonSchemaBaseOf(type) + type.versioned() + ".json";
}

std::string unversionedSchemaUriOf(const TypeName& type)
{
    return jsonSchemaBaseOf(type) + type.nameSpace + ".json";
}

} // namespace host::schema
