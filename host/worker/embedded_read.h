// Reads of what a container embeds, for the message queue and for the service's own resources.
#ifndef HOST_WORKER_EMBEDDED_READ_H_
#define HOST_WORKER_EMBEDDED_READ_H_

#include "worker/cache_read.h"
#include "worker/data_cache.h"

#include <json/json.h>

#include <optional>
#include <string>

namespace host {

struct EmbeddedRead
{
    enum class Result {
        Done,
        InvalidId,
        UnknownContainer,
        NotReady, // the class of a resource is not
        Failed    // the data cache cannot be read
    };

    Result result = Result::Done;
    std::string notReady;   // the resource whose class is not
    Json::Value data;       // answers by the names of their entries, where it is done
    bool mayBeKept = false; // it shows the state of the data cache, and that alone
};

// Opens the cache and begins the transaction, where that has not been done and the mapping has
// something that is cached. Of NotReady and Failed the current request has been told the cause.
EmbeddedRead readEmbedded(const std::string& container, const std::string& id,
                          std::optional<CacheRead>& transaction, DataCache& cache);

} // namespace host

#endif
