// What a read adds to each object of its answer: OData annotations, "Links" and "Actions", and for
// what the request names the headers too.
#ifndef RESOURCE_MAPPER_READ_ANNOTATIONS_H_
#define RESOURCE_MAPPER_READ_ANNOTATIONS_H_

#include "ResourceMapper.h"

namespace cimgate {

// ResourceMapper::AddOdataMetaData(): for an object from the data cache, for a live instance or
// member, and for a live collection itself.
_ResourceMapperError annotate(ResourceMapper& mapper, Json::Value& obj,
                              const Json::Value& selectList, bool isTarget);
_ResourceMapperError annotateLive(ResourceMapper& mapper, Json::Value& obj,
                                  const Json::Value& selectList);
_ResourceMapperError annotateLiveCollection(ResourceMapper& mapper, Json::Value& collection);

// ResourceMapper::applyFilterOnAction().
_ResourceMapperError narrowActions(ResourceMapper& mapper, Json::Value& resource,
                                   const Json::Value& selectList);

} // namespace cimgate

#endif
