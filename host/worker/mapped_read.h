// Reads of mapped resources as the library makes them, and what keeps it from that.
#ifndef HOST_WORKER_MAPPED_READ_H_
#define HOST_WORKER_MAPPED_READ_H_

#include "worker/cache_read.h"
#include "worker/cim_session.h"
#include "worker/data_cache.h"

#include <ResourceMapper.h>
#include <json/json.h>

#include <optional>

namespace host {

// Why a resource cannot be read now. The current request has been told the cause.
enum class Obstacle {
    None,
    NotReady, // its class is not; the library has set "Retry-After"
    Cache,    // the data cache fails
    Cim       // the object manager is away
};

struct MappedRead
{
    Obstacle obstacle = Obstacle::None;
    _ResourceMapperError rc = RM_OK; // without an obstacle
    Json::Value body;                // where rc is RM_OK
    bool mayBeKept = false;          // it shows the state of the data cache, and that alone
};

// Opens the cache and begins the transaction, where that has not been done. False where the cache
// cannot be opened.
bool beginRead(std::optional<CacheRead>& transaction, DataCache& cache);

// Of a resource that ParseUri() has found. The cache is open, and the transaction on it has begun.
MappedRead readFromCache(ResourceMapper& mapper, const CacheRead& transaction, DataCache& cache);

MappedRead readLive(ResourceMapper& mapper, CimSession& cim);

// What a resource without a source says of itself.
MappedRead readFromMapping(ResourceMapper& mapper);

// Whether the links of a resource that does not come from the data cache itself can be read.
bool canReadLinks(const ResourceMapper& mapper, DataCache& cache);

} // namespace host

#endif
