// Pages of a collection, from either source of data.
#ifndef RESOURCE_MAPPER_PAGING_H_
#define RESOURCE_MAPPER_PAGING_H_

#include "ResourceMapper.h"

#include <cstdint>

constexpr uint32_t kPageMembers = 50;
constexpr const char* kMembers = "Members";
constexpr const char* kMembersCount = "Members@odata.count";

// Which of a collection's members a request asks for.
struct ResourceMapper::Paging
{
    uint32_t count = 0; // all members of the collection, whatever is asked for
    uint32_t top = 0;
    uint32_t skip = 0;
    bool topGiven = false;
};

#endif
