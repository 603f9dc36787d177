// Operations of actions.
#include "ResourceMapper.h"
#include "ResourceMapper/action/Actions.h"
#include "ResourceMapper/action/MethodArguments.h"
#include "ResourceMapper/action/PayloadValidation.h"

unsigned int ResourceMapper::InvokeAction(Json::Value& response, Json::Value& payload,
                                          unsigned long* returnValue, Json::Value& errorArgs,
                                          Json::Value& inputs)
{
    return cimgate::invokeAction(*this, response, payload, returnValue, errorArgs, inputs);
}

unsigned int ResourceMapper::ValidatePayload(Json::Value& payload, Json::Value& inputs,
                                             Json::Value& errorArgs)
{
    return cimgate::validatePayload(payload, inputs, errorArgs);
}

int ResourceMapper::ValidateValueType(Json::Value& value, const char* type)
{
    return cimgate::validateType(value, type);
}

unsigned int ResourceMapper::ValidateEnumTypeInPayload(Json::Value valueMapping, std::string value)
{
    return cimgate::validateListed(valueMapping, value);
}

unsigned int ResourceMapper::GetMandatoryArgList(Json::Value& inputs, Json::Value& mandatory)
{
    cimgate::listMandatory(inputs, mandatory);
    return RM_OK;
}

unsigned int ResourceMapper::AddSelectorSet(CMPIObjectPath** path) const
{
    return cimgate::makeInstancePath(*this, path);
}

std::string ResourceMapper::JsonValtoString(Json::Value& value, const char* type)
{
    return cimgate::argumentText(value, type);
}

unsigned int ResourceMapper::PopulateMappedValues(CMPIArgs* args, std::string name, char* argName,
                                                  std::string text, Json::Value inputs)
{
    cimgate::addMappedValue(args, name, argName, text, inputs);
    return RM_OK;
}

void ResourceMapper::addArrayValsToArg(Json::Value& value, std::string argName, CMPIArgs* args,
                                       Json::Value inputs)
{
    cimgate::addArray(args, argName, value, inputs);
}

unsigned int ResourceMapper::AddRefToArgs(CMPIArgs* args, char* argName, char* name,
                                          std::string uri, Json::Value& errorArgs)
{
    return cimgate::addReference(args, argName, name, uri, errorArgs);
}

// NOLINTNEXTLINE(readability-make-member-function-const): part of the interface as it is
void ResourceMapper::AddValueMapToOutparam(Json::Value& response, CMPIData& /*returnValue*/)
{
    cimgate::mapOutputs(*this, response);
}
