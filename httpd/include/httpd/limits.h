// What one HTTP client may ask of the server: every limit, with its reason.
#ifndef HTTPD_LIMITS_H_
#define HTTPD_LIMITS_H_

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace httpd {

// Request line and headers together: twice the longest URI that is parsed, which leaves room for
// the headers that browsers and proxies add.
inline constexpr uint32_t kMaxHeaderBytes = 16 * 1024;

// A request body: the JSON of an action; larger ones are firmware images, which are not posted
// here.
inline constexpr uint64_t kMaxBodyBytes = 1024 * 1024;

// Connections at a time, below the usual limit of 1024 open files.
inline constexpr size_t kMaxConnections = 512;

// How long a kept-alive connection may stay silent between requests.
inline constexpr std::chrono::seconds kIdleTimeout{60};

// How long a client may take to send a request once it has begun, headers and body together.
inline constexpr std::chrono::seconds kRequestTimeout{20};

// How long a client may take to read an answer.
inline constexpr std::chrono::seconds kWriteTimeout{30};

// After an answer that ends the connection: how long, and how much of what the client still sends
// is read and thrown away, so that a reset does not overtake the answer.
inline constexpr std::chrono::seconds kLingerTimeout{2};
inline constexpr size_t kMaxLingerBytes = 256 * 1024;

// How long to wait before accepting again when the process has run out of file descriptors.
inline constexpr std::chrono::milliseconds kAcceptRetry{100};

} // namespace httpd

#endif
