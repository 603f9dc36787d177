// Where a server listens, as its users write it.
#ifndef HTTPD_LISTEN_ADDRESS_H_
#define HTTPD_LISTEN_ADDRESS_H_

#include <cstdint>
#include <string>

namespace httpd {

// Reads "127.0.0.1:8000" or "[::1]:8000": a numeric address and a port, which may be 0. False when
// text is neither; address and port are then unspecified.
bool readListenAddress(const std::string& text, std::string& address, uint16_t& port);

// Whether a numeric address is one of this machine's own.
bool isLoopback(const std::string& address);

// "http://127.0.0.1:8000"; an IPv6 address stands in brackets.
std::string urlOf(const std::string& address, uint16_t port);

} // namespace httpd

#endif
