// Judges the request line and the headers of a request, which come before its body.
#ifndef HTTPD_REQUEST_HEAD_H_
#define HTTPD_REQUEST_HEAD_H_

#include "httpd/server.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace httpd {

// The status that refuses a request, 0 when its body may be read. The target is as it came; version
// is 10 or 11; headBytes is what request line and headers took with all their line ends.
unsigned int refusalOf(const Request& request, unsigned int version, size_t headBytes,
                       const Limits& limits);

// What a request line takes, without its line end.
size_t requestLineBytes(std::string_view method, std::string_view target);

// The status that refuses a request whose request line and headers are above their limit together.
unsigned int statusOfTooLong(size_t lineBytes, const Limits& limits);

// What a client means that takes this server for a proxy ("GET http://host/path"): every server has
// to understand it (RFC 9112, section 3.2.2).
std::string originForm(std::string_view target);

} // namespace httpd

#endif
