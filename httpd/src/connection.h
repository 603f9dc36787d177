// One client's connection: reads requests, has them answered, writes the answers in order.
#ifndef HTTPD_CONNECTION_H_
#define HTTPD_CONNECTION_H_

#include "httpd/server.h"

#include <boost/asio/ip/tcp.hpp>

#include <chrono>
#include <memory>
#include <optional>

namespace httpd {

class Connection
{
public:
    Connection() = default;
    virtual ~Connection() = default;
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    // Closes the connection at once; an answer still due is dropped.
    virtual void close() = 0;

    // Since when no request of it has been read or answered; nothing while one is.
    virtual std::optional<std::chrono::steady_clock::time_point> idleSince() const = 0;

    // The client's address.
    virtual const boost::asio::ip::address& address() const = 0;
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
    virtual Response errorPage(unsigned int status) = 0;
    virtual const Limits& limits() const = 0;
    virtual bool isStopping() const = 0; // answers then end their connections
    virtual void opened(Connection* connection) = 0;
    virtual void becameIdle() = 0; // a connection that may be closed to make room for another one
    virtual void closed(Connection* connection) = 0;
};

// Serves an accepted socket, of a client at this address, until either side closes it.
void startConnection(boost::asio::ip::tcp::socket socket, const boost::asio::ip::address& address,
                     std::shared_ptr<ConnectionOwner> owner);

} // namespace httpd

#endif
