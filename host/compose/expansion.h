// The bodies of resources by their URI, and references that become the resources themselves.
#ifndef HOST_COMPOSE_EXPANSION_H_
#define HOST_COMPOSE_EXPANSION_H_

#include "compose/composer.h"
#include "compose/query.h"
#include "service_file/service_resources.h"

#include <json/json.h>

#include <optional>
#include <string>
#include <vector>

namespace host::compose {

// One answer's worth of them.
class Expansion
{
public:
    Expansion(PartReader& parts, const service_file::ServiceResources& resources)
        : mParts(parts), mResources(resources)
    {}

    // The body at a path, whoever's it is; nothing where it is not there.
    std::optional<Json::Value> bodyAt(const std::string& path);

    // Expands what stands in a body. False where that is more than an answer may have.
    bool expand(Json::Value& body, const Expand& how);

private:
    bool expandIn(Json::Value& value, const Expand& how, unsigned int levels, bool isInLinks);
    bool expandReference(Json::Value& reference, const Expand& how, unsigned int levels);

    PartReader& mParts;
    const service_file::ServiceResources& mResources;
    std::vector<std::string> mPath; // from the body down to what is being expanded
    size_t mExpanded = 0;
    size_t mValues = 0;
};

} // namespace host::compose

#endif
