// The text of an answer before its body.
#ifndef HTTPD_RESPONSE_HEAD_H_
#define HTTPD_RESPONSE_HEAD_H_

#include "httpd/server.h"

#include <string>

namespace httpd {

// Status line and headers with the empty line behind them; version is 10 or 11.
std::string responseHead(const Response& response, unsigned int version, bool isKeptAlive);

} // namespace httpd

#endif
