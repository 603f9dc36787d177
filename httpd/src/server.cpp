#include "httpd/server.h"

#include "connection.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <optional>
#include <unordered_set>
#include <utility>

namespace httpd {

namespace asio = boost::asio;
using asio::ip::tcp;
using boost::system::error_code;

class Server::Impl : public ConnectionOwner, public std::enable_shared_from_this<Server::Impl>
{
public:
    Impl(asio::io_context& context, Handler handler, ErrorPage errorPage, const Limits& limits)
        : mLimits(limits),
          mContext(context),
          mAcceptor(context),
          mRetry(context),
          mHandler(std::move(handler)),
          mErrorPage(std::move(errorPage))
    {}

    bool listen(const std::string& address, uint16_t port, std::string& problem);
    uint16_t port() const;
    void drain(std::function<void()> drained);
    void stop();

    void handle(Request request, Reply reply) override
    {
        mHandler(std::move(request), std::move(reply));
    }
    Response errorPage(unsigned int status) override { return mErrorPage(status); }
    const Limits& limits() const override { return mLimits; }
    bool isStopping() const override { return mIsStopping; }
    void opened(Connection* connection) override { mConnections.insert(connection); }
    void becameIdle() override { admit(); }
    void closed(Connection* connection) override;

private:
    void accept();
    void accepted(error_code error, tcp::socket socket);
    void admit();
    enum class Place { Free, NoneYet, Refused };
    Place placeFor(const asio::ip::address& address);
    bool closeLongestIdle(const asio::ip::address* address);
    void stopListening();
    std::vector<Connection*> connections() const
    {
        return {mConnections.begin(), mConnections.end()};
    }
    void reportDrained();

    const Limits mLimits;
    asio::io_context& mContext;
    tcp::acceptor mAcceptor;
    std::optional<tcp::socket> mNext; // accepted, but waiting for a place
    asio::steady_timer mRetry;
    Handler mHandler;
    ErrorPage mErrorPage;
    std::unordered_set<Connection*> mConnections;
    std::function<void()> mDrained;
    bool mAccepting = false;
    bool mIsStopping = false;
};

bool Server::Impl::listen(const std::string& address, uint16_t port, std::string& problem)
{
    error_code error;
    const tcp::endpoint endpoint(asio::ip::make_address(address, error), port);
    if (!error) {
        mAcceptor.open(endpoint.protocol(), error);
    }
    if (!error) {
        mAcceptor.set_option(asio::socket_base::reuse_address(true), error);
    }
    if (!error) {
        mAcceptor.bind(endpoint, error);
    }
    if (!error) {
        mAcceptor.listen(asio::socket_base::max_listen_connections, error);
    }
    if (error) {
        problem = error.message();
        return false;
    }
    accept();
    return true;
}

uint16_t Server::Impl::port() const
{
    error_code error;
    return mAcceptor.local_endpoint(error).port();
}

// Closes the connection that has been idle for longest, of all or of those of one address; false
// when none is idle.
bool Server::Impl::closeLongestIdle(const asio::ip::address* address)
{
    using Since = std::pair<std::chrono::steady_clock::time_point, Connection*>;
    std::optional<Since> longest;
    for (Connection* connection : mConnections) {
        if (address != nullptr && connection->address() != *address) {
            continue;
        }
        const auto since = connection->idleSince();
        if (since && (!longest || *since < longest->first)) {
            longest = {*since, connection};
        }
    }
    if (longest) {
        longest->second->close();
    }
    return longest.has_value();
}

// Finds a place for a connection of this address, if need be that of the longest idle one; where
// the address has all its places, it is one of its own that ends.
Server::Impl::Place Server::Impl::placeFor(const asio::ip::address& address)
{
    const auto ofAddress =
        std::count_if(mConnections.begin(), mConnections.end(), [&](const Connection* connection) {
            return connection->address() == address;
        });
    if (static_cast<size_t>(ofAddress) >= mLimits.connectionsPerAddress) {
        return closeLongestIdle(&address) ? Place::Free : Place::Refused;
    }
    const bool isFull = mConnections.size() >= mLimits.connections;
    return !isFull || closeLongestIdle(nullptr) ? Place::Free : Place::NoneYet;
}

void Server::Impl::drain(std::function<void()> drained)
{
    stopListening();
    mDrained = std::move(drained);
    for (Connection* connection : connections()) {
        if (connection->idleSince()) {
            connection->close();
        }
    }
    reportDrained();
}

void Server::Impl::stop()
{
    stopListening();
    mDrained = nullptr;
    for (Connection* connection : connections()) {
        connection->close();
    }
}

void Server::Impl::stopListening()
{
    error_code ignored;
    mIsStopping = true;
    mAcceptor.close(ignored);
    mNext.reset();
    mRetry.cancel();
}

void Server::Impl::closed(Connection* connection)
{
    mConnections.erase(connection);
    reportDrained();
    admit();
}

void Server::Impl::reportDrained()
{
    if (mDrained && mConnections.empty()) {
        // Not from within a connection's destructor.
        asio::post(mContext, std::exchange(mDrained, nullptr));
    }
}

void Server::Impl::accept()
{
    if (mAccepting || mNext || !mAcceptor.is_open()) {
        return;
    }
    mAccepting = true;
    mAcceptor.async_accept([self = shared_from_this()](error_code error, tcp::socket socket) {
        self->mAccepting = false;
        self->accepted(error, std::move(socket));
    });
}

void Server::Impl::accepted(error_code error, tcp::socket socket)
{
    if (!mAcceptor.is_open()) {
        return;
    }
    if (!error) {
        mNext.emplace(std::move(socket));
        admit();
        return;
    }
    mRetry.expires_after(mLimits.acceptRetry);
    mRetry.async_wait([self = shared_from_this()](error_code waitError) {
        if (!waitError) {
            self->accept();
        }
    });
}

// Starts the connection that waits, if there is a place for it, and accepts the next.
void Server::Impl::admit()
{
    if (mNext) {
        error_code error;
        const asio::ip::address address = mNext->remote_endpoint(error).address();
        const Place place = error ? Place::Refused : placeFor(address);
        if (place == Place::NoneYet) {
            return;
        }
        tcp::socket socket = std::move(*mNext);
        mNext.reset();
        if (place == Place::Free) {
            startConnection(std::move(socket), address, shared_from_this());
        }
    }
    accept();
}

Server::Server(asio::io_context& context, Handler handler, ErrorPage errorPage,
               const Limits& limits)
    : mImpl(std::make_shared<Impl>(context, std::move(handler), std::move(errorPage), limits))
{}

// NOLINTNEXTLINE(bugprone-exception-escape): only for want of memory, which nobody survives here
// NOLINTNEXTLINE(bugprone-exception-escape): only cancelling a timer could throw, and it does not
Server::~Server()
{
    mImpl->stop();
}

bool Server::listen(const std::string& address, uint16_t port, std::string& problem)
{
    return mImpl->listen(address, port, problem);
}

uint16_t Server::port() const
{
    return mImpl->port();
}

void Server::drain(std::function<void()> drained)
{
    mImpl->drain(std::move(drained));
}

void Server::stop()
{
    mImpl->stop();
}

std::string_view findHeader(const std::vector<Header>& headers, std::string_view name)
{
    const auto sameLetter = [](char a, char b) {
        return std::tolower(static_cast<unsigned char>(a)) ==
               std::tolower(static_cast<unsigned char>(b));
    };
    for (const Header& header : headers) {
        if (std::equal(header.name.begin(), header.name.end(), name.begin(), name.end(),
                       sameLetter)) {
            return header.value;
        }
    }
    return {};
}

} // namespace httpd
