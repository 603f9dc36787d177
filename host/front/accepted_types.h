// Which media types a client takes (RFC 9110, 12.5.1).
#ifndef HOST_FRONT_ACCEPTED_TYPES_H_
#define HOST_FRONT_ACCEPTED_TYPES_H_

#include <httpd/server.h>

#include <string_view>
#include <vector>

namespace host {

// Whether it takes this one ("application/json"): of the ranges that fit, the most exact one says.
// A charset makes no difference.
bool accepts(const std::vector<httpd::Header>& requestHeaders, std::string_view mediaType);

} // namespace host

#endif
