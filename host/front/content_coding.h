// Which content codings a client takes (RFC 9110, 12.5.3).
#ifndef HOST_FRONT_CONTENT_CODING_H_
#define HOST_FRONT_CONTENT_CODING_H_

#include <httpd/server.h>

#include <vector>

namespace host {

// Whether an answer may be compressed with gzip, and the client would not rather have it plain.
bool wantsGzip(const std::vector<httpd::Header>& requestHeaders);

} // namespace host

#endif
