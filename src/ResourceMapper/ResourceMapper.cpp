// Life of a mapper, and the lookups in its mapping entry.
#include "ResourceMapper.h"

#include "Log.h"
#include "ResourceMapper/mapping/Entry.h"

using namespace cimgate; // NOLINT(google-build-using-namespace): most of what stands here

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
    const Json::Value& member = mapping::memberEntryOf(RmfObj, mResourceObj);
    if (&member != &mResourceObj) {
        mResourceObj = Json::Value(member);
    }
    mCimClass = mapping::classNameOf(mResourceObj);
    return mCimClass;
}

bool ResourceMapper::GetOdataMedata(const std::string& key, std::string& value,
                                    bool fromResourceObj) const
{
    const Json::Value& entry =
        fromResourceObj || !mIsCollection ? mResourceObj : memberOf(RmfObj, mOemResourceName);
    const Json::Value* found = findMember(entry, key);
    if (found == nullptr) {
        LOG_AT(LOG_ERROR, "%s metadata is missing in RMF", key.c_str());
        return false;
    }
    value = textOf(*found);
    return true;
}

void ResourceMapper::GetCimClassProperties(Json::Value& out)
{
    out = Json::Value(Json::arrayValue);
    const Json::Value& properties = classProperties();
    for (auto property = properties.begin(); property != properties.end(); ++property) {
        out.append(property.name());
    }
}

const Json::Value& ResourceMapper::classProperties()
{
    // Spelled as those who search the logs know it.
    LOG_AT(LOG_STEP, "Entering ResourceMapper::GetCimClassPropperties()");
    if (mCimClass.empty()) {
        GetCimClass();
    }
    LOG_AT(LOG_STEP, "Leaving ResourceMapper::GetCimClassPropperties()");
    return mapping::propertiesOf(mResourceObj, mCimClass);
}

const char* ResourceMapper::GetOemResourceName() const
{
    return mOemResourceName.c_str();
}

const char* ResourceMapper::GetCimMethodName() const
{
    return mCimMethodName.c_str();
}
