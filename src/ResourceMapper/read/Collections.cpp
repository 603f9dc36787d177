#include "ResourceMapper/read/Collections.h"

#include "Log.h"
#include "MessageArguments.h"
#include "ResourceMapper/mapping/Entry.h"
#include "ResourceMapper/read/Annotations.h"
#include "ResourceMapper/read/Instances.h"
#include "ResourceMapper/read/QueryOptions.h"
#include "SQLInterface/DataCache.h"
#include "SQLInterface/RowToJson.h"
#include "SQLInterface/Statement.h"

#include <algorithm>

namespace cimgate {

namespace {

_ResourceMapperError refuseRange(ResourceMapper& mapper, unsigned long value, const char* option,
                                 const std::string& range)
{
    Json::Value& arguments = writableObject(mapper.mErrorArgs);
    arguments["p1"] = std::to_string(value);
    arguments["p2"] = option;
    arguments["p3"] = range;
    return RM_QUERY_PARAM_OUT_OF_RANGE;
}

// Reads the page's rows into out["Members"], each under its properties' aliases.
_ResourceMapperError readMembers(ResourceMapper& mapper, Json::Value& out, const Paging& paging)
{
    const uint32_t limit =
        mapper.mSupportsNextLink ? std::min(paging.top, kPageMembers) : paging.top;
    const std::string query =
        selectQuery(mapper.mResourceObj, mapper.mCimClass, {.limit = limit, .offset = paging.skip});
    if (query.empty()) {
        LOG_AT(LOG_ERROR, "Properties are not present in RMF");
        return failWith(mapper.mErrorArgs, RM_INTERNAL_ERROR, mapper.mOemResourceName);
    }
    if (paging.count == 0) {
        LOG_AT(LOG_STEP, "Table is having no entries for collection resource");
        return RM_OK;
    }
    Statement statement;
    if (mapper.mSqlInterface.GetPrepareStatement(query, statement.slot(), "") != 0) {
        LOG_AT(LOG_ERROR, "SQL Prepare statement failed for %s", query.c_str());
        return failWith(mapper.mErrorArgs, RM_INTERNAL_ERROR, mapper.mOemResourceName);
    }
    LOG_AT(LOG_STEP, "Execute query %s is success", query.c_str());
    if (rowsToJson(statement.get(), out, mapper.mResourceObj, mapper.mCimClass,
                   RowShape::Members) != 0) {
        LOG_AT(LOG_ERROR, "SQL to Json conversion is failed");
        return failWith(mapper.mErrorArgs, RM_INTERNAL_ERROR, mapper.mOemResourceName);
    }
    return RM_OK;
}

_ResourceMapperError annotateMembers(ResourceMapper& mapper, Json::Value& out)
{
    if (!hasMember(out, kMembers)) {
        return RM_OK;
    }
    const std::string unique = textOf(mapper.mResourceObj, mapping::kUniqueSelector);
    const bool isKeyMapped =
        hasMember(mapping::propertiesOf(mapper.mResourceObj, mapper.mCimClass), unique);
    for (Json::Value& member : out[kMembers]) {
        if (const auto rc = annotate(mapper, member, Json::Value::nullSingleton(), false);
            rc != RM_OK) {
            return rc;
        }
        if (!isKeyMapped) {
            member.removeMember(unique);
        }
    }
    return RM_OK;
}

} // namespace

_ResourceMapperError readPaging(ResourceMapper& mapper, Paging& paging)
{
    paging.top = paging.count;
    if (!mapper.mSupportsTopSkip) {
        return RM_OK;
    }
    const unsigned long count = paging.count;
    unsigned long top = 0;
    if (numericOption(mapper.mURI, OL_OPTION_TOP, top)) {
        if (top == 0 || top > count) {
            LOG_AT(LOG_ERROR, "Invalid Top(%lu), max enum count(%lu)", top, count);
            return refuseRange(mapper, top, "$top", "(1-" + std::to_string(count) + ")");
        }
        LOG_AT(LOG_FACT, "Top(%lu)", top);
        paging.top = static_cast<uint32_t>(top);
        paging.topGiven = true;
    }
    unsigned long skip = 0;
    if (numericOption(mapper.mURI, OL_OPTION_SKIP, skip)) {
        if (skip >= count) {
            LOG_AT(LOG_ERROR, "Skip(%lu) exceeds enum count(%lu)", skip, count);
            // Unsigned on purpose: an empty collection reports the whole range of 32 bits.
            return refuseRange(mapper, skip, "$skip",
                               "(0-" + std::to_string(paging.count - 1) + ")");
        }
        LOG_AT(LOG_FACT, "Skip(%lu)", skip);
        paging.skip = static_cast<uint32_t>(skip);
    }
    return RM_OK;
}

void setNextLink(const ResourceMapper& mapper, Json::Value& out, const Paging& paging,
                 bool fromCache)
{
    std::string link = mapper.mScope.GetRequestURL();
    link.erase(std::min(link.find('?'), link.size()));
    LOG_AT(LOG_STEP, "Starting NextLink Logic");
    const uint32_t nextSkip = paging.skip + kPageMembers;
    link += "?$skip=" + std::to_string(nextSkip);
    LOG_AT(LOG_STEP, "Skip Part: %s", link.c_str());
    if (paging.topGiven) {
        const uint32_t end = paging.skip + paging.top;
        if (fromCache && end < paging.count) {
            LOG_AT(LOG_STEP, "%d||%d", static_cast<int>(end), static_cast<int>(nextSkip));
        }
        const uint32_t remaining = std::min(end, paging.count) - nextSkip;
        LOG_AT(LOG_STEP, "Requires Top for next %d items", static_cast<int>(remaining));
        link += "&$top=" + std::to_string(remaining);
    }
    LOG_AT(LOG_STEP, "Setting Complete NL: %s", link.c_str());
    writableObject(out)["Members@odata.nextLink"] = link;
}

_ResourceMapperError readCachedCollection(ResourceMapper& mapper, Json::Value& out)
{
    LOG_SCOPE_AS("GetCollection");
    RM_ASSERT_TEXT(mapper.mIsCollection, "mIsCollection == true");
    Paging paging;
    if (mapper.mSqlInterface.GetInstanceCount(Table_Prefix + mapper.mCimClass, &paging.count) !=
        0) {
        LOG_AT(LOG_ERROR, "Datbase table is not found");
        return RM_INTERNAL_ERROR;
    }
    LOG_AT(LOG_STEP, "Number of Instances = %d", static_cast<int>(paging.count));
    Json::Value selectList;
    if (const auto rc = selectedNames(mapper, selectList); rc != RM_OK) {
        return rc;
    }
    if (const auto rc = readPaging(mapper, paging); rc != RM_OK) {
        return rc;
    }
    if (const auto rc = readMembers(mapper, out, paging); rc != RM_OK) {
        return rc;
    }
    // A page that ends with the last member has a link too. Clients that follow it learn from the
    // answer that there is no more.
    if (mapper.mSupportsNextLink && paging.top >= kPageMembers &&
        paging.count >= paging.skip + kPageMembers) {
        setNextLink(mapper, out, paging, true);
    }
    if (const auto rc = annotateMembers(mapper, out); rc != RM_OK) {
        return rc;
    }
    if (paging.count == 0) {
        writableObject(out)[kMembers] = Json::Value(Json::arrayValue);
    }
    writableObject(out)[kMembersCount] = paging.count;
    const _ResourceMapperError rc = shapeResult(mapper, out, selectList, false);
    if (rc == RM_OK) {
        LOG_AT(LOG_STEP, "SQL to Json conversion is success");
    }
    return rc;
}

} // namespace cimgate
