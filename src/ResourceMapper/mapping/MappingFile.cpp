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

} // namespace

_ResourceMapperError checkResource(ResourceMapper& mapper, const std::string& name,
                                   bool skipLoadEntry)
{
    LOG_SCOPE();
    LOG_AT(LOG_STEP, "Trying to load RMF for %s", name.c_str());
    if (const _ResourceMapperError rc = loadMappingFile(); rc != RM_OK) {
        return rc;
    }
    const Json::Value& entries = ResourceMapper::RmfObj;
    const Json::Value* entry = entries.find(name.data(), name.data() + name.size());
    if (entry == nullptr) {
        LOG_AT(LOG_ERROR, "Resource not found in RMF");
        return failWith(mapper.mErrorArgs, RM_RESOURCE_NOT_IN_RMF, name);
    }
    // An entry is large: one that was copied to resolve the URI of an instance is not copied again
    // to read it. Of a collection the mapper holds the member's entry, not its own.
    if (mapper.mOemResourceName != name || mapper.mResourceObj.isNull() || mapper.mIsCollection) {
        // A copy: name may be the mapper's own mOemResourceName.
        mapper.mOemResourceName = std::string(name);
        mapper.mResourceObj = *entry;
    }
    if (!skipLoadEntry) {
        loadEntry(mapper);
    }
    return RM_OK;
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
