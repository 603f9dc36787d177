#include "queue/worker_end.h"

#include "queue/container_id.h"
#include "queue/message.h"
#include "worker/cache_read.h"
#include "worker/current_request.h"

#include <ResourceMapper.h>
#include <ResourceMapper/mapping/CachedClasses.h>
#include <ResourceMapper/mapping/Links.h>
#include <sqlite3.h>

namespace host {

namespace {

// What is left out since SQLite has failed would look like what is not there.
bool hasFailed(const std::optional<CacheFault>& fault)
{
    return fault && fault->code != SQLITE_ERROR;
}

} // namespace

std::string handleEmbeddedData(const std::string& container, const std::string& id,
                               DataCache& cache)
{
    // The last door before SQL, whoever has asked.
    if (!isContainerId(id)) {
        return queueError(QueueFault::InvalidId);
    }
    if (!ResourceMapper::RmfObj.isMember(container)) { // the library would abort
        return queueError(QueueFault::UnknownContainer, container);
    }
    const bool needsCache = cimgate::mapping::readsDataCache(ResourceMapper::RmfObj);
    if (needsCache && !cache.open()) {
        currentRequest().fail(kCacheIsUnreadable);
        return queueError(QueueFault::Busy);
    }
    odata::Scope scope = odata::Scope::New();
    const odata::URI uri = scope.NewURI();
    ResourceMapper mapper(nullptr, scope, uri, true);
    Json::Value data(Json::objectValue);
    const std::optional<CacheRead> read =
        needsCache ? std::make_optional<CacheRead>() : std::nullopt;
    const _ResourceMapperError rc = mapper.GetMappedResources(container.c_str(), id.c_str(), data);
    const std::optional<CacheFault> fault = read ? read->fault() : std::nullopt;
    if (rc == RM_DATA_NOT_CACHED) {
        if (fault && fault->code != SQLITE_BUSY) {
            cache.note(fault->words);
        }
        currentRequest().fail(std::string(mapper.GetOemResourceName()) +
                              " is not ready in the data cache");
        return queueError(QueueFault::NotCached, mapper.GetOemResourceName());
    }
    if (hasFailed(fault)) {
        currentRequest().fail(std::string(mapper.GetOemResourceName()) + ": " +
                              faultText(cimgate::mapping::tableOf(mapper.mCimClass), *fault));
        return queueError(QueueFault::Busy);
    }
    return queueAnswer(data);
}

} // namespace host
