// Life of a mapper, and what it tells of its resource.
#include "ResourceMapper.h"

#include "Log.h"
#include "ResourceMapper/mapping/Resource.h"

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
    cimgate::findCimClass(*this);
    return mCimClass;
}

bool ResourceMapper::GetOdataMedata(const std::string& key, std::string& value,
                                    bool fromResourceObj) const
{
    return cimgate::findMetadata(*this, key, value, fromResourceObj);
}

void ResourceMapper::GetCimClassProperties(Json::Value& out)
{
    out = cimgate::propertyNames(*this);
}

const char* ResourceMapper::GetOemResourceName() const
{
    return mOemResourceName.c_str();
}

const char* ResourceMapper::GetCimMethodName() const
{
    return mCimMethodName.c_str();
}
