#include "ResourceMapper/read/Instances.h"

#include "Log.h"
#include "MessageArguments.h"
#include "ResourceMapper/mapping/Entry.h"
#include "ResourceMapper/mapping/Resource.h"
#include "ResourceMapper/read/Annotations.h"
#include "ResourceMapper/read/QueryOptions.h"
#include "SQLInterface/DataCache.h"
#include "SQLInterface/KeyedStatement.h"
#include "SQLInterface/RowToJson.h"
#include "SQLInterface/Statement.h"

#include <algorithm>
#include <array>
#include <utility>

namespace cimgate {

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

// The names that selectList leaves of those that may be shown.
_ResourceMapperError narrowNames(ResourceMapper& mapper, const Json::Value& selectList,
                                 bool forActions, Json::Value& names)
{
    if (forActions) {
        names.append(mapping::kActions);
    } else if (mapper.mIsCollection) {
        for (const std::string_view name : kCollectionMembers) {
            names.append(std::string(name));
        }
        mapper.mShowLinks = false;
    } else {
        names = propertyNames(mapper);
    }
    return narrowBySelect(mapper, selectList, kNoSelect, names);
}

// Puts into output, under their aliases, the members of data that selectList leaves. Where it may
// still be refused later on they are copied, so that data stays whole.
_ResourceMapperError takeSelected(ResourceMapper& mapper, Json::Value& data,
                                  const Json::Value& selectList, bool forActions,
                                  const std::string& unique, Json::Value& output)
{
    Json::Value names(Json::arrayValue);
    if (const auto rc = narrowNames(mapper, selectList, forActions, names); rc != RM_OK) {
        return rc;
    }
    const Json::Value& properties = mapping::propertiesOf(mapper.mResourceObj, mapper.mCimClass);
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

// The key column is read to find and address the instance; it is shown only where it is mapped.
void removeUnmappedKey(const ResourceMapper& mapper, Json::Value& object, const std::string& unique)
{
    if (!hasMember(mapping::propertiesOf(mapper.mResourceObj, mapper.mCimClass), unique)) {
        object.removeMember(unique);
    }
}

// What shapeResult() does for a row that was read in the shape of an answer: without a $select
// nothing in it can be refused.
void completeAnswer(ResourceMapper& mapper, Json::Value& answer)
{
    LOG_SCOPE_AS("ApplyFilterToGetInstance");
    const std::string unique = textOf(mapper.mResourceObj, mapping::kUniqueSelector);
    (void)classProperties(mapper); // for its log lines, which each answer has
    LOG_AT(LOG_STEP, "%s", kNoSelect);
    (void)annotate(mapper, answer, Json::Value::nullSingleton(), true);
    removeUnmappedKey(mapper, answer, unique);
}

} // namespace

bool isCached(ResourceMapper& mapper)
{
    LOG_SCOPE_AS("IsCached");
    if (!flagOf(mapping::classOf(mapper.mResourceObj, mapper.mCimClass), mapping::kIsCached)) {
        return false;
    }
    // SQLite takes a double-quoted word that names no column as a string.
    const std::string tail =
        meta_table + " where ClassName = \"" + mapper.mCimClass + "\"" + noCase;
    unsigned int count = 0;
    if (mapper.mSqlInterface.GetInstanceCount(tail, &count) != 0 || count == 0) {
        LOG_AT(LOG_STEP, "Entry not present in meta table");
        if (!mapper.mIsZMQCall) {
            mapper.mScope.SetHeader("Retry-After", "5");
        }
        return false;
    }
    LOG_AT(LOG_STEP, "Entry present in meta table");
    return true;
}

void addUniqueSelector(ResourceMapper& mapper)
{
    if (mapper.mIsZMQCall) {
        return;
    }
    const std::string unique = textOf(mapper.mResourceObj, mapping::kUniqueSelector);
    if (!unique.empty()) {
        writableObject(mapper.mSelectorSet)[unique] = mapper.mInstanceId;
    }
}

_ResourceMapperError readCachedInstance(ResourceMapper& mapper, Json::Value& out)
{
    LOG_SCOPE_AS("GetInstance");
    RM_ASSERT_TEXT(!mapper.mIsCollection, "mIsCollection == false");
    addUniqueSelector(mapper);
    if (mapper.mInstanceId.empty()) {
        LOG_AT(LOG_ERROR, "Empty key passed for get request");
        return failWith(mapper.mErrorArgs, RM_INVALID_URI, mapper.mInstanceId);
    }
    const std::string query =
        selectQuery(mapper.mResourceObj, mapper.mCimClass, {.key = mapper.mInstanceId});
    if (query.empty()) {
        LOG_AT(LOG_ERROR, "Properties are not present in RMF");
        return failWith(mapper.mErrorArgs, RM_INTERNAL_ERROR, mapper.mOemResourceName);
    }
    KeyedStatement statement;
    if (statement.prepare(mapper.mSqlInterface, query, mapper.mInstanceId) != 0) {
        LOG_AT(LOG_ERROR, "SQL Prepare statement failed for %s", query.c_str());
        return failWith(mapper.mErrorArgs, RM_INTERNAL_ERROR, mapper.mOemResourceName);
    }
    LOG_AT(LOG_STEP, "Execute query %s is success", query.c_str());
    Json::Value selectList;
    if (const auto rc = selectedNames(mapper, selectList); rc != RM_OK) {
        return rc;
    }
    const bool isWhole = selectList.empty();
    if (rowsToJson(statement.get(), out, mapper.mResourceObj, mapper.mCimClass,
                   isWhole ? RowShape::Answer : RowShape::Properties) != 0) {
        LOG_AT(LOG_ERROR, "SQL query on get instance returned 0 rows");
        return failWith(mapper.mErrorArgs, RM_INVALID_URI, mapper.mOemResourceName);
    }
    if (isWhole) {
        completeAnswer(mapper, out);
        return RM_OK;
    }
    return shapeResult(mapper, out, selectList, false);
}

void queryCachedInstances(ResourceMapper& mapper, Json::Value& out, const std::string& clause)
{
    LOG_SCOPE_AS("QueryInstances");
    RM_ASSERT_TEXT(mapper.mIsZMQCall, "mIsZMQCall== true");
    const std::string query =
        selectQuery(mapper.mResourceObj, mapper.mCimClass, {.condition = clause});
    if (query.empty()) {
        LOG_AT(LOG_ERROR, "Properties are not present in RMF");
        (void)failWith(mapper.mErrorArgs, RM_INTERNAL_ERROR, mapper.mOemResourceName);
        return;
    }
    LOG_AT(LOG_STEP, "Formed query %s", query.c_str());
    Statement statement;
    if (mapper.mSqlInterface.GetPrepareStatement(query, statement.slot(), "") != 0) {
        LOG_AT(LOG_ERROR, "SQL Prepare statement failed for %s", query.c_str());
        return;
    }
    LOG_AT(LOG_STEP, "Execute query %s is success", query.c_str());
    if (rowsToJson(statement.get(), out, mapper.mResourceObj, mapper.mCimClass,
                   RowShape::Properties) != 0) {
        LOG_AT(LOG_ERROR, "SQL to Json conversion is failed");
        return;
    }
    (void)shapeResult(mapper, out, Json::Value::nullSingleton(), false);
}

_ResourceMapperError shapeResult(ResourceMapper& mapper, Json::Value& data,
                                 const Json::Value& selectList, bool forActions)
{
    LOG_SCOPE_AS("ApplyFilterToGetInstance");
    const std::string unique = textOf(mapper.mResourceObj, mapping::kUniqueSelector);
    Json::Value output(Json::objectValue);
    if (const auto rc = takeSelected(mapper, data, selectList, forActions, unique, output);
        rc != RM_OK) {
        return rc;
    }
    // The key is needed to address the instance, whether or not it is shown.
    if (!hasMember(output, unique) && hasMember(data, unique)) {
        output[unique] = memberOf(data, unique);
    }
    if (const auto rc = annotate(mapper, output, selectList, true); rc != RM_OK) {
        return rc;
    }
    removeUnmappedKey(mapper, output, unique);
    data.swap(output);
    return RM_OK;
}

_ResourceMapperError narrowBySelect(ResourceMapper& mapper, const Json::Value& selectList,
                                    const char* noSelectText, Json::Value& names)
{
    if (selectList.empty()) {
        LOG_AT(LOG_STEP, "%s", noSelectText);
        return RM_OK;
    }
    if (selectList.size() == 1 && textOf(*selectList.begin()) == "*") {
        LOG_AT(LOG_STEP, "Query to select all parameters");
        return RM_OK;
    }
    Json::Value matched(Json::arrayValue);
    bool selectAll = false;
    if (const auto rc = matchSelect(mapper, names, selectList, matched, selectAll); rc != RM_OK) {
        return rc;
    }
    if (selectAll) {
        LOG_AT(LOG_STEP, "Query to select all parameters");
        mapper.mSelectedLinks = Json::Value();
    } else {
        names.swap(matched);
    }
    return RM_OK;
}

} // namespace cimgate
