// What the service file declares: resources of standard types beside those of the mapping file,
// made of constants and of what mapped resources answer.
//
// The file is lenient to read: what is wrong in it costs the value or the resource that it stands
// in, and the check (check/service_rules.h) tells.
#ifndef HOST_SERVICE_FILE_SERVICE_FILE_H_
#define HOST_SERVICE_FILE_SERVICE_FILE_H_

#include "schema/resource_type.h"

#include <json/json.h>

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace host::service_file {

inline constexpr const char* kType = "@odata.type";
inline constexpr const char* kMembers = "Members";
inline constexpr const char* kActions = "Actions";
// Of an action.
inline constexpr const char* kAction = "action"; // the target of the mapped one
inline constexpr const char* kParameters = "parameters";
inline constexpr const char* kConstants = "constants";
inline constexpr const char* kAs = "as"; // what the mapped action calls a parameter

// A resource. Its body is as clients get it, but for sources (source.h) in the place of values.
struct Resource
{
    schema::TypeName type;
    Json::Value body;
    std::vector<std::string> parts; // the URIs of the mapped resources that its values come from
    bool isConstant = true;         // it has no source
};

// What a parameter of a standard action becomes.
struct Parameter
{
    std::string mappedName;                    // to the mapped action
    std::map<std::string, Json::Value> values; // to its values, where they are others
    bool isTranslated = false;                 // by values: any other value is refused
    bool isRequired = false;
};

// A standard action that stands for a mapped one.
struct Action
{
    std::string target; // of the mapped one
    std::map<std::string, Parameter> parameters;
    Json::Value constants; // parameters of the mapped one that clients do not give
};

struct ServiceFile
{
    Json::Value root; // what the service root shows beside its own
    std::map<std::string, Resource, std::less<>> resources; // by URI, without "/" at its end
    std::map<std::string, Action, std::less<>> actions;     // by the URI of their target
    // "@odata.type" of what containers embed, by container: of those that sources name.
    std::map<std::string, std::string, std::less<>> dataTypes;
};

// What a file declares. Resources at URIs of the mapping are not among them: it wins.
ServiceFile readServiceFile(const Json::Value& file, const Json::Value& mapping);

// The URI of a declared resource as it is served: without "/" at its end.
std::string servedUri(const std::string& declared);

// Whether a resource is declared a second time: with "/" at its end, which counts only where it is
// not declared without.
bool isRepeated(const Json::Value& file, const std::string& declared);

// Whether a resource may have this URI: below the root, of segments that need no escaping.
bool isUsableUri(std::string_view uri);

// "#ComputerSystem.Reset" has the target URI/Actions/ComputerSystem.Reset.
std::string actionUri(const std::string& resourceUri, const std::string& key);

} // namespace host::service_file

#endif
