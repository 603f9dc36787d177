// From a request URI to the resource, instance or action that it names.
#include "Log.h"
#include "ResourceMapper.h"
#include "ResourceMapper/mapping/Entry.h"
#include "ResourceMapper/mapping/UriTable.h"

using namespace cimgate; // NOLINT(google-build-using-namespace): most of what stands here

namespace {

void removeQueryAndSlash(std::string& uri)
{
    if (const size_t query = uri.rfind('?'); query != std::string::npos) {
        uri.erase(query);
    }
    if (uri.ends_with('/')) {
        uri.pop_back();
    }
}

// Cuts uri at its last '/'; false when it has none.
bool removeLastSegment(std::string& uri)
{
    const size_t slash = uri.rfind('/');
    if (slash == std::string::npos) {
        return false;
    }
    uri.erase(slash);
    return true;
}

// The method bits of a registered URI; null when it is not registered.
const Json::Value* findRegistered(const std::string& uri)
{
    const Json::Value& table = URIObj;
    return table.find(uri.data(), uri.data() + uri.size());
}

std::string segmentOf(const odata::URI& uri, unsigned int index)
{
    const char* segment = uri.GetSegment(index);
    return segment == nullptr ? std::string() : std::string(segment);
}

} // namespace

_ResourceMapperError ResourceMapper::ParseUri(int method)
{
    LOG_SCOPE();
    const unsigned int segCount = mURI.GetSegmentCount();
    std::string base = mScope.GetRequestURL();
    LOG_AT(LOG_STEP, "Parsing URI(%s)  URICount(%d)", base.c_str(), static_cast<int>(segCount));
    RM_ASSERT(segCount > 0);
    removeQueryAndSlash(base);
    if (!removeLastSegment(base)) {
        LOG_AT(LOG_ERROR, "Invalid URI");
        return failWith(RM_INVALID_URI, mOemResourceName);
    }
    LOG_AT(LOG_STEP, "BaseURI=%s", base.c_str());

    const char* entity = nullptr;
    bool isResourceUri = false;
    if (const auto rc = isValidURI(method, &entity, &isResourceUri, base); rc != RM_OK) {
        return failWith(rc, mOemResourceName);
    }
    RM_ASSERT_TEXT(entity != nullptr, "pEntityName != NULL");
    LOG_AT(LOG_FACT, " entity Name %s ", entity);
    if (const auto rc = checkResource(entity, false); rc != RM_OK) {
        // The client's message carries no name here, whatever the look-up noted.
        return failWith(rc, "");
    }
    // A read is not held to its entry's "@odata.id": entries are found by name, and a name may be
    // served below several URIs. An action must be addressed exactly as its target says.
    if (method == RM_METHOD_POST) {
        if (const auto rc = checkActionTarget(base, segCount); rc != RM_OK) {
            return rc;
        }
    }
    return mIsCollection ? RM_OK : readFixedSelectors();
}

_ResourceMapperError ResourceMapper::checkActionTarget(const std::string& base,
                                                       unsigned int segCount)
{
    std::string expected;
    GetTarget(mapping::kTarget, expected, segCount);
    if (expected.empty()) {
        return failWith(RM_INVALID_URI, mCimMethodName);
    }
    expected = ReplaceSpaces(expected);
    removeLastSegment(expected);
    if (base != expected) {
        LOG_AT(LOG_ERROR, "Invalid URI");
        LOG_AT(LOG_ERROR, "Expected: %s", expected.c_str());
        LOG_AT(LOG_ERROR, "Base URI: %s", base.c_str());
        return failWith(RM_INVALID_URI, mOemResourceName);
    }
    return RM_OK;
}

_ResourceMapperError ResourceMapper::readFixedSelectors()
{
    const std::string selectors = textOf(mResourceObj, mapping::kSelectors);
    if (!selectors.empty()) {
        LOG_AT(LOG_FACT, "Keys %s", selectors.c_str());
        parseSelectors(selectors);
    }
    return RM_OK;
}

_ResourceMapperError ResourceMapper::failWith(_ResourceMapperError code,
                                              const std::string& argument)
{
    mErrorArgs["p1"] = argument;
    return code;
}

_ResourceMapperError ResourceMapper::isValidURI(int method, const char** pEntityName,
                                                bool* pIsResourceURI, std::string baseURI)
{
    LOG_SCOPE();
    LOG_AT(LOG_FACT, "Segment URI Passed is %s", baseURI.c_str());
    std::string uri = mScope.GetRequestURL();
    removeQueryAndSlash(uri);
    // Loads the mapping on the first request; a mapper has no resource name of its own yet.
    if (const auto rc = checkResource(mOemResourceName, false); rc != RM_RESOURCE_NOT_IN_RMF) {
        return rc;
    }
    mErrorArgs.removeMember("p1");

    if (const Json::Value* methods = findRegistered(uri)) {
        if ((methods->asInt() & method) == 0) {
            LOG_AT(LOG_FACT, "Invalid method on URI %s", uri.c_str());
            return RM_METHOD_NOT_ALLOWED;
        }
        nameRegistered(method, pEntityName, pIsResourceURI);
        return RM_OK;
    }
    if (const Json::Value* methods = findRegistered(baseURI)) {
        return resolveBelowRegistered(method, methods->asInt(), pEntityName, uri);
    }
    return refuseUri(uri);
}

