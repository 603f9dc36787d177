// What one HTTP client may ask of the server: every limit, with its reason.
#ifndef HTTPD_LIMITS_H_
#define HTTPD_LIMITS_H_

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace httpd {

struct Limits
{
    // Request line and headers together: twice the longest URI that is parsed, which leaves room
    // for the headers that browsers and proxies add.
    uint32_t headerBytes = 16U * 1024;

    // A request body: the JSON of an action; larger ones are firmware images, which are not posted
    // here.
    uint64_t bodyBytes = uint64_t{1024} * 1024;

    // Connections at a time, below the usual limit of 1024 open files. More wait in the listener's
    // backlog.
    size_t connections = 512;

    // How long a kept-alive connection may stay silent between requests.
    std::chrono::milliseconds idleTimeout{60'000};

    // How long a client may take to send a request once it has begun, headers and body together.
    std::chrono::milliseconds requestTimeout{20'000};

    // How long a client may take to read an answer.
    std::chrono::milliseconds writeTimeout{30'000};

    // After an answer that ends the connection: how long, and how much of what the client still
    // sends is read and thrown away, so that a reset does not overtake the answer.
    std::chrono::milliseconds lingerTimeout{2'000};
    size_t lingerBytes = size_t{256} * 1024;

    // How long to wait before accepting again when the process has run out of file descriptors.
    std::chrono::milliseconds acceptRetry{100};
};

} // namespace httpd

#endif
