// Which requests may come from a page of somebody else that a browser shows: such a page reaches
// this service under a name that it has directed here, or posts to it from its own site.
#ifndef HOST_FRONT_OWN_NAMES_H_
#define HOST_FRONT_OWN_NAMES_H_

#include <httpd/server.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace host {

class OwnNames
{
public:
    // The names that the service goes by (--host), beside "localhost" and all addresses.
    explicit OwnNames(std::vector<std::string> names);

    // The refusal of a request that asks for another host (421), or that would act for a page of
    // another host (403: a POST whose "Origin" or "Sec-Fetch-Site" says so); nothing for others.
    std::optional<httpd::Response> refusalOf(const httpd::Request& request) const;

private:
    bool isOwn(std::string_view host) const;

    std::vector<std::string> mNames;
};

} // namespace host

#endif
