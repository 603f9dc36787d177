// What DSP0266 asks of a request for any resource, the service's own or a mapped one, beside its
// URI: the method, then the headers.
#ifndef HOST_FRONT_PROTOCOL_H_
#define HOST_FRONT_PROTOCOL_H_

#include <httpd/server.h>

#include <optional>
#include <string_view>

namespace host {

inline constexpr const char* kJson = "application/json";

// GET or HEAD.
bool isRead(const httpd::Request& request);

// The answer to a method that a resource does not take: what it takes to OPTIONS (204), to all
// others the refusal (405).
httpd::Response answerToOtherMethod(const httpd::Request& request, const char* methods);

// The refusal of a request in another version of OData (412), or of one by a client that does not
// take the type that the answer has (406); nothing for others.
std::optional<httpd::Response> refusalOfHeaders(const httpd::Request& request,
                                                std::string_view mediaType);

} // namespace host

#endif
