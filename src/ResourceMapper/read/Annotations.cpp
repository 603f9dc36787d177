#include "ResourceMapper/read/Annotations.h"

#include "Log.h"
#include "MessageArguments.h"
#include "ResourceMapper/answer/Response.h"
#include "ResourceMapper/convert/Annotations.h"
#include "ResourceMapper/mapping/Entry.h"
#include "ResourceMapper/mapping/Resource.h"

namespace cimgate {

_ResourceMapperError annotate(ResourceMapper& mapper, Json::Value& obj,
                              const Json::Value& selectList, bool isTarget)
{
    LOG_SCOPE_AS("AddOdataMetaData");
    // A collection itself is described by its own entry, its members by theirs.
    const bool ofMember = !(isTarget && mapper.mIsCollection);
    const std::string key = addId(mapper, obj, ofMember);
    if (!mapper.mIsZMQCall) {
        addCommonProperties(mapper, obj, selectList, key, ofMember);
        addName(mapper, obj, selectList, ofMember);
    }
    if (mapper.mShowLinks) {
        addLinks(mapper, obj, key);
    }
    obj["@odata.type"] = metadata(mapper, "@odata.type", ofMember);
    obj["@odata.context"] = metadata(mapper, "@odata.context", ofMember);
    if (isTarget && !mapper.mIsZMQCall) {
        setAllowedHeader(mapper);
        setLinkHeader(mapper);
    }
    if (mapper.mIsCollection) {
        return RM_OK;
    }
    addActions(mapper, obj);
    return selectsActions(selectList) ? narrowActions(mapper, obj, selectList) : RM_OK;
}

_ResourceMapperError annotateLive(ResourceMapper& mapper, Json::Value& obj,
                                  const Json::Value& selectList)
{
    LOG_SCOPE_AS("AddOdataMetaData");
    const std::string key = addId(mapper, obj, true);
    if (!mapper.mIsZMQCall) {
        addCommonProperties(mapper, obj, selectList, key, true);
        addName(mapper, obj, selectList, false); // members of a collection are named like it
    }
    if (mapper.mShowLinks) {
        addLinks(mapper, obj, key);
    }
    obj["@odata.type"] = metadata(mapper, "@odata.type", true);
    if (mapper.mIsCollection) {
        return RM_OK;
    }
    obj["@odata.context"] = metadata(mapper, "@odata.context", true);
    if (!mapper.mIsZMQCall) {
        setAllowedHeader(mapper);
        setLinkHeader(mapper);
    }
    addActions(mapper, obj);
    return selectsActions(selectList) ? narrowActions(mapper, obj, selectList) : RM_OK;
}

_ResourceMapperError annotateLiveCollection(ResourceMapper& mapper, Json::Value& collection)
{
    LOG_SCOPE_AS("AddOdataMetaData");
    RM_ASSERT_TEXT(mapper.mIsCollection, "mIsCollection == true");
    for (const char* key :
         {mapping::kOdataId, "@odata.context", "@odata.type", "Description", "Name"}) {
        writableObject(collection)[key] = metadata(mapper, key, false);
    }
    setAllowedHeader(mapper);
    setLinkHeader(mapper);
    return RM_OK;
}

_ResourceMapperError narrowActions(ResourceMapper& mapper, Json::Value& resource,
                                   const Json::Value& selectList)
{
    const std::optional<std::string> unknown = filterActions(resource, selectList);
    return unknown ? failWith(mapper.mErrorArgs, RM_PROPERTY_UNKNOWN, *unknown) : RM_OK;
}

} // namespace cimgate
