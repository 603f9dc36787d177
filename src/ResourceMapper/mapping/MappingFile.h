// The mapping file: its one load, and look-up by resource name.
#ifndef RESOURCE_MAPPER_MAPPING_MAPPING_FILE_H_
#define RESOURCE_MAPPER_MAPPING_MAPPING_FILE_H_

#include "ResourceMapper.h"

#include <string>

namespace cimgate {

// ResourceMapper::checkResource().
_ResourceMapperError checkResource(ResourceMapper& mapper, const std::string& name,
                                   bool skipLoadEntry);

// The same for the name that isValidURI() has found. An entry is large: one that was copied to
// resolve the URI of an instance is not copied again to read it. Of a collection the mapper holds
// the member's entry, not its own.
_ResourceMapperError checkResolved(ResourceMapper& mapper, const std::string& name);

// ResourceMapper::Load().
_ResourceMapperError loadResource(ResourceMapper& mapper);

// ResourceMapper::generateURIs().
void generateUris();

} // namespace cimgate

#endif
