// Single instances from the data cache, and the shaping of what a read produced into the answer.
#include "Log.h"
#include "MappingEntry.h"
#include "ResourceMapper.h"
#include "SQLInterface/DataCache.h"
#include "SQLInterface/RowToJson.h"
#include "SQLInterface/Statement.h"

bool ResourceMapper::IsCached()
{
    LOG_SCOPE();
    if (!flagOf(mapping::classOf(mResourceObj, mCimClass), mapping::kIsCached)) {
        return false;
    }
    // SQLite takes a double-quoted word that names no column as a string.
    const std::string tail = meta_table + " where ClassName = \"" + mCimClass + "\"" + noCase;
    unsigned int count = 0;
    if (mSqlInterface.GetInstanceCount(tail, &count) != 0 || count == 0) {
        LOG_AT(LOG_STEP, "Entry not present in meta table");
        if (!mIsZMQCall) {
            mScope.SetHeader("Retry-After", "5");
        }
        return false;
    }
    LOG_AT(LOG_STEP, "Entry present in meta table");
    return true;
}

// Makes the last URI segment the value of the resource's key property.
void ResourceMapper::addUniqueSelector()
{
    if (mIsZMQCall) {
        return;
    }
    const std::string unique = textOf(mResourceObj, mapping::kUniqueSelector);
    if (!unique.empty()) {
        mSelectorSet[unique] = mInstanceId;
    }
}

_ResourceMapperError ResourceMapper::GetInstance(Json::Value& out, bool /*fromCache*/)
{
    LOG_SCOPE();
    RM_ASSERT(mIsCollection == false);
    addUniqueSelector();
    if (mInstanceId.empty()) {
        LOG_AT(LOG_ERROR, "Empty key passed for get request");
        return failWith(RM_INVALID_URI, mInstanceId);
    }
    const std::string query = GetSelectQuery(mCimClass, 0, 0, mInstanceId, "");
    if (query.empty()) {
        LOG_AT(LOG_ERROR, "Properties are not present in RMF");
        return failWith(RM_INTERNAL_ERROR, mOemResourceName);
    }
    Statement statement;
    if (mSqlInterface.GetPrepareStatement(query, statement.slot(), mInstanceId) != 0) {
        LOG_AT(LOG_ERROR, "SQL Prepare statement failed for %s", query.c_str());
        return failWith(RM_INTERNAL_ERROR, mOemResourceName);
    }
    LOG_AT(LOG_STEP, "Execute query %s is success", query.c_str());
    Json::Value selectList;
    if (const auto rc = selectedNames(selectList); rc != RM_OK) {
        return rc;
    }
    if (rowsToJson(statement.get(), out, mResourceObj, mCimClass, false) != 0) {
        LOG_AT(LOG_ERROR, "SQL query on get instance returned 0 rows");
        return failWith(RM_INVALID_URI, mOemResourceName);
    }
    return shapeResult(out, selectList, false);
}

void ResourceMapper::QueryInstances(Json::Value& out, const std::string& clause, bool /*fromCache*/)
{
    LOG_SCOPE();
    RM_ASSERT_TEXT(mIsZMQCall, "mIsZMQCall== true");
    const std::string query = GetSelectQuery(mCimClass, 0, 0, "", clause);
    if (query.empty()) {
        LOG_AT(LOG_ERROR, "Properties are not present in RMF");
        mErrorArgs["p1"] = mOemResourceName;
        return;
    }
    LOG_AT(LOG_STEP, "Formed query %s", query.c_str());
    Statement statement;
    if (mSqlInterface.GetPrepareStatement(query, statement.slot(), "") != 0) {
        LOG_AT(LOG_ERROR, "SQL Prepare statement failed for %s", query.c_str());
        return;
    }
    LOG_AT(LOG_STEP, "Execute query %s is success", query.c_str());
    if (rowsToJson(statement.get(), out, mResourceObj, mCimClass, false) != 0) {
        LOG_AT(LOG_ERROR, "SQL to Json conversion is failed");
        return;
    }
    (void)shapeResult(out, Json::Value::nullSingleton(), false);
}

_ResourceMapperError
ResourceMapper::ApplyFilterToGetInstance(Json::Value& data, Json::Value selectList, bool forActions)
{
    return shapeResult(data, selectList, forActions);
}

_ResourceMapperError ResourceMapper::shapeResult(Json::Value& data, const Json::Value& selectList,
                                                 bool forActions)
{
    LOG_SCOPE_AS("ApplyFilterToGetInstance");
    Json::Value names(Json::arrayValue);
    if (const auto rc = narrowNames(selectList, forActions, names); rc != RM_OK) {
        return rc;
    }
    const std::string unique = textOf(mResourceObj, mapping::kUniqueSelector);
    const Json::Value& properties = mapping::propertiesOf(mResourceObj, mCimClass);
    const Json::Value& source = data;
    Json::Value output(Json::objectValue);
    for (const Json::Value& nameValue : names) {
        const std::string name = nameValue.asString();
        if (!hasMember(source, name)) {
            continue;
        }
        const std::string alias = textOf(memberOf(properties, name), mapping::kAlias);
        output[alias.empty() ? name : alias] = memberOf(source, name);
    }
    // The key is needed to address the instance, whether or not it is shown.
    if (!hasMember(output, unique) && hasMember(source, unique)) {
        output[unique] = memberOf(source, unique);
    }
    if (const auto rc = annotate(output, selectList, true); rc != RM_OK) {
        return rc;
    }
    removeUnmappedKey(output);
    data.swap(output);
    return RM_OK;
}

// The names that selectList leaves of those that may be shown.
_ResourceMapperError ResourceMapper::narrowNames(const Json::Value& selectList, bool forActions,
                                                 Json::Value& names)
{
    if (forActions) {
        names.append(mapping::kActions);
    } else if (mIsCollection) {
        names.append("Members");
        names.append("Members@odata.count");
        names.append("Members@odata.nextLink");
        mShowLinks = false;
    } else {
        GetCimClassProperties(names);
    }
    if (selectList.empty()) {
        LOG_AT(LOG_STEP, "The request does not have select filter");
        return RM_OK;
    }
    if (selectList.size() == 1 && textOf(selectList[0U]) == "*") {
        LOG_AT(LOG_STEP, "Query to select all parameters");
        return RM_OK;
    }
    Json::Value matched(Json::arrayValue);
    bool selectAll = false;
    if (const auto rc = matchSelect(names, selectList, matched, selectAll); rc != RM_OK) {
        return rc;
    }
    if (selectAll) {
        LOG_AT(LOG_STEP, "Query to select all parameters");
        mSelectedLinks = Json::Value();
    } else {
        names.swap(matched);
    }
    return RM_OK;
}

// The key column is read to find and address the instance; it is shown only where it is mapped.
void ResourceMapper::removeUnmappedKey(Json::Value& object) const
{
    const std::string unique = textOf(mResourceObj, mapping::kUniqueSelector);
    if (!hasMember(mapping::propertiesOf(mResourceObj, mCimClass), unique)) {
        object.removeMember(unique);
    }
}
