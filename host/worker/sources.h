// Where a worker's answers come from, beside the mapping, and what is made of them.
#ifndef HOST_WORKER_SOURCES_H_
#define HOST_WORKER_SOURCES_H_

#include "worker/cim_session.h"
#include "worker/data_cache.h"
#include "worker/shapes.h"

#include <ResourceMapper.h>

#include <optional>

namespace host {

struct Sources
{
    // isVerbatim: answers are left as the library makes them.
    explicit Sources(CacheNotice& notice, bool isVerbatim = false) : cache(notice)
    {
        if (!isVerbatim) {
            shapes.emplace(ResourceMapper::RmfObj);
        }
    }

    CimSession cim;
    DataCache cache;
    std::optional<Shapes> shapes; // nothing: as the library makes them
};

} // namespace host

#endif
