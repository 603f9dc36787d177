// What a request's URI names: the steps that ParseUri() is made of.
#ifndef RESOURCE_MAPPER_MAPPING_URI_RESOLUTION_H_
#define RESOURCE_MAPPER_MAPPING_URI_RESOLUTION_H_

#include "ResourceMapper.h"

#include <string>

namespace cimgate {

// Of a registered URI, the segment with the resource's name.
const char* registeredName(const odata::URI& uri, int method);

// Takes the URI as that of an instance below a registered one: its last segment is the instance's
// id, the one before names the resource, whose entry is loaded.
_ResourceMapperError loadInstanceEntry(ResourceMapper& mapper, const char** pEntityName);

// The same for a read, which wants a resource with a key.
_ResourceMapperError resolveInstance(ResourceMapper& mapper, const char** pEntityName,
                                     const std::string& uri);

_ResourceMapperError refuseUri(const std::string& uri);

// Whether an action is addressed as its target says: base is the URI without its last segment.
_ResourceMapperError checkActionTarget(ResourceMapper& mapper, const std::string& base,
                                       unsigned int segCount);

// Takes over the keys that an entry's "Selectors" fix.
void readFixedSelectors(ResourceMapper& mapper);

// ResourceMapper::GetTarget() and parseSelectors().
void findTarget(ResourceMapper& mapper, const std::string& key, std::string& target,
                unsigned int segCount);
void parseSelectors(ResourceMapper& mapper, const std::string& selectors);

} // namespace cimgate

#endif
