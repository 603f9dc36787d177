// Operations on the mapping file.
#include "ResourceMapper/mapping/MappingFile.h"

#include "Log.h"
#include "ResourceMapper/mapping/Entry.h"

using enum cimgate::LogLevel;

_ResourceMapperError ResourceMapper::Load()
{
    return cimgate::loadResource(*this);
}

_ResourceMapperError ResourceMapper::checkResource(const std::string& name, bool skipLoadEntry)
{
    return cimgate::checkResource(*this, name, skipLoadEntry);
}

void ResourceMapper::generateURIs()
{
    cimgate::generateUris();
}

void ResourceMapper::PrintRMFData()
{
    LOG_NAME("PrintRMFData");
    LOG_AT(LOG_STEP, "Printing RMF Data for %s Resource", mCimClass.c_str());
    Json::Value names;
    GetCimClassProperties(names);
    const Json::Value& properties = cimgate::mapping::propertiesOf(mResourceObj, mCimClass);
    for (const Json::Value& name : names) {
        const Json::Value& property = cimgate::memberOf(properties, name.asString());
        const Json::Value& valueMap = cimgate::memberOf(property, cimgate::mapping::kValueMapping);
        LOG_AT(LOG_STEP, "PropertyName: %s,  SupportsValueMap: %s", name.asCString(),
               valueMap.empty() ? "false" : "true");
    }
}
