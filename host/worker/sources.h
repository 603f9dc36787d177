// Where a worker's answers come from, beside the mapping, and what is made of them.
#ifndef HOST_WORKER_SOURCES_H_
#define HOST_WORKER_SOURCES_H_

#include "service_file/service_resources.h"
#include "worker/cim_session.h"
#include "worker/data_cache.h"
#include "worker/shapes.h"

#include <ResourceMapper.h>

#include <optional>

namespace host {

struct Sources
{
    // What it is made with must outlive it. isVerbatim: answers are left as the library makes them.
    Sources(CacheNotice& notice, const service_file::ServiceResources& ownResources,
            bool isVerbatim = false)
        : cache(notice), service(ownResources)
    {
        if (!isVerbatim) {
            shapes.emplace(ResourceMapper::RmfObj);
        }
    }

    CimSession cim;
    DataCache cache;
    const service_file::ServiceResources& service;
    std::optional<Shapes> shapes; // nothing: as the library makes them
};

} // namespace host

#endif
