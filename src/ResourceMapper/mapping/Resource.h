// What the mapping says of the resource that a mapper has found.
#ifndef RESOURCE_MAPPER_MAPPING_RESOURCE_H_
#define RESOURCE_MAPPER_MAPPING_RESOURCE_H_

#include "ResourceMapper.h"

#include <string>

namespace cimgate {

// A collection has two entries, its own and that of its members; any other resource has one.
const Json::Value& entryOf(const ResourceMapper& mapper, bool ofMember);

// Makes mResourceObj the entry of a collection's member and mCimClass its first class.
void findCimClass(ResourceMapper& mapper);

// The mapped properties of the class, which is found first where it is not known.
const Json::Value& classProperties(ResourceMapper& mapper);
// Their names, as an array.
Json::Value propertyNames(ResourceMapper& mapper);

// Stores the text of a member of the entry in value; false, with value unchanged, where the entry
// lacks it, which is logged.
bool findMetadata(const ResourceMapper& mapper, const std::string& key, std::string& value,
                  bool ofMember);
// The same; "" where the entry lacks it.
std::string metadata(const ResourceMapper& mapper, const char* key, bool ofMember);

} // namespace cimgate

#endif
