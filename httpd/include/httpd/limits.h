// What one HTTP client may ask of the server: every limit, with its reason.
#ifndef HTTPD_LIMITS_H_
#define HTTPD_LIMITS_H_

#include <algorithm>
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

    // What is read from a client at a time, and so at most beyond the request at hand. The rest
    // waits in the kernel, and then with the client; its requests are answered one by one, in
    // order.
    size_t readAheadBytes = size_t{16} * 1024;

    // All that clients can make the server hold: heads, bodies, requests on their way to an answer,
    // answers that were not taken yet, and what a connection costs by itself. Large bodies get half
    // of it; one that finds no room waits for bodyTimeout (503). Answers above a head's size get
    // three quarters, and are 503 beyond. A head that finds no room is 503 at once.
    size_t clientMemoryBytes = size_t{32} * 1024 * 1024;

    // Connections at a time; withinOpenFiles() lowers it where fewer files may be open. Another one
    // takes the place of that which has shown least for longest: first of heads that were begun and
    // not ended, then of idle ones, then of new ones, then of bodies, then of answers that nobody
    // takes. While all are being answered it waits, and those behind it wait in the listener's
    // backlog.
    size_t connections = 512;

    // Connections of one IPv4 address or one IPv6 /64 at a time: whoever has one such network has
    // all its addresses. Another one takes the place of one of its own, as above; while all of them
    // are being answered it is closed at once. High, since all clients behind a proxy on this
    // machine are one address; low enough to keep places for the others.
    size_t connectionsPerShare = 384;

    // How long a connection is new that has sent nothing yet: in a crowd a client may get its turn
    // to send later than others theirs to come.
    std::chrono::milliseconds newcomerTime{1'000};

    // How long it then keeps its place whoever else comes, but those of its own share: its request
    // is on its way, and one that another comer displaces at once is never served. Short, since
    // others may have to wait for it.
    std::chrono::milliseconds arrivalTime{100};

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

    // How long it may take nothing of an answer before its connection may make room for another
    // one: longer than a network stumbles, far less than it may take for all of it.
    std::chrono::milliseconds stallTimeout{3'000};

    // After an answer that ends the connection: how long, and how much of what the client still
    // sends is read and thrown away, so that a reset does not overtake the answer.
    std::chrono::milliseconds lingerTimeout{2'000};
    size_t lingerBytes = size_t{256} * 1024;

    // How long to wait before accepting again when the process has run out of file descriptors.
    std::chrono::milliseconds acceptRetry{100};
};

// What is kept of a request's target for whoever keeps a log: it is held beside the request, in
// each connection.
inline constexpr size_t kNotedTargetBytes = 1024;

// What the process around the server keeps open itself: listener, event queue, the log, up to 64
// workers with a socket each, and what it opens while it works.
inline constexpr size_t kOwnOpenFiles = 128;

// The limits for a process that may have this many files open (RLIMIT_NOFILE): as many connections
// as leave it its own files, and half of them at the least.
inline Limits withinOpenFiles(Limits limits, size_t openFiles)
{
    const size_t own = std::min(kOwnOpenFiles, openFiles / 2);
    const size_t places = std::max<size_t>(openFiles - own, 1);
    if (places < limits.connections) {
        limits.connections = places;
        limits.connectionsPerShare =
            std::min(limits.connectionsPerShare, std::max<size_t>(places - places / 4, 1));
    }
    return limits;
}

} // namespace httpd

#endif
