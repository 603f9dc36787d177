// From a CIM instance to the JSON of the answer.
#ifndef RESOURCE_MAPPER_READ_INSTANCE_TO_JSON_H_
#define RESOURCE_MAPPER_READ_INSTANCE_TO_JSON_H_

#include "ResourceMapper.h"

namespace cimgate {

// ResourceMapper::ConvertCMPIInstanceToJson().
_ResourceMapperError convertInstance(ResourceMapper& mapper, CMPIInstance* instance,
                                     Json::Value& out, const Json::Value& selectList);

} // namespace cimgate

#endif
