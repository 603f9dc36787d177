#include "ResourceMapper/convert/Annotations.h"

#include "Log.h"
#include "ResourceMapper/mapping/Entry.h"
#include "ResourceMapper/mapping/Resource.h"
#include "SQLInterface/AssociationLinks.h"
#include "UriText.h"

#include <algorithm>

namespace cimgate {

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

} // namespace

std::string addId(const ResourceMapper& mapper, Json::Value& obj, bool ofMember)
{
    const std::string unique = textOf(entryOf(mapper, ofMember), mapping::kUniqueSelector);
    std::string key = textOf(obj, unique);
    LOG_AT(LOG_FACT, " SelectorSet %s", key.c_str());

    std::string id = metadata(mapper, mapping::kOdataId, ofMember);
    if (!unique.empty()) {
        id += "/" + key;
    }
    encodeSpecialChars(id);
    writableObject(obj)[mapping::kOdataId] = id;
    return key;
}

void addCommonProperties(const ResourceMapper& mapper, Json::Value& obj,
                         const Json::Value& selectList, const std::string& key, bool ofMember)
{
    if (isSelected(selectList, "Description")) {
        obj["Description"] = metadata(mapper, "Description", ofMember);
    }
    if (isSelected(selectList, "Id")) {
        obj["Id"] = key.empty() ? mapper.mOemResourceName : key;
    }
}

void addName(const ResourceMapper& mapper, Json::Value& obj, const Json::Value& selectList,
             bool ofMember)
{
    // A mapped property of that name goes before the name that the mapping gives.
    if (isSelected(selectList, "Name") && !hasMember(obj, "Name")) {
        obj["Name"] = metadata(mapper, "Name", ofMember);
    }
}

void addLinks(const ResourceMapper& mapper, Json::Value& obj, const std::string& key)
{
    LOG_SCOPE_AS("SetLinks");
    if (!hasMember(mapper.mResourceObj, mapping::kLinks)) {
        return;
    }
    Json::Value links;
    resolveLinks(mapper.mResourceObj, links, key);
    if (mapper.mSelectedLinks.empty()) {
        writableObject(obj)[mapping::kLinks] = std::move(links);
        return;
    }
    Json::Value selected(Json::objectValue);
    for (const Json::Value& name : mapper.mSelectedLinks) {
        const std::string link = textOf(name);
        LOG_AT(LOG_STEP, "Links data for select operation %s", link.c_str());
        selected[link] = memberOf(links, link);
    }
    writableObject(obj)[mapping::kLinks] = std::move(selected);
}

void addActions(const ResourceMapper& mapper, Json::Value& obj)
{
    LOG_SCOPE_AS("AddActions");
    const Json::Value& actions = mapping::actionsOf(mapper.mResourceObj, mapper.mCimClass);
    if (!actions.empty()) {
        writableObject(obj)[mapping::kActions] = actions;
    }
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

std::optional<std::string> filterActions(Json::Value& resource, const Json::Value& selectList)
{
    LOG_SCOPE_AS("applyFilterOnAction");
    const Json::Value& actions = memberOf(resource, mapping::kActions);
    Json::Value filtered;
    for (const Json::Value& selected : selectList) {
        std::string item = textOf(selected);
        if (item.find(mapping::kActions) == std::string::npos) {
            continue;
        }
        if (!pickAction(actions, item, filtered)) {
            LOG_AT(LOG_ERROR, "Invalid select property");
            return item;
        }
    }
    if (!filtered.isNull()) {
        writableObject(resource)[mapping::kActions] = filtered;
    }
    return std::nullopt;
}

void encodeSpecialChars(std::string& uri)
{
    LOG_SCOPE_AS("EncodeSpecialChars");
    if (uri.empty()) {
        LOG_AT(LOG_STEP, "Empty URI");
        return;
    }
    for (size_t found = escapeHashes(uri); found > 0; --found) {
        LOG_AT(LOG_STEP, "Found Encodable Char : %s", "#");
    }
    LOG_AT(LOG_STEP, "Encoded Uri Segment: %s", uri.c_str());
}

} // namespace cimgate
