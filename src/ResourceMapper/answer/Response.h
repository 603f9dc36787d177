// Successful responses and the headers that the mapping file gives them.
#ifndef RESOURCE_MAPPER_ANSWER_RESPONSE_H_
#define RESOURCE_MAPPER_ANSWER_RESPONSE_H_

#include "ResourceMapper.h"

namespace cimgate {

// ResourceMapper::SendResponse().
void sendResponse(odata::Scope& scope, const Json::Value& body);

// ResourceMapper::SetLinkHeader() and SetAllowedHeader().
void setLinkHeader(ResourceMapper& mapper);
void setAllowedHeader(ResourceMapper& mapper);

} // namespace cimgate

#endif
