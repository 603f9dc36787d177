// Redfish error responses that the host makes itself.
#ifndef HOST_ERROR_BODY_H_
#define HOST_ERROR_BODY_H_

#include <httpd/server.h>

namespace host {

// An error with a message of the base registry, the arguments filling its %1, %2 and %3.
httpd::Response errorResponse(unsigned int status, const char* baseMessage,
                              const std::string& argument = {}, const std::string& second = {},
                              const std::string& third = {});

// Methods of resources that are read, and of actions.
inline constexpr const char* kReadMethods = "GET, HEAD, OPTIONS";
inline constexpr const char* kActionMethods = "POST";

// 405 with the methods that the resource has.
httpd::Response methodNotAllowed(const char* allowedMethods);

// 503 for a service that is busy, with "Retry-After".
httpd::Response temporarilyUnavailable(const char* retryAfterS);

// An error as the library reports this _ResourceMapperError.
httpd::Response errorResponseOfCode(unsigned int code, const std::string& argument,
                                    const std::string& second = {}, const std::string& third = {});

} // namespace host

#endif
