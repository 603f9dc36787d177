#include "service_file/mapped_uris.h"

#include <ResourceMapper/mapping/Entry.h>

namespace host::service_file {

namespace mapping = cimgate::mapping;

namespace {

// An instance is looked up by the entry that the segment before its key names.
bool hasInstances(const Json::Value& file, const std::string& uri)
{
    const Json::Value& entry = cimgate::memberOf(file, uri.substr(uri.rfind('/') + 1));
    return !cimgate::flagOf(entry, mapping::kIsCollection) &&
           !cimgate::textOf(entry, mapping::kUniqueSelector).empty();
}

} // namespace

MappedUris::MappedUris(const Json::Value& file)
{
    for (const mapping::RegisteredUri& registered : mapping::registeredUris(file)) {
        mRegistered.insert(registered.uri);
        if (registered.method == mapping::Method::Post) {
            mActions.insert(registered.uri);
        } else if (hasInstances(file, registered.uri)) {
            mParents.insert(registered.uri);
        }
    }
}

bool MappedUris::contains(std::string_view uri) const
{
    return mRegistered.contains(uri) || mParents.contains(uri.substr(0, uri.rfind('/')));
}

bool MappedUris::canBeRead(std::string_view uri) const
{
    return contains(uri) && !mParents.contains(uri) && !mActions.contains(uri);
}

} // namespace host::service_file
