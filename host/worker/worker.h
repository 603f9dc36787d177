// A worker process: one thread that answers one request at a time, apart from all others, so that
// what ends it costs no more than its own request.
#ifndef HOST_WORKER_WORKER_H_
#define HOST_WORKER_WORKER_H_

#include "worker/cache_notice.h"
#include "worker/work_note.h"

#include <service/file_descriptor.h>

namespace host {

// Runs a worker in a process that the spawner has just forked: looks whether the data cache can be
// read, where the mapping needs it, says that it is ready, and answers requests until the socket
// closes. The note says what it is at; the cache's notice is shared with the other workers.
// isVerbatim: answers are left as the library makes them.
[[noreturn]] void runWorker(service::FileDescriptor socket, WorkNote& note,
                            CacheNotice& cacheNotice, bool isVerbatim);

} // namespace host

#endif
