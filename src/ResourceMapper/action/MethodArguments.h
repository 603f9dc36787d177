// From the JSON body of an action to the arguments of a CIM method, and the object path that it is
// called on.
#ifndef RESOURCE_MAPPER_ACTION_METHOD_ARGUMENTS_H_
#define RESOURCE_MAPPER_ACTION_METHOD_ARGUMENTS_H_

#include "ResourceMapper.h"

#include <string>

namespace cimgate {

// ResourceMapper::JsonValtoString().
std::string argumentText(const Json::Value& value, const char* type);

// ResourceMapper::AddSelectorSet().
unsigned int makeInstancePath(const ResourceMapper& mapper, CMPIObjectPath** path);

// ResourceMapper::PopulateMappedValues(), addArrayValsToArg() and AddRefToArgs().
void addMappedValue(CMPIArgs* args, const std::string& name, const std::string& argName,
                    const std::string& text, const Json::Value& inputs);
void addArray(CMPIArgs* args, const std::string& argName, const Json::Value& value,
              const Json::Value& inputs);
unsigned int addReference(CMPIArgs* args, const std::string& argName, const std::string& name,
                          const std::string& uri, Json::Value& errorArgs);

} // namespace cimgate

#endif
