// Whether the body of an action is what its method declares: nothing that fails here is sent.
#ifndef RESOURCE_MAPPER_ACTION_PAYLOAD_VALIDATION_H_
#define RESOURCE_MAPPER_ACTION_PAYLOAD_VALIDATION_H_

#include <json/json.h>

#include <string>

namespace cimgate {

// ResourceMapper::ValidatePayload(), ValidateValueType(), ValidateEnumTypeInPayload() and
// GetMandatoryArgList().
unsigned int validatePayload(const Json::Value& payload, const Json::Value& inputs,
                             Json::Value& errorArgs);
int validateType(const Json::Value& value, const char* type);
unsigned int validateListed(const Json::Value& map, const std::string& text);
void listMandatory(const Json::Value& inputs, Json::Value& mandatory);

} // namespace cimgate

#endif
