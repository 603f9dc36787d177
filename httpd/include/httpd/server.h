// An HTTP/1.1 server (RFC 9112): keep-alive, HEAD, pipelining in order, limits for slow or greedy
// clients (see limits.h). It knows nothing of what it serves. Trailers of a body are dropped.
//
// Threads: everything runs in the one thread that runs the io_context.
#ifndef HTTPD_SERVER_H_
#define HTTPD_SERVER_H_

#include <httpd/limits.h>
#include <httpd/status.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace boost::asio {
class io_context;
}

namespace httpd {

struct Header
{
    std::string name;
    std::string value;
};

struct Request
{
    std::string method; // as it came: "GET"
    std::string target; // as it came, without scheme and host: "/path?query"
    std::vector<Header> headers;
    std::string body;
};

// The server adds Date, Content-Length and Connection, and sends no body in answer to HEAD. A
// status is 200 to 599; header names and values are as HTTP wants them, below 64 KiB.
struct Response
{
    unsigned int status = kOk;
    std::vector<Header> headers;
    std::string body;
};

// Value of a header, its name compared without case; empty when there is none.
std::string_view findHeader(const std::vector<Header>& headers, std::string_view name);

// Sends the response to a request; to be called once, now or later, from the io_context's thread.
using Reply = std::function<void(Response)>;

// Answers a request.
using Handler = std::function<void(Request, Reply)>;

// Makes the response for a request that never reached the handler: 400 (not HTTP, no Host, or a
// body whose end cannot be known), 408 (too slow), 413 (body too long), 414 (request line too
// long), 431 (headers too long or too many), 501 (a transfer coding other than "chunked"). Each
// ends its connection.
using ErrorPage = std::function<Response(unsigned int status)>;

class Server
{
public:
    Server(boost::asio::io_context& context, Handler handler, ErrorPage errorPage,
           const Limits& limits = {});
    ~Server(); // NOLINT(bugprone-exception-escape): see its definition
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    // Listens on a numeric address ("127.0.0.1", "::1"); port 0 picks a free one. Returns false
    // with the cause in problem.
    bool listen(const std::string& address, uint16_t port, std::string& problem);

    // The port that is listened on.
    uint16_t port() const;

    // Stops listening, closes idle connections and lets the others have the answer to the request
    // that they are at; calls drained, later and once, when no connection is left.
    void drain(std::function<void()> drained);

    // Stops listening and closes every connection at once; drained is not called any more.
    void stop();

    class Impl;

private:
    std::shared_ptr<Impl> mImpl;
};

} // namespace httpd

#endif
