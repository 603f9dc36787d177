#include "queue/worker_end.h"

#include "queue/message.h"
#include "worker/current_request.h"

#include <ResourceMapper.h>

namespace host {

std::string handleEmbeddedData(const std::string& container, const std::string& id)
{
    // The last door before SQL, whoever has asked.
    if (!isContainerId(id)) {
        return queueError(QueueFault::InvalidId);
    }
    if (!ResourceMapper::RmfObj.isMember(container)) { // the library would abort
        return queueError(QueueFault::UnknownContainer, container);
    }
    odata::Scope scope = odata::Scope::New();
    const odata::URI uri = scope.NewURI();
    ResourceMapper mapper(nullptr, scope, uri, true);
    Json::Value data(Json::objectValue);
    if (mapper.GetMappedResources(container.c_str(), id.c_str(), data) == RM_DATA_NOT_CACHED) {
        currentRequest().fail(std::string(mapper.GetOemResourceName()) +
                              " is not ready in the data cache");
        return queueError(QueueFault::NotCached, mapper.GetOemResourceName());
    }
    return queueAnswer(data);
}

} // namespace host
