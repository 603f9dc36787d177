// The headers of a resource that is read (DSP0266, "Response headers").
#ifndef HOST_RESOURCE_HEADERS_H_
#define HOST_RESOURCE_HEADERS_H_

#include <httpd/server.h>

#include <string>

namespace host {

// Completes those of a response that has "Content-Type" and perhaps others: the charset of its
// content, the methods that it takes, and the schema that describes it; schemaUri is "" where there
// is none.
void completeHeaders(httpd::Response& response, const std::string& schemaUri);

} // namespace host

#endif
