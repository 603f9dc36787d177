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

const Json::Value& inputsOfAction(const mapping::RegisteredUri& action)
{
    const std::string method = action.uri.substr(action.uri.rfind('.') + 1);
    const Json::Value& methods = cimgate::memberOf(
        mapping::classOf(*action.entry, mapping::classNameOf(*action.entry)), mapping::kMethods);
    return cimgate::memberOf(cimgate::memberOf(methods, method), mapping::kInputs);
}

} // namespace

MappedUris::MappedUris(const Json::Value& file)
{
    for (const mapping::RegisteredUri& registered : mapping::registeredUris(file)) {
        mRegistered.insert(registered.uri);
        if (registered.method == mapping::Method::Post) {
            mActions[registered.uri] = &inputsOfAction(registered);
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

const Json::Value* MappedUris::inputsOf(std::string_view target) const
{
    const auto found = mActions.find(target);
    return found == mActions.end() ? nullptr : found->second;
}

} // namespace host::service_file
