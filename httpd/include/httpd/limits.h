// What one HTTP client may ask of the server: every limit, with its reason.
#ifndef HTTPD_LIMITS_H_
#define HTTPD_LIMITS_H_

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace httpd {

struct Limits
{
    // The request line without its line end (414): the longest URI that is parsed, 8 KiB, and room
    // for the method, the version, and the scheme and host that a proxy's client writes.
    uint32_t requestLineBytes = 9U * 1024;

    // Request line and headers with all their line ends (431): twice the longest URI, which leaves
    // room for the headers that browsers and proxies add.
    uint32_t headerBytes = 16U * 1024;

    // How many headers (431): browsers and proxies send some 20; each costs more memory than its
    // text.
    size_t headerCount = 100;

    // A request body (413): the JSON of an action; larger ones are firmware images, which are not
    // posted here.
    uint64_t bodyBytes = uint64_t{1024} * 1024;

    // What is read from a client beyond the request at hand, be it of its body or of requests that
    // follow. The rest waits in the kernel, and then with the client; the requests are answered
    // one by one, in order.
    size_t readAheadBytes = size_t{64} * 1024;

    // Connections at a time, below the usual limit of 1024 open files. Another one takes the place
    // of that which has been idle for longest; while none is idle it waits, and those behind it
    // wait in the listener's backlog.
    size_t connections = 512;

    // Connections of one address at a time. Another one takes the place of that address's longest
    // idle one; while none is idle it is closed at once. High, since all clients behind a proxy on
    // this machine are one address; low enough to keep places for the others.
    size_t connectionsPerAddress = 384;

    // How long a kept-alive connection may stay silent between requests.
    std::chrono::milliseconds idleTimeout{60'000};

    // How long a client may take to send request line and headers once it has begun (408): they fit
    // into a few packets, of which some may get lost.
    std::chrono::milliseconds headerTimeout{10'000};

    // How long it may take to send the body behind them (408): with bodyBytes as they are, 50 KiB a
    // second suffice, and no connection is held longer by whoever sends a byte now and then.
    std::chrono::milliseconds bodyTimeout{20'000};

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
