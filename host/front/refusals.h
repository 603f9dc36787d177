// What the front answers by itself: requests that could not be read, and those that the library is
// not asked for.
#ifndef HOST_FRONT_REFUSALS_H_
#define HOST_FRONT_REFUSALS_H_

#include <httpd/server.h>

#include <optional>

namespace host {

bool isPost(const httpd::Request& request);

// The answer to a request that the HTTP server could not read (httpd::ErrorPage).
httpd::Response unreadable(unsigned int status);

// The answer to a request that no worker is needed for; nothing when one is.
std::optional<httpd::Response> refusalOf(const httpd::Request& request);

} // namespace host

#endif
