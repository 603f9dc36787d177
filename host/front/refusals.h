// What the front answers by itself: requests that could not be read, and those that the library is
// not asked for.
#ifndef HOST_FRONT_REFUSALS_H_
#define HOST_FRONT_REFUSALS_H_

#include "wire/mapping_summary.h"

#include <httpd/server.h>

#include <optional>

namespace host {

bool isPost(const httpd::Request& request);

// The answer to a request that the HTTP server could not read (httpd::ErrorPage).
httpd::Response unreadable(unsigned int status);

// The answer to a request for a resource that workers answer for, where no worker is needed;
// nothing when one is. kind: what the mapping knows of the target.
std::optional<httpd::Response> refusalOf(const httpd::Request& request,
                                         const std::optional<UriKind>& kind);

// The refusal of a target that is no URI of a resource, or has a query option that none takes.
std::optional<httpd::Response> refusalOfTarget(const httpd::Request& request);

} // namespace host

#endif
