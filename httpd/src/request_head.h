// Judges the request line and the headers of a request, which come before its body.
#ifndef HTTPD_REQUEST_HEAD_H_
#define HTTPD_REQUEST_HEAD_H_

#include "httpd/server.h"

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace httpd {

// Line ends ahead of a request line, which robust servers skip (RFC 9112, section 2.2): how many
// bytes they take.
size_t leadingLineEnds(std::string_view text);

// How long a head is with all its line ends, 0 when its end is not there; the first bytes, seen,
// are known not to hold it.
size_t headBytes(std::string_view text, size_t seen);

// The status that refuses a head whose text is as it came, 0 when it may be parsed. A version that
// this server understands as HTTP/1.1 (1.2 to 1.9; RFC 9110, section 2.5) is made that in text.
unsigned int refusalOfText(std::span<char> head, const Limits& limits);

// The status that refuses what is longer than a head may be.
unsigned int statusOfTooLong(std::string_view text, const Limits& limits);

// The status that refuses a request, 0 when its body may be read; version is 10 or 11.
unsigned int refusalOf(const Request& request, unsigned int version, bool hasBody,
                       const Limits& limits);

// Whether the client waits to be asked for the body; HTTP/1.0 clients do not.
bool expectsContinue(const Request& request, unsigned int version);

// What a client means that takes this server for a proxy ("GET http://host/path"): every server has
// to understand it (RFC 9112, section 3.2.2).
std::string originForm(std::string_view target);

} // namespace httpd

#endif
