// From a CIM value to what an answer shows of it: as it is, or as the property's value map says.
#ifndef RESOURCE_MAPPER_CONVERT_INSTANCE_TO_JSON_H_
#define RESOURCE_MAPPER_CONVERT_INSTANCE_TO_JSON_H_

#include <CimClientLib/cmci.h>
#include <json/json.h>

#include <string>
#include <string_view>

namespace cimgate {

// ResourceMapper::DoCMPIDataToJson() for a property's entry in the mapping file.
void propertyToJson(const Json::Value& property, char* name, CMPIData& data, Json::Value& out);

// out becomes what a single value is shown as by a value map; unchanged where that is nothing.
void mapValue(const Json::Value& valueMap, const char* name, const CMPIData& data,
              Json::Value& out);

// ResourceMapper::GetPropertyKeyValue() for a value map. key is NUL-terminated.
bool findMappedValue(const Json::Value& valueMap, const char* name, std::string_view key,
                     std::string& value);

// ResourceMapper::GetCimIntValue().
CMPIrc cimIntValue(const CMPIValue& value, unsigned int type, unsigned long long& result);

} // namespace cimgate

#endif
