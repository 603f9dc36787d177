// Life of a mapper, and the lookups in its mapping entry.
#include "ResourceMapper.h"

#include "Log.h"
#include "MappingEntry.h"

ResourceMapper::ResourceMapper(SfccSession* session, odata::Scope& scope, const odata::URI& uri,
                               bool isZMQCall)
    : mpSfccHandle(session),
      mIsCollection(false),
      mIsZMQCall(isZMQCall),
      mSupportsNextLink(false),
      mSupportsTopSkip(false),
      mScope(scope),
      mURI(uri),
      mShowLinks(true)
{
    LOG_SCOPE();
}

ResourceMapper::~ResourceMapper()
{
    LOG_SCOPE();
}

std::string ResourceMapper::GetCimClass()
{
    // A collection's mapping names its member resource, which may be a collection again. A mapping
    // that goes round in a circle ends after as many steps as there are entries.
    for (Json::ArrayIndex steps = 0;
         steps <= RmfObj.size() && flagOf(mResourceObj, mapping::kIsCollection); ++steps) {
        const std::string member = firstMemberName(memberOf(mResourceObj, mapping::kMappings));
        mResourceObj = Json::Value(memberOf(RmfObj, member));
    }
    mCimClass = firstMemberName(memberOf(mResourceObj, mapping::kMappings));
    return mCimClass;
}

bool ResourceMapper::GetOdataMedata(const std::string& key, std::string& value,
                                    bool fromResourceObj) const
{
    const Json::Value& entry =
        fromResourceObj || !mIsCollection ? mResourceObj : memberOf(RmfObj, mOemResourceName);
    if (!hasMember(entry, key)) {
        LOG_AT(LOG_ERROR, "%s metadata is missing in RMF", key.c_str());
        return false;
    }
    value = textOf(entry, key);
    return true;
}

void ResourceMapper::GetCimClassProperties(Json::Value& out)
{
    LOG_AT(LOG_STEP, "Entering ResourceMapper::GetCimClassProperties()");
    out = Json::Value(Json::arrayValue);
    if (mCimClass.empty()) {
        GetCimClass();
    }
    const Json::Value& properties = mapping::propertiesOf(mResourceObj, mCimClass);
    for (auto property = properties.begin(); property != properties.end(); ++property) {
        out.append(property.name());
    }
    LOG_AT(LOG_STEP, "Leaving ResourceMapper::GetCimClassProperties()");
}

const char* ResourceMapper::GetOemResourceName() const
{
    return mOemResourceName.c_str();
}

const char* ResourceMapper::GetCimMethodName() const
{
    return mCimMethodName.c_str();
}
