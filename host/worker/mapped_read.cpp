#include "worker/mapped_read.h"

#include "worker/current_request.h"

#include <ResourceMapper/mapping/CachedClasses.h>
#include <ResourceMapper/mapping/Links.h>
#include <sqlite3.h>

namespace host {

namespace mapping = cimgate::mapping;

namespace {

MappedRead stopped(Obstacle obstacle, const std::string& why)
{
    currentRequest().fail(why);
    MappedRead read;
    read.obstacle = obstacle;
    return read;
}

// A class that is not ready, or a cache that cannot say so.
MappedRead notReady(const CacheRead& transaction, DataCache& cache)
{
    const std::optional<CacheFault> fault = transaction.fault();
    if (!fault || fault->code != SQLITE_BUSY) {
        cache.note(fault ? fault->words : "");
    }
    return stopped(Obstacle::NotReady, fault ? faultText(mapping::kReadinessTable, *fault)
                                             : "the class is not ready in the data cache");
}

// Whether the library's result is not to be believed: "there is no such instance" means that it is
// gone, to clients. What SQLite calls an error is a table that the mapping names and the cache
// lacks, which no waiting mends.
bool isOfTheCache(const CacheFault& fault, _ResourceMapperError rc)
{
    return fault.code != SQLITE_ERROR || rc != RM_INTERNAL_ERROR;
}

} // namespace

bool beginRead(std::optional<CacheRead>& transaction, DataCache& cache)
{
    if (!transaction && cache.open()) {
        transaction.emplace();
    }
    return transaction.has_value();
}

MappedRead readFromCache(ResourceMapper& mapper, const CacheRead& transaction, DataCache& cache)
{
    if (!mapper.IsCached()) {
        return notReady(transaction, cache);
    }
    cache.note("");
    MappedRead read;
    read.rc = mapper.mIsCollection ? mapper.GetCollection(read.body, true)
                                   : mapper.GetInstance(read.body, true);
    const std::optional<CacheFault> fault = transaction.fault();
    if (fault && isOfTheCache(*fault, read.rc)) {
        return stopped(Obstacle::Cache, faultText(mapping::tableOf(mapper.mCimClass), *fault));
    }
    read.mayBeKept = !fault;
    return read;
}

// The library reports one and the same failure where the object manager is away and where it is
// there and fails: only the first will pass.
MappedRead readLive(ResourceMapper& mapper, CimSession& cim)
{
    MappedRead read;
    read.rc =
        mapper.mIsCollection ? mapper.GetCollection(read.body) : mapper.GetInstance(read.body);
    const char* fault = nullptr;
    if (read.rc == RM_INTERNAL_ERROR) {
        fault = cim.renew();
    } else if (read.rc == RM_INSUFFICIENT_PRIVILEGE) {
        fault = CimSession::whyRefused();
    }
    return fault != nullptr ? stopped(Obstacle::Cim, fault) : read;
}

MappedRead readFromMapping(ResourceMapper& mapper)
{
    MappedRead read;
    (void)mapper.IsServiceURI(read.body, read.rc);
    return read;
}

bool canReadLinks(const ResourceMapper& mapper, DataCache& cache)
{
    return !mapping::hasAssociations(mapper.mResourceObj) || cache.canFindLinks();
}

} // namespace host
