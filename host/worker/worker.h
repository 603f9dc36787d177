// A worker process: one thread that answers one request at a time, apart from all others, so that
// what ends it costs no more than its own request.
#ifndef HOST_WORKER_WORKER_H_
#define HOST_WORKER_WORKER_H_

#include "service_file/service_resources.h"
#include "worker/cache_notice.h"
#include "worker/work_note.h"

#include <service/file_descriptor.h>

namespace host {

// Runs a worker in a process that the spawner has just forked: looks whether the data cache can be
// read, where the mapping needs it, says that it is ready, and answers requests until the socket
// closes. The note says what it is at; the cache's notice is shared with the other workers, and so
// are the service's own resources. isVerbatim: answers are left as the library makes them.
[[noreturn]] void runWorker(service::FileDescriptor socket, WorkNote& note,
                            CacheNotice& cacheNotice,
                            const service_file::ServiceResources& resources, bool isVerbatim);

} // namespace host

#endif
