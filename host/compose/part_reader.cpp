#include "compose/part_reader.h"

#include "service_file/service_file.h"
#include "worker/current_request.h"
#include "worker/embedded_read.h"

#include <ResourceMapper/mapping/Entry.h>

#include <utility>

namespace host::compose {

namespace mapping = cimgate::mapping;

namespace {

// A resource that the cache has not is no failure; anything else is told.
void tellFailure(const std::string& name, const Part& part)
{
    if (httpd::isServerFailure(part.status) && !currentRequest().hasFailed()) {
        currentRequest().fail("its part " + name + " is " + std::to_string(part.status));
    }
}

} // namespace

const Part& PartReader::read(const std::string& target)
{
    const auto known = mRead.find(target);
    if (known != mRead.end()) {
        return known->second;
    }
    return keep(target, readNew(target));
}

const Part& PartReader::readEmbedded(const std::string& container, const std::string& id)
{
    const std::string name = "OEM " + container + " " + id;
    const auto known = mRead.find(name);
    if (known != mRead.end()) {
        return known->second;
    }
    return keep(name, readNewEmbedded(container, id));
}

// One that waits for its time is asked for again.
const Part& PartReader::keep(const std::string& name, Part part)
{
    static const Part kUnread{httpd::kServiceUnavailable, {}};
    if (part.status == 0) {
        mWaitsForLive = true;
        return kUnread;
    }
    tellFailure(name, part);
    return mRead[name] = std::move(part);
}

void PartReader::beginLive()
{
    mCacheRead.reset();
    mIsLiveTime = true;
}

Part PartReader::readNew(const std::string& target)
{
    odata::Scope scope = odata::Scope::ForRequest(target);
    const odata::URI uri = scope.NewURI();
    if (uri.GetFault() != OL_URI_OK || uri.GetSegmentCount() == 0) {
        return {httpd::kNotFound, {}};
    }
    ResourceMapper mapper(mSources.cim.get(), scope, uri, false);
    MappedRead unresolved;
    unresolved.rc = mapper.ParseUri(RM_METHOD_GET);
    unresolved.mayBeKept = true;
    currentRequest().concerns(mapper.mOemResourceName, mapper.mCimClass);
    return unresolved.rc == RM_OK ? readResolved(mapper, scope)
                                  : partOf(mapper, scope, std::move(unresolved));
}

// What the library says of its result as a status.
Part PartReader::partOf(ResourceMapper& mapper, const odata::Scope& scope, MappedRead read)
{
    mIsOfCache = mIsOfCache && read.mayBeKept;
    if (read.obstacle != Obstacle::None) {
        return {httpd::kServiceUnavailable, {}};
    }
    if (read.rc == RM_OK) {
        shape(mapper.mOemResourceName, read.body);
        return {httpd::kOk, std::move(read.body), mapper.mSupportsTopSkip, mapper.mOemResourceName,
                mapper.mCimClass};
    }
    mapper.SendExtendedErrorResponse(read.rc);
    return {static_cast<unsigned int>(scope.GetStatus()), {}};
}

void PartReader::shape(const std::string& entryName, Json::Value& body)
{
    if (mSources.shapes) {
        mSources.shapes->shape(entryName, body);
    }
}

// What waits for the object manager's time has no status yet.
Part PartReader::readResolved(ResourceMapper& mapper, const odata::Scope& scope)
{
    const mapping::Source source =
        mapping::sourceOf(mapper.mResourceObj, mapper.mCimClass, mapper.mIsCollection);
    if (source == mapping::Source::DataCache) {
        return beginRead(mCacheRead, mSources.cache)
                   ? partOf(mapper, scope, readFromCache(mapper, *mCacheRead, mSources.cache))
                   : unavailable(kCacheIsUnreadable);
    }
    if (source == mapping::Source::Cim && !mIsLiveTime) {
        return {};
    }
    if (!canReadLinks(mapper, mSources.cache)) {
        return unavailable(kCacheIsUnreadable);
    }
    if (source != mapping::Source::Cim) {
        return partOf(mapper, scope, readFromMapping(mapper));
    }
    mCacheRead.reset(); // which resources that were expanded meanwhile may have begun again
    return partOf(mapper, scope, readLive(mapper, mSources.cim));
}

Part PartReader::readNewEmbedded(const std::string& container, const std::string& id)
{
    EmbeddedRead read = host::readEmbedded(container, id, mCacheRead, mSources.cache);
    mIsOfCache = mIsOfCache && read.mayBeKept;
    switch (read.result) {
    case EmbeddedRead::Result::InvalidId:
    case EmbeddedRead::Result::UnknownContainer:
        return {httpd::kNotFound, {}};
    case EmbeddedRead::Result::NotReady:
    case EmbeddedRead::Result::Failed:
        return {httpd::kServiceUnavailable, {}};
    case EmbeddedRead::Result::Done:
        break;
    }
    for (auto resource = read.data.begin(); resource != read.data.end(); ++resource) {
        shape(resource.name(), *resource);
    }
    nameType(container, read.data);
    return {httpd::kOk, std::move(read.data)};
}

// The message queue hands the same data out without.
void PartReader::nameType(const std::string& container, Json::Value& data)
{
    const auto& types = mSources.service.file.dataTypes;
    if (const auto type = types.find(container); type != types.end()) {
        data[service_file::kType] = type->second;
    }
}

// Not kept: what is away now may be there in a moment without a change that the cache shows.
Part PartReader::unavailable(const std::string& why)
{
    mIsOfCache = false;
    currentRequest().fail(why);
    return {httpd::kServiceUnavailable, {}};
}

} // namespace host::compose
