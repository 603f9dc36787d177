// Redfish error responses that the host makes itself.
#ifndef HOST_ERROR_BODY_H_
#define HOST_ERROR_BODY_H_

#include <httpd/server.h>

namespace host {

// An error with one message of the base registry; argument fills its %1.
httpd::Response errorResponse(unsigned int status, const char* baseMessage,
                              const std::string& argument = {});

// An error as the library reports this _ResourceMapperError.
httpd::Response errorResponseOfCode(unsigned int code, const std::string& argument);

} // namespace host

#endif
