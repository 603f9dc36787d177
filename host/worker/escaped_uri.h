// URIs that are made of data.
#ifndef HOST_WORKER_ESCAPED_URI_H_
#define HOST_WORKER_ESCAPED_URI_H_

#include <string>
#include <string_view>

namespace host {

// The text with every byte that a URI cannot have (RFC 3986, 2) as "%" and two hex digits; what is
// escaped already stays so.
std::string escapedUri(std::string_view text);

} // namespace host

#endif
