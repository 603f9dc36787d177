// Collections from the data cache, a page at a time.
#include "Log.h"
#include "ResourceMapper.h"
#include "ResourceMapper/mapping/Entry.h"
#include "ResourceMapper/read/Paging.h"
#include "SQLInterface/DataCache.h"
#include "SQLInterface/RowToJson.h"
#include "SQLInterface/Statement.h"

#include <algorithm>
#include <cstdint>

using namespace cimgate; // NOLINT(google-build-using-namespace): most of what stands here

_ResourceMapperError ResourceMapper::refuseRange(unsigned long value, const char* option,
                                                 const std::string& range)
{
    mErrorArgs["p1"] = std::to_string(value);
    mErrorArgs["p2"] = option;
    mErrorArgs["p3"] = range;
    return RM_QUERY_PARAM_OUT_OF_RANGE;
}

_ResourceMapperError ResourceMapper::readPaging(Paging& paging)
{
    paging.top = paging.count;
    if (!mSupportsTopSkip) {
        return RM_OK;
    }
    const unsigned long count = paging.count;
    unsigned long top = 0;
    if (isQueryOptionPresent(OL_OPTION_TOP, top)) {
        if (top == 0 || top > count) {
            LOG_AT(LOG_ERROR, "Invalid Top(%lu), max enum count(%lu)", top, count);
            return refuseRange(top, "$top", "(1-" + std::to_string(count) + ")");
        }
        LOG_AT(LOG_FACT, "Top(%lu)", top);
        paging.top = static_cast<uint32_t>(top);
        paging.topGiven = true;
    }
    unsigned long skip = 0;
    if (isQueryOptionPresent(OL_OPTION_SKIP, skip)) {
        if (skip >= count) {
            LOG_AT(LOG_ERROR, "Skip(%lu) exceeds enum count(%lu)", skip, count);
            // Unsigned on purpose: an empty collection reports the whole range of 32 bits.
            return refuseRange(skip, "$skip", "(0-" + std::to_string(paging.count - 1) + ")");
        }
        LOG_AT(LOG_FACT, "Skip(%lu)", skip);
        paging.skip = static_cast<uint32_t>(skip);
    }
    return RM_OK;
}

void ResourceMapper::setNextLink(Json::Value& out, const Paging& paging, bool fromCache) const
{
    std::string link = mScope.GetRequestURL();
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
    out["Members@odata.nextLink"] = link;
}

// Reads the page's rows into out["Members"], each under its properties' aliases.
_ResourceMapperError ResourceMapper::readMembers(Json::Value& out, const Paging& paging)
{
    const uint32_t limit = mSupportsNextLink ? std::min(paging.top, kPageMembers) : paging.top;
    const std::string query = GetSelectQuery(mCimClass, limit, paging.skip, "", "");
    if (query.empty()) {
        LOG_AT(LOG_ERROR, "Properties are not present in RMF");
        return failWith(RM_INTERNAL_ERROR, mOemResourceName);
    }
    if (paging.count == 0) {
        LOG_AT(LOG_STEP, "Table is having no entries for collection resource");
        return RM_OK;
    }
    Statement statement;
    if (mSqlInterface.GetPrepareStatement(query, statement.slot(), "") != 0) {
        LOG_AT(LOG_ERROR, "SQL Prepare statement failed for %s", query.c_str());
        return failWith(RM_INTERNAL_ERROR, mOemResourceName);
    }
    LOG_AT(LOG_STEP, "Execute query %s is success", query.c_str());
    if (rowsToJson(statement.get(), out, mResourceObj, mCimClass, RowShape::Members) != 0) {
        LOG_AT(LOG_ERROR, "SQL to Json conversion is failed");
        return failWith(RM_INTERNAL_ERROR, mOemResourceName);
    }
    return RM_OK;
}

_ResourceMapperError ResourceMapper::annotateMembers(Json::Value& out)
{
    if (!hasMember(out, kMembers)) {
        return RM_OK;
    }
    const std::string unique = textOf(mResourceObj, mapping::kUniqueSelector);
    const bool isKeyMapped = hasMember(mapping::propertiesOf(mResourceObj, mCimClass), unique);
    for (Json::Value& member : out[kMembers]) {
        if (const auto rc = annotate(member, Json::Value::nullSingleton(), false); rc != RM_OK) {
            return rc;
        }
        if (!isKeyMapped) {
            member.removeMember(unique);
        }
    }
    return RM_OK;
}

_ResourceMapperError ResourceMapper::GetCollection(Json::Value& out, bool /*fromCache*/)
{
    LOG_SCOPE();
    RM_ASSERT(mIsCollection == true);
    Paging paging;
    if (mSqlInterface.GetInstanceCount(Table_Prefix + mCimClass, &paging.count) != 0) {
        LOG_AT(LOG_ERROR, "Datbase table is not found");
        return RM_INTERNAL_ERROR;
    }
    LOG_AT(LOG_STEP, "Number of Instances = %d", static_cast<int>(paging.count));
    Json::Value selectList;
    if (const auto rc = selectedNames(selectList); rc != RM_OK) {
        return rc;
    }
    if (const auto rc = readPaging(paging); rc != RM_OK) {
        return rc;
    }
    if (const auto rc = readMembers(out, paging); rc != RM_OK) {
        return rc;
    }
    // "Not below" on purpose: a page that ends with the last member still links on, and clients
    // that follow the link learn it from the answer.
    if (mSupportsNextLink && paging.top >= kPageMembers &&
        paging.count >= paging.skip + kPageMembers) {
        setNextLink(out, paging, true);
    }
    if (const auto rc = annotateMembers(out); rc != RM_OK) {
        return rc;
    }
    if (paging.count == 0) {
        out[kMembers] = Json::Value(Json::arrayValue);
    }
    out[kMembersCount] = paging.count;
    const _ResourceMapperError rc = shapeResult(out, selectList, false);
    if (rc == RM_OK) {
        LOG_AT(LOG_STEP, "SQL to Json conversion is success");
    }
    return rc;
}
