// How a worker answers one request: which of the mapper's operations serves it, and the outcome.
#ifndef HOST_REQUEST_HANDLER_H_
#define HOST_REQUEST_HANDLER_H_

#include <httpd/server.h>

#include <string>

namespace host {

// Answers a read of a URI (path and query as they came), which must have at least one segment.
httpd::Response handleRead(const std::string& target);

} // namespace host

#endif
