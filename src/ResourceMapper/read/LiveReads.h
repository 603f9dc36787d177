// Reads from the CIM object manager, through the session.
#ifndef RESOURCE_MAPPER_READ_LIVE_READS_H_
#define RESOURCE_MAPPER_READ_LIVE_READS_H_

#include "ResourceMapper.h"

#include <string>

namespace cimgate {

// ResourceMapper::GetInstance(), GetCollection() and QueryInstances(), live.
_ResourceMapperError readLiveInstance(ResourceMapper& mapper, Json::Value& out);
_ResourceMapperError readLiveCollection(ResourceMapper& mapper, Json::Value& out);
void queryLiveInstances(ResourceMapper& mapper, Json::Value& out, const std::string& query);

} // namespace cimgate

#endif
