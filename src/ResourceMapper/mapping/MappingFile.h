// The mapping file: its one load, and look-up by resource name.
#ifndef RESOURCE_MAPPER_MAPPING_MAPPING_FILE_H_
#define RESOURCE_MAPPER_MAPPING_MAPPING_FILE_H_

#include "ResourceMapper.h"

#include <string>

namespace cimgate {

// ResourceMapper::checkResource().
_ResourceMapperError checkResource(ResourceMapper& mapper, const std::string& name,
                                   bool skipLoadEntry);

// ResourceMapper::Load().
_ResourceMapperError loadResource(ResourceMapper& mapper);

// ResourceMapper::generateURIs().
void generateUris();

} // namespace cimgate

#endif
