// The URIs that the mapping file speaks for.
#ifndef HOST_SERVICE_FILE_MAPPED_URIS_H_
#define HOST_SERVICE_FILE_MAPPED_URIS_H_

#include <json/json.h>

#include <functional>
#include <set>
#include <string>
#include <string_view>

namespace host::service_file {

class MappedUris
{
public:
    explicit MappedUris(const Json::Value& file);

    // Whether the mapper knows what is at a URI: one that is registered, or that of an instance one
    // segment below.
    bool contains(std::string_view uri) const;

    // Whether a GET is answered there: not at an action's target, nor right above instances.
    bool canBeRead(std::string_view uri) const;

private:
    std::set<std::string, std::less<>> mRegistered;
    std::set<std::string, std::less<>> mActions;
    std::set<std::string, std::less<>> mParents; // of instances
};

} // namespace host::service_file

#endif
