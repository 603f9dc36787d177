// The OData annotations, "Links" and "Actions" that every object of an answer carries.
#include "Log.h"
#include "ResourceMapper.h"
#include "ResourceMapper/mapping/Entry.h"
#include "SQLInterface/AssociationLinks.h"

#include <algorithm>
#include <array>

using namespace cimgate; // NOLINT(google-build-using-namespace): most of what stands here

namespace {

bool listHas(const Json::Value& list, std::string_view name)
{
    for (const Json::Value& item : list) {
        if (textOf(item) == name) {
            return true;
        }
    }
    return false;
}

// Whether a $select (empty: none was given) asks for a common property.
bool isSelected(const Json::Value& selectList, std::string_view name)
{
    return selectList.empty() || listHas(selectList, name) || listHas(selectList, "*");
}

bool selectsActions(const Json::Value& selectList)
{
    for (const Json::Value& item : selectList) {
        if (textOf(item).find(mapping::kActions) != std::string::npos) {
            return !listHas(selectList, "*");
        }
    }
    return false;
}

// The segments of "Actions/<action>/<member>"; empty when one of them is, or there are more.
std::vector<std::string> splitActionSelect(const std::string& item)
{
    constexpr size_t kMaxDepth = 3;
    std::vector<std::string> segments;
    size_t begin = 0;
    while (begin <= item.size()) {
        const size_t end = std::min(item.find('/', begin), item.size());
        if (end == begin || segments.size() == kMaxDepth) {
            return {};
        }
        segments.push_back(item.substr(begin, end - begin));
        begin = end + 1;
    }
    return segments;
}

// Adds to filtered what item picks of actions; false when it names something they lack.
bool pickAction(const Json::Value& actions, const std::string& item, Json::Value& filtered)
{
    const std::vector<std::string> segments = splitActionSelect(item);
    if (segments.empty()) {
        return false;
    }
    if (segments.size() == 1) {
        filtered = actions;
        return true;
    }
    const std::string& action = segments[1];
    if (!hasMember(actions, action)) {
        return false;
    }
    const Json::Value& whole = memberOf(actions, action);
    if (segments.size() == 2) {
        filtered[action] = whole;
        return true;
    }
    const std::string& property = segments[2];
    if (!hasMember(whole, property)) {
        return false;
    }
    if (!hasMember(memberOf(filtered, action), property)) {
        filtered[action][property] = memberOf(whole, property);
    }
    return true;
}

struct Escape
{
    const char* character;
    const char* text;
};

constexpr std::array<Escape, 1> kEscapes = {{{"#", "%23"}}};

} // namespace

std::string ResourceMapper::metadata(const char* key, bool fromResourceObj) const
{
    std::string value;
    GetOdataMedata(key, value, fromResourceObj);
    return value;
}

_ResourceMapperError ResourceMapper::AddOdataMetaData(Json::Value& obj, bool /*isRequested*/,
                                                      Json::Value selectList, bool isTarget)
{
    return annotate(obj, selectList, isTarget);
}

_ResourceMapperError ResourceMapper::annotate(Json::Value& obj, const Json::Value& selectList,
                                              bool isTarget)
{
    LOG_SCOPE_AS("AddOdataMetaData");
    // A collection itself is described by its own entry, its members by theirs.
    const bool fromResourceObj = !(isTarget && mIsCollection);
    const std::string key = addId(obj, fromResourceObj);
    if (!mIsZMQCall) {
        addCommonProperties(obj, selectList, key, fromResourceObj);
        addName(obj, selectList, fromResourceObj);
    }
    if (mShowLinks) {
        SetLinks(obj, key);
    }
    obj["@odata.type"] = metadata("@odata.type", fromResourceObj);
    obj["@odata.context"] = metadata("@odata.context", fromResourceObj);
    if (isTarget && !mIsZMQCall) {
        SetAllowedHeader();
        SetLinkHeader();
    }
    if (mIsCollection) {
        return RM_OK;
    }
    AddActions(obj);
    if (selectsActions(selectList)) {
        return filterActions(obj, selectList);
    }
    return RM_OK;
}

// Adds "@odata.id" and returns the key that it ends with.
std::string ResourceMapper::addId(Json::Value& obj, bool fromResourceObj) const
{
    const Json::Value& entry = fromResourceObj ? mResourceObj : memberOf(RmfObj, mOemResourceName);
    const std::string unique = textOf(entry, mapping::kUniqueSelector);
    std::string key = textOf(obj, unique);
    LOG_AT(LOG_FACT, " SelectorSet %s", key.c_str());

    std::string id = metadata(mapping::kOdataId, fromResourceObj);
    if (!unique.empty()) {
        id += "/" + key;
    }
    EncodeSpecialChars(id);
    obj[mapping::kOdataId] = id;
    return key;
}

