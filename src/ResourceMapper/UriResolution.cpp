// From a request URI to the resource, instance or action that it names. Whether a POST names an
// instance takes a read, so that the steps of mapping/ are joined here.
#include "ResourceMapper/mapping/UriResolution.h"

#include "Log.h"
#include "MessageArguments.h"
#include "ResourceMapper/mapping/Entry.h"
#include "ResourceMapper/mapping/MappingFile.h"
#include "ResourceMapper/mapping/UriTable.h"
#include "ResourceMapper/read/Instances.h"
#include "ResourceMapper/read/LiveReads.h"
#include "ResourceMapper/read/QueryOptions.h"
#include "UriText.h"

using enum cimgate::LogLevel;

namespace cimgate {

namespace {

_ResourceMapperError refusePostToInstance(ResourceMapper& mapper, const char** pEntityName,
                                          const std::string& uri)
{
    if (const auto rc = loadInstanceEntry(mapper, pEntityName); rc != RM_OK) {
        return rc;
    }
    if (mapper.mIsCollection) {
        return refuseUri(uri);
    }
    // Whether the instance exists decides what is wrong: the method, or the URI.
    Json::Value unused;
    if (readLiveInstance(mapper, unused) != RM_OK) {
        return refuseUri(uri);
    }
    LOG_AT(LOG_FACT, "Invalid method on URI %s", uri.c_str());
    return RM_METHOD_NOT_ALLOWED;
}

_ResourceMapperError resolveBelowRegistered(ResourceMapper& mapper, int method, int allowed,
                                            const char** pEntityName, const std::string& uri)
{
    const bool parentIsRead = (allowed & RM_METHOD_GET) != 0;
    if ((method & RM_METHOD_GET) != 0) {
        return parentIsRead ? resolveInstance(mapper, pEntityName, uri) : refuseUri(uri);
    }
    if ((allowed & RM_METHOD_POST) != 0) {
        return refuseUri(uri);
    }
    // A URI that is registered for neither method: no resource is named, on which ParseUri()
    // aborts.
    return parentIsRead ? refusePostToInstance(mapper, pEntityName, uri) : RM_OK;
}

} // namespace

} // namespace cimgate

_ResourceMapperError ResourceMapper::ParseUri(int method)
{
    LOG_SCOPE();
    const unsigned int segCount = mURI.GetSegmentCount();
    std::string base = mScope.GetRequestURL();
    LOG_AT(LOG_STEP, "Parsing URI(%s)  URICount(%d)", base.c_str(), static_cast<int>(segCount));
    RM_ASSERT(segCount > 0);
    cimgate::removeQueryAndSlash(base);
    if (!cimgate::removeLastSegment(base)) {
        LOG_AT(LOG_ERROR, "Invalid URI");
        return cimgate::failWith(mErrorArgs, RM_INVALID_URI, mOemResourceName);
    }
    LOG_AT(LOG_STEP, "BaseURI=%s", base.c_str());

    const char* entity = nullptr;
    bool isResourceUri = false;
    if (const auto rc = isValidURI(method, &entity, &isResourceUri, base); rc != RM_OK) {
        return cimgate::failWith(mErrorArgs, rc, mOemResourceName);
    }
    RM_ASSERT_TEXT(entity != nullptr, "pEntityName != NULL");
    LOG_AT(LOG_FACT, " entity Name %s ", entity);
    if (const auto rc = cimgate::checkResolved(*this, entity); rc != RM_OK) {
        // The look-up has set the resource's name as message argument; clients get none here.
        return cimgate::failWith(mErrorArgs, rc, "");
    }
    // A read is not held to its entry's "@odata.id": entries are found by name, and a name may be
    // served below several URIs. It is only told where there is none. An action must be addressed
    // exactly as its target says.
    if (method == RM_METHOD_GET) {
        std::string unused;
        (void)GetOdataMedata(cimgate::mapping::kOdataId, unused, false);
    } else if (method == RM_METHOD_POST) {
        if (const auto rc = cimgate::checkActionTarget(*this, base, segCount); rc != RM_OK) {
            return rc;
        }
    }
    if (!mIsCollection) {
        cimgate::readFixedSelectors(*this);
    }
    return RM_OK;
}

_ResourceMapperError ResourceMapper::isValidURI(int method, const char** pEntityName,
                                                bool* pIsResourceURI, std::string baseURI)
{
    LOG_SCOPE();
    LOG_AT(LOG_FACT, "Segment URI Passed is %s", baseURI.c_str());
    std::string uri = mScope.GetRequestURL();
    cimgate::removeQueryAndSlash(uri);
    // Loads the mapping on the first request; a mapper has no resource name of its own yet.
    if (const auto rc = checkResource(mOemResourceName, false); rc != RM_RESOURCE_NOT_IN_RMF) {
        return rc;
    }
    cimgate::writableObject(mErrorArgs).removeMember("p1");

    if (const Json::Value* methods = cimgate::findRegistered(uri)) {
        if ((methods->asInt() & method) == 0) {
            LOG_AT(LOG_FACT, "Invalid method on URI %s", uri.c_str());
            return RM_METHOD_NOT_ALLOWED;
        }
        *pEntityName = cimgate::registeredName(mURI, method);
        *pIsResourceURI = *pIsResourceURI || (method & RM_METHOD_GET) != 0;
        return RM_OK;
    }
    if (const Json::Value* methods = cimgate::findRegistered(baseURI)) {
        return cimgate::resolveBelowRegistered(*this, method, methods->asInt(), pEntityName, uri);
    }
    return cimgate::refuseUri(uri);
}

int ResourceMapper::GetTarget(const std::string& key, std::string& target, unsigned int segCount)
{
    cimgate::findTarget(*this, key, target, segCount);
    return 1;
}

int ResourceMapper::parseSelectors(std::string selectors)
{
    cimgate::parseSelectors(*this, selectors);
    return 0;
}

std::string ResourceMapper::ReplaceSpaces(std::string& s)
{
    std::string replaced = s;
    cimgate::escapeSpaces(replaced);
    return replaced;
}

bool ResourceMapper::IsServiceURI(Json::Value& out, _ResourceMapperError& err)
{
    LOG_SCOPE();
    if (mIsCollection ||
        !cimgate::textOf(mResourceObj, cimgate::mapping::kUniqueSelector).empty()) {
        return false;
    }
    Json::Value selectList;
    err = cimgate::selectedNames(*this, selectList);
    if (err == RM_OK) {
        err = cimgate::shapeResult(*this, out, selectList, true);
    }
    return true;
}
