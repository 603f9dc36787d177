#include "ResourceMapper/mapping/MappingFile.h"

#include "Log.h"
#include "MessageArguments.h"
#include "ResourceMapper/mapping/Entry.h"
#include "ResourceMapper/mapping/Resource.h"
#include "ResourceMapper/mapping/UriTable.h"

#include <fstream>

namespace cimgate {

namespace {

_ResourceMapperError loadMappingFile()
{
    const std::lock_guard<std::mutex> lock(ResourceMapper::RmfLock);
    if (ResourceMapper::RmfFileLoaded) {
        LOG_AT(LOG_STEP, "RMF File is already loaded");
        return RM_OK;
    }
    std::ifstream file(ResourceMapper::RmfPath);
    if (!file) {
        LOG_AT(LOG_ERROR, "Resource Mapping file(%s) is not present",
               ResourceMapper::RmfPath.c_str());
        return RM_RMF_NOT_PRESENT;
    }
    Json::Value parsed;
    if (!readJson(file, parsed) || !parsed.isObject()) {
        LOG_AT(LOG_ERROR, "Invalid Json format");
        return RM_MALFORMED_JSON;
    }
    ResourceMapper::RmfObj.swap(parsed);
    generateUris();
    ResourceMapper::RmfFileLoaded = true;
    return RM_OK;
}

void loadEntry(ResourceMapper& mapper)
{
    const Json::Value& entry = mapper.mResourceObj;
    mapper.mIsCollection = flagOf(entry, mapping::kIsCollection);
    if (mapper.mIsCollection) {
        mapper.mSupportsNextLink = flagOf(entry, mapping::kSupportsNextLink);
        mapper.mSupportsTopSkip = flagOf(entry, mapping::kSupportsTopSkip);
    }
    findCimClass(mapper);
}

// Whether the mapper takes the entry over, or is known to have it.
enum class Copy { Needed, Kept };

_ResourceMapperError lookUp(ResourceMapper& mapper, const std::string& name, Copy copy,
                            bool skipLoadEntry)
{
    LOG_SCOPE_AS("checkResource");
    LOG_AT(LOG_STEP, "Trying to load RMF for %s", name.c_str());
    if (const _ResourceMapperError rc = loadMappingFile(); rc != RM_OK) {
        return rc;
    }
    const Json::Value* entry = findMember(ResourceMapper::RmfObj, name);
    if (entry == nullptr) {
        LOG_AT(LOG_ERROR, "Resource not found in RMF");
        return failWith(mapper.mErrorArgs, RM_RESOURCE_NOT_IN_RMF, name);
    }
    if (copy == Copy::Needed) {
        // A copy: name may be the mapper's own mOemResourceName.
        mapper.mOemResourceName = std::string(name);
        mapper.mResourceObj = *entry;
    }
    if (!skipLoadEntry) {
        loadEntry(mapper);
    }
    return RM_OK;
}

} // namespace

_ResourceMapperError checkResource(ResourceMapper& mapper, const std::string& name,
                                   bool skipLoadEntry)
{
    return lookUp(mapper, name, Copy::Needed, skipLoadEntry);
}

_ResourceMapperError checkResolved(ResourceMapper& mapper, const std::string& name)
{
    const bool isKept = mapper.mOemResourceName == name && !mapper.mIsCollection;
    return lookUp(mapper, name, isKept ? Copy::Kept : Copy::Needed, false);
}

_ResourceMapperError loadResource(ResourceMapper& mapper)
{
    LOG_SCOPE_AS("Load");
    return checkResource(mapper, mapper.mOemResourceName, false);
}

void generateUris()
{
    LOG_SCOPE_AS("generateURIs");
    static_assert(static_cast<int>(mapping::Method::Get) == RM_METHOD_GET &&
                  static_cast<int>(mapping::Method::Post) == RM_METHOD_POST);
    for (const mapping::RegisteredUri& registered :
         mapping::registeredUris(ResourceMapper::RmfObj)) {
        URIObj[registered.uri] = static_cast<int>(registered.method);
    }
}

} // namespace cimgate
