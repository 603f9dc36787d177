// Source of Resource.h, and the mapping itself. Its lines carry the name of this file, by which
// they are looked for.
#include "Log.h"
#include "ResourceMapper/mapping/Entry.h"
#include "ResourceMapper/mapping/Resource.h"

// NOLINTBEGIN(cppcoreguidelines-avoid-non-const-global-variables): one mapping for the process
std::string ResourceMapper::RmfPath = "/usr/share/cimgate/resourcemapping.json";
Json::Value ResourceMapper::RmfObj;
std::mutex ResourceMapper::RmfLock;
bool ResourceMapper::RmfFileLoaded = false;
// NOLINTEND(cppcoreguidelines-avoid-non-const-global-variables)

namespace cimgate {

const Json::Value& entryOf(const ResourceMapper& mapper, bool ofMember)
{
    return ofMember || !mapper.mIsCollection
               ? mapper.mResourceObj
               : memberOf(ResourceMapper::RmfObj, mapper.mOemResourceName);
}

void findCimClass(ResourceMapper& mapper)
{
    const Json::Value& member = mapping::memberEntryOf(ResourceMapper::RmfObj, mapper.mResourceObj);
    if (&member != &mapper.mResourceObj) {
        mapper.mResourceObj = Json::Value(member);
    }
    mapper.mCimClass = mapping::classNameOf(mapper.mResourceObj);
}

const Json::Value& classProperties(ResourceMapper& mapper)
{
    // Spelled as those who search the logs know it.
    LOG_AT(LOG_STEP, "Entering ResourceMapper::GetCimClassPropperties()");
    if (mapper.mCimClass.empty()) {
        findCimClass(mapper);
    }
    LOG_AT(LOG_STEP, "Leaving ResourceMapper::GetCimClassPropperties()");
    return mapping::propertiesOf(mapper.mResourceObj, mapper.mCimClass);
}

Json::Value propertyNames(ResourceMapper& mapper)
{
    Json::Value names(Json::arrayValue);
    const Json::Value& properties = classProperties(mapper);
    for (auto property = properties.begin(); property != properties.end(); ++property) {
        names.append(property.name());
    }
    return names;
}

bool findMetadata(const ResourceMapper& mapper, const std::string& key, std::string& value,
                  bool ofMember)
{
    LOG_NAME("GetOdataMedata");
    const Json::Value* found = findMember(entryOf(mapper, ofMember), key);
    if (found == nullptr) {
        LOG_AT(LOG_ERROR, "%s metadata is missing in RMF", key.c_str());
        return false;
    }
    value = textOf(*found);
    return true;
}

std::string metadata(const ResourceMapper& mapper, const char* key, bool ofMember)
{
    std::string value;
    (void)findMetadata(mapper, key, value, ofMember);
    return value;
}

} // namespace cimgate
