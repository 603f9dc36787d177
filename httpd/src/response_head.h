// The text of an answer before its body.
#ifndef HTTPD_RESPONSE_HEAD_H_
#define HTTPD_RESPONSE_HEAD_H_

#include "httpd/server.h"

#include <string>

namespace httpd {

// Whether answers with this status have content at all (RFC 9110, sections 15.3.5 and 15.4.5).
bool hasContent(unsigned int status);

// Status line and headers with the empty line behind them; version is 10 or 11.
std::string responseHead(const Response& response, unsigned int version, bool isKeptAlive);

} // namespace httpd

#endif
