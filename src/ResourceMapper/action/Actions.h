// A POST to an action: one call of a CIM method.
#ifndef RESOURCE_MAPPER_ACTION_ACTIONS_H_
#define RESOURCE_MAPPER_ACTION_ACTIONS_H_

#include "ResourceMapper.h"

namespace cimgate {

// ResourceMapper::InvokeAction().
unsigned int invokeAction(ResourceMapper& mapper, Json::Value& response, const Json::Value& payload,
                          unsigned long* returnValue, Json::Value& errorArgs, Json::Value& inputs);

// ResourceMapper::AddValueMapToOutparam().
void mapOutputs(const ResourceMapper& mapper, Json::Value& response);

} // namespace cimgate

#endif
