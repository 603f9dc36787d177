// The OData annotations, "Links" and "Actions" that every object of an answer carries.
//
// ofMember tells which of a collection's two entries describes the object, see entryOf().
#ifndef RESOURCE_MAPPER_CONVERT_ANNOTATIONS_H_
#define RESOURCE_MAPPER_CONVERT_ANNOTATIONS_H_

#include "ResourceMapper.h"

#include <optional>
#include <string>

namespace cimgate {

// Adds "@odata.id" and returns the key that it ends with.
std::string addId(const ResourceMapper& mapper, Json::Value& obj, bool ofMember);

// Adds "Description" and "Id", where the $select leaves them.
void addCommonProperties(const ResourceMapper& mapper, Json::Value& obj,
                         const Json::Value& selectList, const std::string& key, bool ofMember);

// Adds "Name", where the $select leaves it and obj has none.
void addName(const ResourceMapper& mapper, Json::Value& obj, const Json::Value& selectList,
             bool ofMember);

// ResourceMapper::SetLinks() and AddActions().
void addLinks(const ResourceMapper& mapper, Json::Value& obj, const std::string& key);
void addActions(const ResourceMapper& mapper, Json::Value& obj);

// Whether a $select picks some of the "Actions".
bool selectsActions(const Json::Value& selectList);

// Narrows the "Actions" of resource to what selectList picks of them; returns the item that names
// something they lack.
std::optional<std::string> filterActions(Json::Value& resource, const Json::Value& selectList);

// ResourceMapper::EncodeSpecialChars().
void encodeSpecialChars(std::string& uri);

} // namespace cimgate

#endif
