// Embedded data: what a container shows of other resources, read from the data cache by the
// container's id.
#ifndef RESOURCE_MAPPER_READ_MAPPED_RESOURCES_H_
#define RESOURCE_MAPPER_READ_MAPPED_RESOURCES_H_

#include "ResourceMapper.h"

namespace cimgate {

// ResourceMapper::GetMappedResources().
_ResourceMapperError readEmbeddedData(ResourceMapper& mapper, const char* container, const char* id,
                                      Json::Value& out);

} // namespace cimgate

#endif
