// Single instances from the data cache, and the shaping of what a read produced into the answer.
#ifndef RESOURCE_MAPPER_READ_INSTANCES_H_
#define RESOURCE_MAPPER_READ_INSTANCES_H_

#include "ResourceMapper.h"

#include <string>

namespace cimgate {

// ResourceMapper::IsCached().
bool isCached(ResourceMapper& mapper);

// ResourceMapper::GetInstance() and QueryInstances(), from the data cache.
_ResourceMapperError readCachedInstance(ResourceMapper& mapper, Json::Value& out);
void queryCachedInstances(ResourceMapper& mapper, Json::Value& out, const std::string& clause);

// Makes the last URI segment the value of the resource's key property.
void addUniqueSelector(ResourceMapper& mapper);

// ResourceMapper::ApplyFilterToGetInstance().
_ResourceMapperError shapeResult(ResourceMapper& mapper, Json::Value& data,
                                 const Json::Value& selectList, bool forActions);

// Leaves of names those that selectList picks; noSelectText is logged where it is empty.
_ResourceMapperError narrowBySelect(ResourceMapper& mapper, const Json::Value& selectList,
                                    const char* noSelectText, Json::Value& names);

} // namespace cimgate

#endif