void ResourceMapper::nameRegistered(int method, const char** pEntityName,
                                    bool* pIsResourceURI) const
{
    const unsigned int segCount = mURI.GetSegmentCount();
    if ((method & RM_METHOD_GET) != 0) {
        *pEntityName = mURI.GetSegment(segCount - 1);
        *pIsResourceURI = true;
    } else {
        // An action's target is the resource's URI, then "Actions" and the action's name.
        *pEntityName = mURI.GetSegment(segCount - 3);
    }
}

_ResourceMapperError ResourceMapper::resolveBelowRegistered(int method, int allowed,
                                                            const char** pEntityName,
                                                            const std::string& uri)
{
    const bool parentIsRead = (allowed & RM_METHOD_GET) != 0;
    if ((method & RM_METHOD_GET) != 0) {
        return parentIsRead ? resolveInstance(pEntityName, uri) : refuseUri(uri);
    }
    if ((allowed & RM_METHOD_POST) != 0) {
        return refuseUri(uri);
    }
    // A URI registered for neither method names nothing; the caller's assertion ends that.
    return parentIsRead ? refusePostToInstance(pEntityName, uri) : RM_OK;
}

_ResourceMapperError ResourceMapper::loadInstanceEntry(const char** pEntityName)
{
    const unsigned int segCount = mURI.GetSegmentCount();
    *pEntityName = mURI.GetSegment(segCount - 2);
    mInstanceId = segmentOf(mURI, segCount - 1);
    return checkResource(segmentOf(mURI, segCount - 2), false);
}

_ResourceMapperError ResourceMapper::resolveInstance(const char** pEntityName,
                                                     const std::string& uri)
{
    if (const auto rc = loadInstanceEntry(pEntityName); rc != RM_OK) {
        return rc;
    }
    if (mIsCollection || textOf(mResourceObj, mapping::kUniqueSelector).empty()) {
        return refuseUri(uri);
    }
    return RM_OK;
}

_ResourceMapperError ResourceMapper::refusePostToInstance(const char** pEntityName,
                                                          const std::string& uri)
{
    if (const auto rc = loadInstanceEntry(pEntityName); rc != RM_OK) {
        return rc;
    }
    if (mIsCollection) {
        return refuseUri(uri);
    }
    // Whether the instance exists decides what is wrong: the method, or the URI.
    Json::Value unused;
    if (GetInstance(unused) != RM_OK) {
        return refuseUri(uri);
    }
    LOG_AT(LOG_FACT, "Invalid method on URI %s", uri.c_str());
    return RM_METHOD_NOT_ALLOWED;
}

_ResourceMapperError ResourceMapper::refuseUri(const std::string& uri)
{
    LOG_AT(LOG_FACT, "Invalid URI %s", uri.c_str());
    return RM_INVALID_URI;
}

int ResourceMapper::GetTarget(const std::string& key, std::string& target, unsigned int segCount)
{
    LOG_SCOPE();
    const std::string action = segmentOf(mURI, segCount - 1);
    const std::string actionKey = "#" + action;
    LOG_AT(LOG_FACT, "Target Key  %s", actionKey.c_str());
    const Json::Value& found =
        memberOf(memberOf(mapping::actionsOf(mResourceObj, mCimClass), actionKey), key);
    if (!found.empty()) {
        target = textOf(found);
    }
    const size_t dot = action.find('.');
    mCimMethodName = dot == std::string::npos ? action : action.substr(dot + 1);
    LOG_AT(LOG_FACT, " GetTarget:Method name %s", mCimMethodName.c_str());
    return 1;
}

int ResourceMapper::parseSelectors(std::string selectors)
{
    LOG_SCOPE();
    RM_ASSERT_TEXT(!selectors.empty(), "!s.empty()");
    if (mIsZMQCall) {
        LOG_AT(LOG_STEP, "Parsing ID = %s", selectors.c_str());
        const Json::Value& keys =
            memberOf(mapping::classOf(mResourceObj, mCimClass), mapping::kKeyProperties);
        RM_ASSERT_TEXT(keys.isArray() && keys.size() == 1,
                       "mResourceObj[MAPPINGS_KEY][mCimClass][KEYPROPERTIES_KEY].size() == 1");
        mSelectorSet[textOf(keys[0U])] = selectors;
        return 0;
    }
    selectors += ',';
    for (size_t comma = selectors.find(','); comma != std::string::npos;
         comma = selectors.find(',')) {
        const std::string token = selectors.substr(0, comma);
        const size_t equals = token.find('=');
        RM_ASSERT_TEXT(equals != std::string::npos, "eq_pos != std::string::npos");
        const std::string name = token.substr(0, equals);
        const std::string value = token.substr(equals + 1);
        LOG_AT(LOG_STEP, "KeyName(%s) Value(%s)", name.c_str(), value.c_str());
        mSelectorSet[name] = value;
        selectors.erase(0, comma + 1);
    }
    return 0;
}

std::string ResourceMapper::ReplaceSpaces(std::string& s)
{
    std::string replaced;
    for (const char c : s) {
        if (c == ' ') {
            replaced += "%20";
        } else {
            replaced += c;
        }
    }
    return replaced;
}

bool ResourceMapper::IsServiceURI(Json::Value& out, _ResourceMapperError& err)
{
    LOG_SCOPE();
    if (mIsCollection || !textOf(mResourceObj, mapping::kUniqueSelector).empty()) {
        return false;
    }
    Json::Value selectList;
    err = selectedNames(selectList);
    if (err == RM_OK) {
        err = ApplyFilterToGetInstance(out, selectList, true);
    }
    return true;
}
