// The grammar of the mapping file: where things stand in its entries, for all who read it.
//
// Reads log what has another type than expected, as JsonAccess.h says, except where a function is
// said to be silent.
#ifndef RESOURCE_MAPPER_MAPPING_ENTRY_H_
#define RESOURCE_MAPPER_MAPPING_ENTRY_H_

#include "JsonAccess.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace cimgate::mapping {

inline constexpr const char* kOdataId = "@odata.id";
inline constexpr const char* kMappings = "mappings";
inline constexpr const char* kProperties = "properties";
inline constexpr const char* kActions = "Actions";
inline constexpr const char* kMethods = "methods";
inline constexpr const char* kInputs = "inputs";
inline constexpr const char* kOutputs = "outputs";
inline constexpr const char* kRedfishType = "redfish_type";
inline constexpr const char* kIsArrayType = "is_arraytype";
inline constexpr const char* kIsRefType = "is_ref_type";
inline constexpr const char* kIsRequired = "isrequired";
inline constexpr const char* kLinks = "Links";
inline constexpr const char* kTarget = "target";
inline constexpr const char* kAlias = "alias";
inline constexpr const char* kValueMapping = "value_mapping";
inline constexpr const char* kCimType = "cim_type";
inline constexpr const char* kUnits = "units";
inline constexpr const char* kDescription = "description";
inline constexpr const char* kIsCached = "is_cached";
inline constexpr const char* kRefreshInterval = "refresh_interval";
inline constexpr const char* kIsCollection = "is_collection";
inline constexpr const char* kKeyProperties = "key_properties";
inline constexpr const char* kSelectors = "Selectors";
inline constexpr const char* kUniqueSelector = "UniqueSelector";
inline constexpr const char* kAllowedOperations = "allowed_operations";
inline constexpr const char* kSupportsNextLink = "supports_nextlink";
inline constexpr const char* kSupportsTopSkip = "supports_top_skip";
inline constexpr const char* kLinkHeader = "Link_Header";
inline constexpr const char* kInstances = "instances";
inline constexpr const char* kKeyRegex = "KeyRegex";
inline constexpr const char* kQueryClause = "QueryClause";

// The description of a class in an entry's "mappings"; null when it has none.
const Json::Value& classOf(const Json::Value& entry, const std::string& cimClass);

// The class's members of that name; null or empty when it has none.
const Json::Value& propertiesOf(const Json::Value& entry, const std::string& cimClass);
const Json::Value& actionsOf(const Json::Value& entry, const std::string& cimClass);

// The value map of a property or parameter; null or empty where it has none.
const Json::Value& valueMapOf(const Json::Value& declaration);

// The first class of an entry's "mappings"; "" when there is none.
std::string classNameOf(const Json::Value& entry);

// What describes the members of a collection: "mappings" of a collection names another entry, which
// may be a collection again. Of any other resource the entry itself; null for a collection whose
// member the mapping lacks. A mapping that goes round in a circle ends somewhere in it.
const Json::Value& memberEntryOf(const Json::Value& mapping, const Json::Value& entry);

// Whether an entry of this name is given URIs of its own: only the vendor's are, others are members
// or loaded by name.
bool hasVendorWord(std::string_view resourceName);

// The first item of an entry's "Selectors" that is no name=value, which ends the process that reads
// it; nothing where all are, or there are none.
std::optional<std::string> brokenSelectorOf(const std::string& selectors);

// How a URI may be requested: the bits of RM_METHOD_POST and RM_METHOD_GET.
enum class Method { Post = 1, Get = 2 };

struct RegisteredUri
{
    std::string uri;
    Method method;            // Get for an entry's "@odata.id", Post for an action's "target"
    const Json::Value* entry; // the one that says so; as long as the mapping
};

// The URIs of their own that the mapping gives to resources and actions, in its order. One that
// stands there twice is served as the last one says.
std::vector<RegisteredUri> registeredUris(const Json::Value& mapping);

// Where a resource's answer comes from.
enum class Source {
    MappingFile, // it is a service: there is nothing to be read
    DataCache,
    Cim
};

// entry is the resource's own, of a collection its member's (memberEntryOf()). Silent: what has an
// unexpected type reads as absent.
Source sourceOf(const Json::Value& entry, const std::string& cimClass, bool isCollection);

// Whether any class of the mapping may be served from the data cache. Silent.
bool hasCachedClass(const Json::Value& mapping);

} // namespace cimgate::mapping

#endif
