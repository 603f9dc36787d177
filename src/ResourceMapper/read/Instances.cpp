// Single instances from the data cache, and the shaping of what a read produced into the answer.
#include "Log.h"
#include "ResourceMapper.h"
#include "ResourceMapper/mapping/Entry.h"
#include "SQLInterface/DataCache.h"
#include "SQLInterface/RowToJson.h"
#include "SQLInterface/Statement.h"

#include <algorithm>
#include <array>
#include <utility>

using namespace cimgate; // NOLINT(google-build-using-namespace): most of what stands here

namespace {

constexpr const char* kNoSelect = "The request does not have select filter";

// What a collection's answer shows of its own.
constexpr std::array<std::string_view, 3> kCollectionMembers = {"Members", "Members@odata.count",
                                                                "Members@odata.nextLink"};

// The name under which a property is shown; property is its entry, null when it has none.
std::string shownName(const Json::Value* property, std::string_view name)
{
    const Json::Value* alias =
        property == nullptr ? nullptr : findMember(*property, mapping::kAlias);
    std::string text = alias == nullptr ? std::string() : textOf(*alias);
    return text.empty() ? std::string(name) : text;
}

} // namespace

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
    const bool isWhole = selectList.empty();
    if (rowsToJson(statement.get(), out, mResourceObj, mCimClass,
                   isWhole ? RowShape::Answer : RowShape::Properties) != 0) {
        LOG_AT(LOG_ERROR, "SQL query on get instance returned 0 rows");
        return failWith(RM_INVALID_URI, mOemResourceName);
    }
    if (isWhole) {
        completeAnswer(out);
        return RM_OK;
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
    if (rowsToJson(statement.get(), out, mResourceObj, mCimClass, RowShape::Properties) != 0) {
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
    const std::string unique = textOf(mResourceObj, mapping::kUniqueSelector);
    Json::Value output(Json::objectValue);
    if (const auto rc = takeSelected(data, selectList, forActions, unique, output); rc != RM_OK) {
        return rc;
    }
    // The key is needed to address the instance, whether or not it is shown.
    if (!hasMember(output, unique) && hasMember(data, unique)) {
        output[unique] = memberOf(data, unique);
    }
    if (const auto rc = annotate(output, selectList, true); rc != RM_OK) {
        return rc;
    }
    removeUnmappedKey(output, unique);
    data.swap(output);
    return RM_OK;
}

// What shapeResult() does for a row that was read in the shape of an answer: without a $select
// nothing in it can be refused.
void ResourceMapper::completeAnswer(Json::Value& answer)
{
    LOG_SCOPE_AS("ApplyFilterToGetInstance");
    const std::string unique = textOf(mResourceObj, mapping::kUniqueSelector);
    (void)classProperties(); // logs, as every shaping of an answer does
    LOG_AT(LOG_STEP, "%s", kNoSelect);
    (void)annotate(answer, Json::Value::nullSingleton(), true);
    removeUnmappedKey(answer, unique);
}

// Puts into output, under their aliases, the members of data that selectList leaves. Where it may
// still be refused later on they are copied, so that data stays whole.
_ResourceMapperError ResourceMapper::takeSelected(Json::Value& data, const Json::Value& selectList,
                                                  bool forActions, const std::string& unique,
                                                  Json::Value& output)
{
    Json::Value names(Json::arrayValue);
    if (const auto rc = narrowNames(selectList, forActions, names); rc != RM_OK) {
        return rc;
    }
    const Json::Value& properties = mapping::propertiesOf(mResourceObj, mCimClass);
    for (const Json::Value& nameValue : names) {
        const std::string name = nameValue.asString();
        if (!hasMember(data, name)) {
            continue;
        }
        Json::Value& shown = output[shownName(findMember(properties, name), name)];
        if (selectList.empty() && name != unique) {
            shown = std::move(data[name]);
        } else {
            shown = memberOf(data, name);
        }
    }
    return RM_OK;
}

// The names that selectList leaves of those that may be shown.
_ResourceMapperError ResourceMapper::narrowNames(const Json::Value& selectList, bool forActions,
                                                 Json::Value& names)
{
    if (forActions) {
        names.append(mapping::kActions);
    } else if (mIsCollection) {
        for (const std::string_view name : kCollectionMembers) {
            names.append(std::string(name));
        }
        mShowLinks = false;
    } else {
        GetCimClassProperties(names);
    }
    return narrowBySelect(selectList, kNoSelect, names);
}

_ResourceMapperError ResourceMapper::narrowBySelect(const Json::Value& selectList,
                                                    const char* noSelectText, Json::Value& names)
{
    if (selectList.empty()) {
        LOG_AT(LOG_STEP, "%s", noSelectText);
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
void ResourceMapper::removeUnmappedKey(Json::Value& object, const std::string& unique) const
{
    if (!hasMember(mapping::propertiesOf(mResourceObj, mCimClass), unique)) {
        object.removeMember(unique);
    }
}
