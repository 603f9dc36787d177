// What the library has written to a request's scope, as a response.
#ifndef HOST_WORKER_SCOPE_RESPONSE_H_
#define HOST_WORKER_SCOPE_RESPONSE_H_

#include <httpd/server.h>
#include <odata/odata.h>

namespace host {

// Status, content type and body; 500 where they are not complete.
httpd::Response responseOf(const odata::Scope& scope);

// Adds the scope's headers to a response, which may be one of the host's own. A "Location" is made
// of CIM data: what a URI cannot have is escaped. What clients would not take is left out, and told
// in the log.
void addHeaders(const odata::Scope& scope, httpd::Response& response);

// Whether the library has set where to look for the outcome.
bool hasLocation(const odata::Scope& scope);

} // namespace host

#endif
