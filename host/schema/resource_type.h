// The resource types that a mapping file describes, as far as schemas tell of them: what an answer
// of each type can hold, and what its actions take.
#ifndef HOST_SCHEMA_RESOURCE_TYPE_H_
#define HOST_SCHEMA_RESOURCE_TYPE_H_

#include "schema/property.h"

#include <json/json.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace host::schema {

// "#VexoDrive.v1_0_0.VexoDrive" of "@odata.type", in its parts.
struct TypeName
{
    std::string nameSpace; // "VexoDrive"
    std::string version;   // "v1_0_0"; "" for a type without
    std::string name;      // "VexoDrive"

    // "VexoDrive.v1_0_0"
    std::string versioned() const;
    // "VexoDrive.v1_0_0.VexoDrive"
    std::string qualified() const { return versioned() + "." + name; }
    // "VexoDrive.VexoDrive"
    std::string unversioned() const { return nameSpace + "." + name; }
    // Whether it is one of the vendor's: others are the standard's, which has schemas of its own.
    bool isVendors() const;

    auto operator<=>(const TypeName&) const = default;
};

// Nothing for a text that names no type.
std::optional<TypeName> typeNameOf(const std::string& odataType);

struct Link
{
    std::string name;
    bool isArray = false;
};

struct Action
{
    // What stands beside its target for clients, such as "Mode@Redfish.AllowableValues", by the
    // JSON type that it has.
    struct Member
    {
        std::string name;
        const char* type = "";
    };

    std::string name; // "RunDiagnostics"
    std::string key;  // "#VexoDiagnosticService.RunDiagnostics"
    std::vector<Member> members;
    std::vector<Property> parameters;
    std::vector<Property> outputs; // without what is told as a message, or by "Location"
};

// A resource in what a container embeds.
struct Embedded
{
    std::string name;
    std::optional<TypeName> type;
};

struct ResourceType
{
    TypeName name;
    std::string description;
    std::vector<std::string> uris; // of its resources, with "{Id}" for what differs
    bool hasId = true;
    std::vector<Property> properties; // without Id, Name and Description
    bool hasLinks = false;
    std::vector<Link> links;
    std::vector<Action> actions;
    bool isCollection = false;
    bool hasNextLink = false;        // of a collection
    std::optional<TypeName> members; // of a collection
    // What the names of the structures and enumerations that it needs beside itself begin with,
    // where its version of the name space has other types too: its name.
    std::string prefix;
    bool isContainer = false; // no resource, but what a container embeds: an object in "Oem"
    std::vector<Embedded> embedded;
};

// What the answers of one entry of a mapping file can hold; without a name where it has no type.
ResourceType resourceTypeOf(const Json::Value& file, const Json::Value& entry);

// What the data that a container embeds is called, by its entry's name: containers declare no type.
// Nothing for what is no container, and where the name is none of a type or one of a resource's.
std::optional<TypeName> containerTypeOf(const Json::Value& file, const std::string& container);

// What a mapping file describes, in the order of their names: one of each name, whichever entries
// have it. Types of the standard are among them.
std::vector<ResourceType> resourceTypesOf(const Json::Value& file);

// Their names alone, which takes far less time.
std::vector<TypeName> typeNamesOf(const Json::Value& file);

} // namespace host::schema

#endif
