// Where a worker's answers come from, beside the mapping.
#ifndef HOST_WORKER_SOURCES_H_
#define HOST_WORKER_SOURCES_H_

#include "worker/cim_session.h"
#include "worker/data_cache.h"

namespace host {

struct Sources
{
    explicit Sources(CacheNotice& notice) : cache(notice) {}

    CimSession cim;
    DataCache cache;
};

} // namespace host

#endif
