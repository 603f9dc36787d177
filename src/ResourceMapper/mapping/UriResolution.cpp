#include "ResourceMapper/mapping/UriResolution.h"

#include "ListText.h"
#include "Log.h"
#include "MessageArguments.h"
#include "ResourceMapper/mapping/Entry.h"
#include "ResourceMapper/mapping/MappingFile.h"
#include "UriText.h"

namespace cimgate {

namespace {

std::string segmentOf(const odata::URI& uri, unsigned int index)
{
    const char* segment = uri.GetSegment(index);
    return segment == nullptr ? std::string() : std::string(segment);
}

} // namespace

const char* registeredName(const odata::URI& uri, int method)
{
    // An action's target is the resource's URI, then "Actions" and the action's name.
    const unsigned int below = (method & RM_METHOD_GET) != 0 ? 1 : 3;
    return uri.GetSegment(uri.GetSegmentCount() - below);
}

_ResourceMapperError loadInstanceEntry(ResourceMapper& mapper, const char** pEntityName)
{
    const unsigned int segCount = mapper.mURI.GetSegmentCount();
    *pEntityName = mapper.mURI.GetSegment(segCount - 2);
    mapper.mInstanceId = segmentOf(mapper.mURI, segCount - 1);
    return checkResource(mapper, segmentOf(mapper.mURI, segCount - 2), false);
}

_ResourceMapperError resolveInstance(ResourceMapper& mapper, const char** pEntityName,
                                     const std::string& uri)
{
    if (const auto rc = loadInstanceEntry(mapper, pEntityName); rc != RM_OK) {
        return rc;
    }
    if (mapper.mIsCollection || textOf(mapper.mResourceObj, mapping::kUniqueSelector).empty()) {
        return refuseUri(uri);
    }
    return RM_OK;
}

_ResourceMapperError refuseUri(const std::string& uri)
{
    LOG_AT(LOG_FACT, "Invalid URI %s", uri.c_str());
    return RM_INVALID_URI;
}

_ResourceMapperError checkActionTarget(ResourceMapper& mapper, const std::string& base,
                                       unsigned int segCount)
{
    std::string expected;
    findTarget(mapper, mapping::kTarget, expected, segCount);
    if (expected.empty()) {
        return failWith(mapper.mErrorArgs, RM_INVALID_URI, mapper.mCimMethodName);
    }
    escapeSpaces(expected);
    removeLastSegment(expected);
    if (base != expected) {
        LOG_AT(LOG_ERROR, "Invalid URI");
        LOG_AT(LOG_ERROR, "Expected: %s", expected.c_str());
        LOG_AT(LOG_ERROR, "Base URI: %s", base.c_str());
        return failWith(mapper.mErrorArgs, RM_INVALID_URI, mapper.mOemResourceName);
    }
    return RM_OK;
}

void readFixedSelectors(ResourceMapper& mapper)
{
    const std::string selectors = textOf(mapper.mResourceObj, mapping::kSelectors);
    if (!selectors.empty()) {
        LOG_AT(LOG_FACT, "Keys %s", selectors.c_str());
        parseSelectors(mapper, selectors);
    }
}

void findTarget(ResourceMapper& mapper, const std::string& key, std::string& target,
                unsigned int segCount)
{
    LOG_SCOPE_AS("GetTarget");
    const std::string action = segmentOf(mapper.mURI, segCount - 1);
    const std::string actionKey = "#" + action;
    LOG_AT(LOG_FACT, "Target Key  %s", actionKey.c_str());
    const Json::Value& actions = mapping::actionsOf(mapper.mResourceObj, mapper.mCimClass);
    const Json::Value& found = memberOf(memberOf(actions, actionKey), key);
    if (!found.empty()) {
        target = textOf(found);
    }
    const size_t dot = action.find('.');
    mapper.mCimMethodName = dot == std::string::npos ? action : action.substr(dot + 1);
    LOG_AT(LOG_FACT, " GetTarget:Method name %s", mapper.mCimMethodName.c_str());
}

void parseSelectors(ResourceMapper& mapper, const std::string& selectors)
{
    LOG_SCOPE();
    RM_ASSERT_TEXT(!selectors.empty(), "!s.empty()");
    if (mapper.mIsZMQCall) {
        LOG_AT(LOG_STEP, "Parsing ID = %s", selectors.c_str());
        const Json::Value& keys = memberOf(mapping::classOf(mapper.mResourceObj, mapper.mCimClass),
                                           mapping::kKeyProperties);
        RM_ASSERT_TEXT(keys.isArray() && keys.size() == 1,
                       "mResourceObj[MAPPINGS_KEY][mCimClass][KEYPROPERTIES_KEY].size() == 1");
        writableObject(mapper.mSelectorSet)[textOf(keys[0U])] = selectors;
        return;
    }
    for (const std::string_view item : itemsOf(selectors)) {
        const std::optional<Selector> selector = selectorOf(item);
        RM_ASSERT_TEXT(selector.has_value(), "eq_pos != std::string::npos");
        LOG_AT(LOG_STEP, "KeyName(%s) Value(%s)", selector->name.c_str(), selector->value.c_str());
        writableObject(mapper.mSelectorSet)[selector->name] = selector->value;
    }
}

} // namespace cimgate
