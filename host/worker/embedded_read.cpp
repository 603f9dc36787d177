#include "worker/embedded_read.h"

#include "queue/container_id.h"
#include "worker/current_request.h"
#include "worker/mapped_read.h"

#include <ResourceMapper.h>
#include <ResourceMapper/mapping/CachedClasses.h>
#include <ResourceMapper/mapping/Links.h>
#include <sqlite3.h>

namespace host {

namespace {

using Result = EmbeddedRead::Result;

EmbeddedRead refused(Result why)
{
    EmbeddedRead read;
    read.result = why;
    read.mayBeKept = true;
    return read;
}

EmbeddedRead failed(const std::string& why)
{
    currentRequest().fail(why);
    EmbeddedRead read;
    read.result = Result::Failed;
    return read;
}

EmbeddedRead notReady(const std::string& resource, const std::optional<CacheFault>& fault,
                      DataCache& cache)
{
    if (fault && fault->code != SQLITE_BUSY) {
        cache.note(fault->words);
    }
    currentRequest().fail(resource + " is not ready in the data cache");
    EmbeddedRead read;
    read.result = Result::NotReady;
    read.notReady = resource;
    return read;
}

// What is left out since SQLite has failed would look like what is not there.
bool hidesData(const CacheFault& fault)
{
    return fault.code != SQLITE_ERROR;
}

EmbeddedRead readOpened(const std::string& container, const std::string& id,
                        const std::optional<CacheRead>& transaction, DataCache& cache)
{
    odata::Scope scope = odata::Scope::New();
    const odata::URI uri = scope.NewURI();
    ResourceMapper mapper(nullptr, scope, uri, true);
    EmbeddedRead read;
    read.data = Json::Value(Json::objectValue);
    const _ResourceMapperError rc =
        mapper.GetMappedResources(container.c_str(), id.c_str(), read.data);
    const std::optional<CacheFault> fault = transaction ? transaction->fault() : std::nullopt;
    const std::string resource = mapper.GetOemResourceName();
    if (rc == RM_DATA_NOT_CACHED) {
        return notReady(resource, fault, cache);
    }
    if (fault && hidesData(*fault)) {
        return failed(resource + ": " +
                      faultText(cimgate::mapping::tableOf(mapper.mCimClass), *fault));
    }
    read.mayBeKept = !fault;
    return read;
}

} // namespace

EmbeddedRead readEmbedded(const std::string& container, const std::string& id,
                          std::optional<CacheRead>& transaction, DataCache& cache)
{
    // The last door before SQL, whoever has asked.
    if (!isContainerId(id)) {
        return refused(Result::InvalidId);
    }
    if (!ResourceMapper::RmfObj.isMember(container)) { // the library would abort
        return refused(Result::UnknownContainer);
    }
    if (cimgate::mapping::readsDataCache(ResourceMapper::RmfObj) &&
        !beginRead(transaction, cache)) {
        return failed(kCacheIsUnreadable);
    }
    return readOpened(container, id, transaction, cache);
}

} // namespace host
