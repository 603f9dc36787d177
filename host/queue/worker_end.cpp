#include "queue/worker_end.h"

#include "queue/message.h"

#include <ResourceMapper.h>

namespace host {

std::string handleOemData(const std::string& container, const std::string& id)
{
    // The last door before SQL, whoever has asked.
    if (!isOemId(id)) {
        return oemError(OemFault::InvalidId);
    }
    if (!ResourceMapper::RmfObj.isMember(container)) { // the library would abort
        return oemError(OemFault::UnknownContainer, container);
    }
    odata::Scope scope = odata::Scope::New();
    const odata::URI uri = scope.NewURI();
    ResourceMapper mapper(nullptr, scope, uri, true);
    Json::Value data(Json::objectValue);
    if (mapper.GetMappedResources(container.c_str(), id.c_str(), data) == RM_DATA_NOT_CACHED) {
        return oemError(OemFault::NotCached, mapper.GetOemResourceName());
    }
    return oemAnswer(data);
}

} // namespace host
