// The query options of the service's own resources: "only", "$expand" and "$select" (DSP0266,
// "Query parameters"). Those of mapped resources are the mapper's.
#ifndef HOST_COMPOSE_QUERY_H_
#define HOST_COMPOSE_QUERY_H_

#include <httpd/server.h>
#include <json/json.h>
#include <odata/odata.h>

#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace host::compose {

// Which references become the resources that they lead to: those in "Links", and all others.
struct Expand
{
    bool isOfLinks = false;
    bool isOfOthers = false;
    unsigned int levels = 1;
};

struct Query
{
    bool isOnly = false; // the only member of a collection in its place
    std::optional<Expand> expand;
    std::vector<std::string> select; // paths such as "Status/Health"; empty: everything
};

// What a request asks for, or its refusal.
std::variant<Query, httpd::Response> readQuery(std::string_view target, const odata::URI& uri);

// Narrows a body to the paths; what names it ("@odata.id" and such) stays. In arrays each element
// is narrowed. Returns the path that nothing has; "" where each is found.
std::string select(Json::Value& body, const std::vector<std::string>& paths);

} // namespace host::compose

#endif
