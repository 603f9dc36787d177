// What the stages of an action share: its body is validated, turned into arguments, and the
// method's outputs into the answer.
#ifndef RESOURCE_MAPPER_ACTIONS_H_
#define RESOURCE_MAPPER_ACTIONS_H_

#include <CimClientLib/cmci.h>
#include <json/json.h>

#include <initializer_list>
#include <string>

// ResourceMapper::JsonValtoString().
std::string argumentText(const Json::Value& value, const char* type);

// ResourceMapper::PopulateMappedValues() and addArrayValsToArg(), without their copies.
void addMappedValue(CMPIArgs* args, const std::string& name, const std::string& argName,
                    const std::string& text, const Json::Value& inputs);
void addArray(CMPIArgs* args, const std::string& argName, const Json::Value& value,
              const Json::Value& inputs);

// Sets the leading message arguments of a refusal.
void setMessageArguments(Json::Value& errorArgs, std::initializer_list<std::string> texts);

#endif
