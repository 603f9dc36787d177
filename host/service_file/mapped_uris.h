// The URIs that the mapping file speaks for.
#ifndef HOST_SERVICE_FILE_MAPPED_URIS_H_
#define HOST_SERVICE_FILE_MAPPED_URIS_H_

#include <json/json.h>

#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>

namespace host::service_file {

// Of a mapping that must outlive it.
class MappedUris
{
public:
    explicit MappedUris(const Json::Value& file);

    // Whether the mapper knows what is at a URI: one that is registered, or that of an instance one
    // segment below.
    bool contains(std::string_view uri) const;

    // Whether a GET is answered there: not at an action's target, nor right above instances.
    bool canBeRead(std::string_view uri) const;

    // What the mapping says of the inputs of an action with this target; null for a target that it
    // has not.
    const Json::Value* inputsOf(std::string_view target) const;

private:
    std::set<std::string, std::less<>> mRegistered;
    std::map<std::string, const Json::Value*, std::less<>> mActions; // their inputs, by target
    std::set<std::string, std::less<>> mParents;                     // of instances
};

} // namespace host::service_file

#endif
