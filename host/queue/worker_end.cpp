#include "queue/worker_end.h"

#include "queue/message.h"
#include "worker/embedded_read.h"

#include <optional>

namespace host {

std::string handleEmbeddedData(const std::string& container, const std::string& id,
                               DataCache& cache)
{
    std::optional<CacheRead> transaction;
    const EmbeddedRead read = readEmbedded(container, id, transaction, cache);
    switch (read.result) {
    case EmbeddedRead::Result::InvalidId:
        return queueError(QueueFault::InvalidId);
    case EmbeddedRead::Result::UnknownContainer:
        return queueError(QueueFault::UnknownContainer, container);
    case EmbeddedRead::Result::NotReady:
        return queueError(QueueFault::NotCached, read.notReady);
    case EmbeddedRead::Result::Failed:
        return queueError(QueueFault::Busy);
    case EmbeddedRead::Result::Done:
        break;
    }
    return queueAnswer(read.data);
}

} // namespace host
