// The mapping file: its one load, the table of registered URIs, and look-up by resource name.
#include "Log.h"
#include "ResourceMapper.h"
#include "ResourceMapper/mapping/Entry.h"
#include "ResourceMapper/mapping/UriTable.h"

#include <fstream>

using namespace cimgate; // NOLINT(google-build-using-namespace): most of what stands here

// NOLINTBEGIN(cppcoreguidelines-avoid-non-const-global-variables): one mapping for the process
std::string ResourceMapper::RmfPath = "/usr/share/cimgate/resourcemapping.json";
Json::Value ResourceMapper::RmfObj;
std::mutex ResourceMapper::RmfLock;
bool ResourceMapper::RmfFileLoaded = false;
Json::Value URIObj(Json::objectValue);
// NOLINTEND(cppcoreguidelines-avoid-non-const-global-variables)

_ResourceMapperError ResourceMapper::loadMappingFile()
{
    const std::lock_guard<std::mutex> lock(RmfLock);
    if (RmfFileLoaded) {
        LOG_AT(LOG_STEP, "RMF File is already loaded");
        return RM_OK;
    }
    std::ifstream file(RmfPath);
    if (!file) {
        LOG_AT(LOG_ERROR, "Resource Mapping file(%s) is not present", RmfPath.c_str());
        return RM_RMF_NOT_PRESENT;
    }
    Json::Value parsed;
    if (!readJson(file, parsed) || !parsed.isObject()) {
        LOG_AT(LOG_ERROR, "Invalid Json format");
        return RM_MALFORMED_JSON;
    }
    RmfObj.swap(parsed);
    generateURIs();
    RmfFileLoaded = true;
    return RM_OK;
}

_ResourceMapperError ResourceMapper::checkResource(const std::string& name, bool skipLoadEntry)
{
    LOG_SCOPE();
    LOG_AT(LOG_STEP, "Trying to load RMF for %s", name.c_str());
    if (const _ResourceMapperError rc = loadMappingFile(); rc != RM_OK) {
        return rc;
    }
    const Json::Value& entries = RmfObj;
    const Json::Value* entry = entries.find(name.data(), name.data() + name.size());
    if (entry == nullptr) {
        LOG_AT(LOG_ERROR, "Resource not found in RMF");
        mErrorArgs["p1"] = name;
        return RM_RESOURCE_NOT_IN_RMF;
    }
    // The entry is large: the one that was copied to resolve an instance's URI serves for the
    // instance. (Of a collection the mapper holds its member's.)
    if (mOemResourceName != name || mResourceObj.isNull() || mIsCollection) {
        // A copy: name may be this mapper's own mOemResourceName.
        mOemResourceName = std::string(name);
        mResourceObj = *entry;
    }
    if (!skipLoadEntry) {
        loadEntry();
    }
    return RM_OK;
}

void ResourceMapper::loadEntry()
{
    mIsCollection = flagOf(mResourceObj, mapping::kIsCollection);
    if (mIsCollection) {
        mSupportsNextLink = flagOf(mResourceObj, mapping::kSupportsNextLink);
        mSupportsTopSkip = flagOf(mResourceObj, mapping::kSupportsTopSkip);
    }
    GetCimClass();
}

_ResourceMapperError ResourceMapper::Load()
{
    LOG_SCOPE();
    return checkResource(mOemResourceName, false);
}

void ResourceMapper::generateURIs()
{
    LOG_SCOPE();
    static_assert(static_cast<int>(mapping::Method::Get) == RM_METHOD_GET &&
                  static_cast<int>(mapping::Method::Post) == RM_METHOD_POST);
    for (const mapping::RegisteredUri& registered : mapping::registeredUris(RmfObj)) {
        URIObj[registered.uri] = static_cast<int>(registered.method);
    }
}

void ResourceMapper::PrintRMFData()
{
    LOG_AT(LOG_STEP, "Printing RMF Data for %s Resource", mCimClass.c_str());
    Json::Value names;
    GetCimClassProperties(names);
    const Json::Value& properties = mapping::propertiesOf(mResourceObj, mCimClass);
    for (const Json::Value& name : names) {
        const Json::Value& valueMap =
            memberOf(memberOf(properties, name.asString()), mapping::kValueMapping);
        LOG_AT(LOG_STEP, "PropertyName: %s,  SupportsValueMap: %s", name.asCString(),
               valueMap.empty() ? "false" : "true");
    }
}
