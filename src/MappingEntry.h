// Where things stand in an entry of the mapping file.
#ifndef MAPPING_ENTRY_H_
#define MAPPING_ENTRY_H_

#include "JsonAccess.h"

namespace mapping {

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
inline constexpr const char* kIsCached = "is_cached";
inline constexpr const char* kIsCollection = "is_collection";
inline constexpr const char* kKeyProperties = "key_properties";
inline constexpr const char* kSelectors = "Selectors";
inline constexpr const char* kUniqueSelector = "UniqueSelector";
inline constexpr const char* kAllowedOperations = "allowed_operations";
inline constexpr const char* kLinkHeader = "Link_Header";

inline const Json::Value& classOf(const Json::Value& entry, const std::string& cimClass)
{
    return memberOf(memberOf(entry, kMappings), cimClass);
}

inline const Json::Value& propertiesOf(const Json::Value& entry, const std::string& cimClass)
{
    return objectOf(memberOf(classOf(entry, cimClass), kProperties));
}

inline const Json::Value& actionsOf(const Json::Value& entry, const std::string& cimClass)
{
    return objectOf(memberOf(classOf(entry, cimClass), kActions));
}

// The value map of a property or parameter; null or empty where it has none.
inline const Json::Value& valueMapOf(const Json::Value& declaration)
{
    return objectOf(memberOf(declaration, kValueMapping));
}

} // namespace mapping

#endif