void ResourceMapper::addCommonProperties(Json::Value& obj, const Json::Value& selectList,
                                         const std::string& key, bool fromResourceObj) const
{
    if (isSelected(selectList, "Description")) {
        obj["Description"] = metadata("Description", fromResourceObj);
    }
    if (isSelected(selectList, "Id")) {
        obj["Id"] = key.empty() ? mOemResourceName : key;
    }
}

void ResourceMapper::addName(Json::Value& obj, const Json::Value& selectList,
                             bool fromResourceObj) const
{
    // A mapped property of that name is the better one.
    if (isSelected(selectList, "Name") && !hasMember(obj, "Name")) {
        obj["Name"] = metadata("Name", fromResourceObj);
    }
}

_ResourceMapperError ResourceMapper::AddOdataMetaData(Json::Value& collection)
{
    LOG_SCOPE();
    RM_ASSERT(mIsCollection == true);
    for (const char* key :
         {mapping::kOdataId, "@odata.context", "@odata.type", "Description", "Name"}) {
        collection[key] = metadata(key, false);
    }
    SetAllowedHeader();
    SetLinkHeader();
    return RM_OK;
}

_ResourceMapperError ResourceMapper::AddOdataMetaData(CMPIInstance* /*instance*/, Json::Value& obj,
                                                      Json::Value& selectList)
{
    return annotateLive(obj, selectList);
}

_ResourceMapperError ResourceMapper::annotateLive(Json::Value& obj, const Json::Value& selectList)
{
    LOG_SCOPE_AS("AddOdataMetaData");
    const std::string key = addId(obj, true);
    if (!mIsZMQCall) {
        addCommonProperties(obj, selectList, key, true);
        addName(obj, selectList, false); // members of a collection are named like it
    }
    if (mShowLinks) {
        SetLinks(obj, key);
    }
    obj["@odata.type"] = metadata("@odata.type", true);
    if (mIsCollection) {
        return RM_OK;
    }
    obj["@odata.context"] = metadata("@odata.context", true);
    if (!mIsZMQCall) {
        SetAllowedHeader();
        SetLinkHeader();
    }
    AddActions(obj);
    return selectsActions(selectList) ? filterActions(obj, selectList) : RM_OK;
}

void ResourceMapper::EncodeSpecialChars(std::string& uri) const
{
    LOG_SCOPE();
    if (uri.empty()) {
        LOG_AT(LOG_STEP, "Empty URI");
        return;
    }
    for (const Escape& escape : kEscapes) {
        for (size_t at = uri.find(escape.character); at != std::string::npos;
             at = uri.find(escape.character)) {
            LOG_AT(LOG_STEP, "Found Encodable Char : %s", escape.character);
            uri.replace(at, 1, escape.text);
        }
    }
    LOG_AT(LOG_STEP, "Encoded Uri Segment: %s", uri.c_str());
}

void ResourceMapper::SetLinks(Json::Value& obj, std::string key)
{
    LOG_SCOPE();
    if (!hasMember(mResourceObj, mapping::kLinks)) {
        return;
    }
    Json::Value links;
    resolveLinks(mResourceObj, links, key);
    if (mSelectedLinks.empty()) {
        obj[mapping::kLinks] = std::move(links);
        return;
    }
    Json::Value selected(Json::objectValue);
    for (const Json::Value& name : mSelectedLinks) {
        const std::string link = textOf(name);
        LOG_AT(LOG_STEP, "Links data for select operation %s", link.c_str());
        selected[link] = memberOf(links, link);
    }
    obj[mapping::kLinks] = std::move(selected);
}

void ResourceMapper::AddActions(Json::Value& obj) const
{
    LOG_SCOPE();
    const Json::Value& actions = mapping::actionsOf(mResourceObj, mCimClass);
    if (!actions.empty()) {
        obj[mapping::kActions] = actions;
    }
}

unsigned int ResourceMapper::applyFilterOnAction(Json::Value& resource, Json::Value& selectList)
{
    return filterActions(resource, selectList);
}

_ResourceMapperError ResourceMapper::filterActions(Json::Value& resource,
                                                   const Json::Value& selectList)
{
    LOG_SCOPE_AS("applyFilterOnAction");
    const Json::Value& actions = memberOf(resource, mapping::kActions);
    Json::Value filtered;
    for (const Json::Value& selected : selectList) {
        const std::string item = textOf(selected);
        if (item.find(mapping::kActions) == std::string::npos) {
            continue;
        }
        if (!pickAction(actions, item, filtered)) {
            LOG_AT(LOG_ERROR, "Invalid select property");
            return failWith(RM_PROPERTY_UNKNOWN, item);
        }
    }
    if (!filtered.isNull()) {
        resource[mapping::kActions] = filtered;
    }
    return RM_OK;
}
