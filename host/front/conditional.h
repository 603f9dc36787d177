// Reads that are only wanted when the answer is another one (RFC 9110, 13.1.2).
#ifndef HOST_FRONT_CONDITIONAL_H_
#define HOST_FRONT_CONDITIONAL_H_

#include <httpd/server.h>

#include <string_view>
#include <vector>

namespace host {

// Whether a client has already what has this entity tag: it is in the list of its "If-None-Match".
bool isListed(const std::vector<httpd::Header>& requestHeaders, std::string_view entityTag);

// Whether a response is what the client has already: a 200 with such a tag.
bool isKnown(const std::vector<httpd::Header>& requestHeaders, const httpd::Response& response);

// 304 in place of such a response: what a client keeps its answer by, and no content.
httpd::Response notModified(const httpd::Response& response);

} // namespace host

#endif
