// Operations that turn CIM instances into JSON, and those on annotations.
#include "ResourceMapper/convert/InstanceToJson.h"

#include "Log.h"
#include "ResourceMapper.h"
#include "ResourceMapper/convert/Annotations.h"
#include "ResourceMapper/mapping/Entry.h"
#include "ResourceMapper/read/Annotations.h"
#include "ResourceMapper/read/InstanceToJson.h"

namespace cimgate {

namespace {

const Json::Value& propertyOf(const ResourceMapper& mapper, const char* name)
{
    return memberOf(mapping::propertiesOf(mapper.mResourceObj, mapper.mCimClass), name);
}

} // namespace

} // namespace cimgate

_ResourceMapperError ResourceMapper::ConvertCMPIInstanceToJson(CMPIInstance* instance,
                                                               Json::Value& out,
                                                               Json::Value& selectList)
{
    return cimgate::convertInstance(*this, instance, out, selectList);
}

void ResourceMapper::DoCMPIDataToJson(char* name, CMPIData& data, Json::Value& out) const
{
    LOG_NAME("DoCMPIDataToJson");
    RM_ASSERT_TEXT(name != nullptr, "pName != NULL");
    cimgate::propertyToJson(cimgate::propertyOf(*this, name), name, data, out);
}

void ResourceMapper::DoPropertyValueMap(char* name, CMPIData& data, Json::Value& out) const
{
    const Json::Value& property = cimgate::propertyOf(*this, name);
    Json::Value mapped;
    cimgate::mapValue(cimgate::mapping::valueMapOf(property), name, data, mapped);
    if (!mapped.isNull()) {
        cimgate::writableObject(out)[name] = std::move(mapped);
    }
}

bool ResourceMapper::GetPropertyKeyValue(char* name, char* key, std::string& value) const
{
    LOG_NAME("GetPropertyKeyValue");
    RM_ASSERT_TEXT(name != nullptr, "pName != NULL");
    RM_ASSERT_TEXT(key != nullptr, "pKey != NULL");
    const Json::Value& valueMap = cimgate::mapping::valueMapOf(cimgate::propertyOf(*this, name));
    return cimgate::findMappedValue(valueMap, name, key, value);
}

CMPIrc ResourceMapper::GetCimIntValue(CMPIValue& value, unsigned short type,
                                      unsigned long long& result)
{
    return cimgate::cimIntValue(value, type, result);
}

_ResourceMapperError ResourceMapper::AddOdataMetaData(Json::Value& collection)
{
    return cimgate::annotateLiveCollection(*this, collection);
}

_ResourceMapperError ResourceMapper::AddOdataMetaData(CMPIInstance* /*instance*/, Json::Value& obj,
                                                      Json::Value& selectList)
{
    return cimgate::annotateLive(*this, obj, selectList);
}

_ResourceMapperError ResourceMapper::AddOdataMetaData(Json::Value& obj, bool /*isRequested*/,
                                                      Json::Value selectList, bool isTarget)
{
    return cimgate::annotate(*this, obj, selectList, isTarget);
}

// NOLINTNEXTLINE(readability-make-member-function-const): part of the interface as it is
void ResourceMapper::SetLinks(Json::Value& obj, std::string key)
{
    cimgate::addLinks(*this, obj, key);
}

void ResourceMapper::AddActions(Json::Value& obj) const
{
    cimgate::addActions(*this, obj);
}

void ResourceMapper::EncodeSpecialChars(std::string& uri) const
{
    cimgate::encodeSpecialChars(uri);
}

unsigned int ResourceMapper::applyFilterOnAction(Json::Value& resource, Json::Value& selectList)
{
    return cimgate::narrowActions(*this, resource, selectList);
}
