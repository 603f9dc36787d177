// An HTTP/1.1 server (RFC 9112): keep-alive, HEAD, pipelining in order, limits for slow or greedy
// clients (see limits.h). It knows nothing of what it serves. Trailers of a body are dropped.
//
// Threads: everything runs in the one thread that runs the io_context.
#ifndef HTTPD_SERVER_H_
#define HTTPD_SERVER_H_

#include <httpd/limits.h>
#include <httpd/memory_budget.h>
#include <httpd/status.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
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

// Whoever has sent a request. It may be asked after the connection has ended.
class Client
{
public:
    Client() = default;
    virtual ~Client() = default;
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    // Whether it has closed its connection, so that nobody takes the answer. A client that has only
    // ended what it sends (shutdown()) is still there. Costs a system call or two: to be asked when
    // it matters, such as before a request is begun.
    virtual bool hasGone() const = 0;

    // What clients are counted by: an IPv4 address ("127.0.0.1") or an IPv6 network
    // ("2001:db8:0:1::/64").
    virtual const std::string& share() const = 0;
};

struct Request
{
    std::string method; // as it came: "GET"
    std::string target; // as it came, without scheme and host: "/path?query"
    std::vector<Header> headers;
    std::string body;
    std::shared_ptr<const Client> client{}; // always there in what the server hands out
    // What the request takes of the account of clients' memory (Limits::clientMemoryBytes): to be
    // kept for as long as its body or its headers are.
    std::shared_ptr<const MemoryShare> memory{};
};

// The server adds Date, Content-Length and Connection, and sends no body in answer to HEAD. A
// status is 200 to 599; header names and values are as HTTP wants them, below 64 KiB.
struct Response
{
    unsigned int status = kOk;
    std::vector<Header> headers;
    std::string body;
    std::string remark{};   // why it is no better one: for the observer, clients do not see it
    bool mayBeKept = false; // for who gives answers again: the server does not look at it
    // What is given to many, so that none of them has a copy: in place of the body, and as lines
    // (headerLines()) that follow those of the headers.
    std::shared_ptr<const std::string> sharedBody{};
    std::shared_ptr<const std::string> sharedHeaders{};

    const std::string& content() const { return sharedBody == nullptr ? body : *sharedBody; }
};

// A request and what became of it, for whoever keeps a log.
struct Exchange
{
    std::string client; // its address
    std::string method; // empty where the request could not be read so far
    bool isHttp10 = false;
    std::string target; // as it came, the first kNotedTargetBytes (limits.h) of it
    unsigned int status = 0;
    size_t bodyBytes = 0;                 // of the answer, as far as they were sent
    std::chrono::microseconds duration{}; // since the request began to come in
    std::string remark;                   // the response's
    bool isSent = false;                  // all of it; else the client has gone before
};

// Headers as they are sent, each with its line end.
std::string headerLines(const std::vector<Header>& headers);

// Value of a header, its name compared without case; empty when there is none.
std::string_view findHeader(const std::vector<Header>& headers, std::string_view name);

// Sends the response to a request; to be called once, now or later, from the io_context's thread.
// Dropped without a call it closes the connection.
using Reply = std::function<void(Response)>;

// Answers a request. A std::bad_alloc that it throws ends the connection.
using Handler = std::function<void(Request, Reply)>;

// Answers a request by its head alone, its body being empty yet; nothing when the body is wanted.
using HeadJudge = std::function<std::optional<Response>(const Request&)>;

// Makes the response for a request that never reached the handler: 400 (not HTTP, no Host, or a
// body whose end cannot be known), 408 (too slow), 413 (body too long), 414 (request line too
// long), 415 (a content coding), 417 (an expectation other than "100-continue"), 431 (headers too
// long or too many), 501 (a transfer coding other than "chunked"), 503 (no memory for it; also in
// place of an answer), 505 (not HTTP/1). Each ends its connection.
using ErrorPage = std::function<Response(unsigned int status)>;

// Is told of each answer once it has been sent, or nobody takes it. It must not throw.
using Observer = std::function<void(const Exchange&)>;

class Server
{
public:
    Server(boost::asio::io_context& context, Handler handler, ErrorPage errorPage,
           const Limits& limits = {});
    ~Server(); // NOLINT(bugprone-exception-escape): see its definition
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    // Who judges requests whose client waits to be asked for the body ("Expect: 100-continue"):
    // what is refused then was not asked for first.
    void setHeadJudge(HeadJudge judge);

    // Who is told of each answer.
    void setObserver(Observer observer);

    // Listens on a numeric address ("127.0.0.1", "::1"); port 0 picks a free one. Returns false
    // with the cause in problem.
    bool listen(const std::string& address, uint16_t port, std::string& problem);

    // Connections that are open.
    size_t connections() const;

    // The account of what clients make the server hold.
    const MemoryBudget& memory() const;

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
