// One client's connection: reads requests, has them answered, writes the answers in order.
#ifndef HTTPD_CONNECTION_H_
#define HTTPD_CONNECTION_H_

#include "httpd/server.h"

#include <boost/asio/ip/tcp.hpp>

#include <chrono>
#include <memory>
#include <optional>
#include <string>

namespace httpd {

// How little a connection has shown, and since when: the least of all is the first to make room for
// another one.
struct Standing
{
    enum class Shown { HalfHead, Nothing, LastAnswer, New, HalfBody, StalledAnswer };
    Shown shown = Shown::Nothing;
    std::chrono::steady_clock::time_point since = {};
    bool isArriving = false; // too new to make room for clients of other shares

    bool operator<(const Standing& other) const
    {
        return shown != other.shown ? shown < other.shown : since < other.since;
    }
};

class Connection
{
public:
    Connection() = default;
    virtual ~Connection() = default;
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    // Closes the connection at once; an answer still due is dropped.
    virtual void close() = 0;

    // Nothing while a request is being answered or its answer is being taken: such a connection
    // makes no room.
    virtual std::optional<Standing> standing() const = 0;

    // Whether something has come in that it would have read by now had it had its turn: then it has
    // shown more than its standing says. Asks the system.
    virtual bool hasMoreToShow() const = 0;

    // Whether it waits for a request of which nothing has come in.
    virtual bool isIdle() const = 0;

    // Takes the room for its body that it waits for, if that is there now, and goes on.
    virtual bool takeRoom() = 0;
    virtual void goOn() = 0;

    // Whether its client has gone, which nobody notices while it waits for room.
    virtual bool hasGone() const = 0;

    // What its client is counted by.
    virtual const std::string& share() const = 0;
};

// What a connection needs of its server; connections keep it alive.
class ConnectionOwner
{
public:
    ConnectionOwner() = default;
    virtual ~ConnectionOwner() = default;
    ConnectionOwner(const ConnectionOwner&) = delete;
    ConnectionOwner& operator=(const ConnectionOwner&) = delete;

    virtual void handle(Request request, Reply reply) = 0;
    virtual std::optional<Response> judgeHead(const Request& request) = 0;
    virtual Response errorPage(unsigned int status) = 0;
    virtual void answered(const Exchange& exchange) noexcept = 0;
    virtual const Limits& limits() const = 0;
    virtual const std::shared_ptr<MemoryBudget>& budget() const = 0;
    virtual bool isStopping() const = 0; // answers then end their connections
    virtual void opened(Connection* connection) = 0;
    virtual void becameIdle() = 0; // a connection that may be closed to make room for another one
    virtual void awaitRoom(Connection* connection) = 0;       // takeRoom() is called, then goOn()
    virtual void closed(Connection* connection) noexcept = 0; // once, as soon as it is closed
};

// Serves an accepted socket, of a client that is counted by this share, until either side closes
// it. Throws std::bad_alloc; the socket is closed then.
void startConnection(boost::asio::ip::tcp::socket socket, const std::string& share,
                     std::shared_ptr<ConnectionOwner> owner);

} // namespace httpd

#endif
