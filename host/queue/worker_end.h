// How a worker answers the message queue.
#ifndef HOST_QUEUE_WORKER_END_H_
#define HOST_QUEUE_WORKER_END_H_

#include "worker/data_cache.h"

#include <string>

namespace host {

// The answer to a request for what a container embeds (see message.h): the data of the cached
// resources, or what is wrong.
std::string handleEmbeddedData(const std::string& container, const std::string& id,
                               DataCache& cache);

} // namespace host

#endif
