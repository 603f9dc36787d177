// Collections from the data cache, and the pages of a collection from either source.
#ifndef RESOURCE_MAPPER_READ_COLLECTIONS_H_
#define RESOURCE_MAPPER_READ_COLLECTIONS_H_

#include "ResourceMapper.h"

#include <cstdint>

namespace cimgate {

inline constexpr uint32_t kPageMembers = 50;
inline constexpr const char* kMembers = "Members";
inline constexpr const char* kMembersCount = "Members@odata.count";

// Which of a collection's members a request asks for.
struct Paging
{
    uint32_t count = 0; // all members of the collection, whatever is asked for
    uint32_t top = 0;
    uint32_t skip = 0;
    bool topGiven = false;
};

// Fills paging, whose count is known, from $top and $skip, where the collection supports them.
_ResourceMapperError readPaging(ResourceMapper& mapper, Paging& paging);

// Adds the URI of the next page.
void setNextLink(const ResourceMapper& mapper, Json::Value& out, const Paging& paging,
                 bool fromCache);

// ResourceMapper::GetCollection() from the data cache.
_ResourceMapperError readCachedCollection(ResourceMapper& mapper, Json::Value& out);

} // namespace cimgate

#endif
