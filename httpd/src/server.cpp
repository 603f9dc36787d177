#include "httpd/server.h"

#include "address_share.h"
#include "connection_set.h"
#include "handler_memory.h"
#include "httpd/field_text.h"
#include "httpd/freed_memory.h"

#include <boost/asio/bind_allocator.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <sys/resource.h>

#include <algorithm>
#include <deque>
#include <new>
#include <optional>
#include <utility>

namespace httpd {

namespace asio = boost::asio;
using asio::ip::tcp;
using boost::system::error_code;

namespace {

// From what size on a burst is one: below it the C library may keep what was freed.
constexpr size_t kBurstBytes = size_t{4} * 1024 * 1024;

constexpr int kAcceptsAtOnce = 16;

Limits limitsOfProcess(const Limits& limits)
{
    rlimit openFiles{};
    if (getrlimit(RLIMIT_NOFILE, &openFiles) != 0 || openFiles.rlim_cur == RLIM_INFINITY) {
        return limits;
    }
    // Of 64 bits everywhere, but the kernel does not go beyond those of an int.
    return withinOpenFiles(limits, static_cast<size_t>(openFiles.rlim_cur));
}

// The connection that has shown least for longest of those that have been compared.
struct Candidate
{
    Connection* connection = nullptr;
    std::optional<Standing> standing;

    void compareWith(const ConnectionSet::Members& others, bool mayArrive)
    {
        for (Connection* other : others) {
            const std::optional<Standing> theirs = other->standing();
            const bool isLeast =
                theirs && (!theirs->isArriving || mayArrive) && (!standing || *theirs < *standing);
            if (isLeast && !other->hasMoreToShow()) {
                connection = other;
                standing = theirs;
            }
        }
    }
};

} // namespace

class Server::Impl : public ConnectionOwner, public std::enable_shared_from_this<Server::Impl>
{
public:
    Impl(asio::io_context& context, Handler handler, ErrorPage errorPage, const Limits& limits)
        : mLimits(limitsOfProcess(limits)),
          mBudget(std::make_shared<MemoryBudget>(limits.clientMemoryBytes)),
          mContext(context),
          mAcceptor(context),
          mRetry(context),
          mLook(context),
          mHandler(std::move(handler)),
          mErrorPage(std::move(errorPage))
    {
        mBudget->setRoomMade([this] { roomMade(); });
    }
    ~Impl() override { mBudget->setRoomMade(nullptr); }
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    void setHeadJudge(HeadJudge judge) { mHeadJudge = std::move(judge); }
    void setObserver(Observer observer) { mObserver = std::move(observer); }
    size_t connections() const { return mConnections.size(); }
    bool listen(const std::string& address, uint16_t port, std::string& problem);
    uint16_t port() const;
    void drain(std::function<void()> drained);
    void stop();

    void handle(Request request, Reply reply) override
    {
        mHandler(std::move(request), std::move(reply));
    }
    std::optional<Response> judgeHead(const Request& request) override
    {
        return mHeadJudge ? mHeadJudge(request) : std::nullopt;
    }
    Response errorPage(unsigned int status) override { return mErrorPage(status); }
    void answered(const Exchange& exchange) noexcept override
    {
        if (mObserver) {
            mObserver(exchange);
        }
    }
    const Limits& limits() const override { return mLimits; }
    const std::shared_ptr<MemoryBudget>& budget() const override { return mBudget; }
    bool isStopping() const override { return mIsStopping; }
    void opened(Connection* connection) override { mConnections.insert(connection); }
    void becameIdle() override { admit(); }
    void awaitRoom(Connection* connection) override { mAwaitingRoom.push_back(connection); }
    void closed(Connection* connection) noexcept override;

private:
    void accept();
    void acceptSome();
    bool acceptOne();
    tcp::socket acceptNow(error_code& error);
    void retryLater();
    void admit();
    void placeNext();
    void startNext();
    void lookAgain();
    enum class Place { Free, NoneYet, Refused };
    Place placeFor(const std::string& share);
    void closeAbandoned();
    bool makeRoom(const std::string* share);
    void stopListening();
    void roomMade() noexcept;
    void useRoom();
    bool isAfterBurst() const;
    void reportDrained() noexcept;
    template <typename Handling>
    auto inMemory(HandlerMemory& memory, Handling handling)
    {
        return asio::bind_allocator(HandlerAllocator<void>(memory), std::move(handling));
    }

    const Limits mLimits;
    const std::shared_ptr<MemoryBudget> mBudget;
    HandlerMemory mAcceptMemory;
    HandlerMemory mRoomMemory;
    HandlerMemory mDrainedMemory;
    asio::io_context& mContext;
    tcp::acceptor mAcceptor;
    std::optional<tcp::socket> mNext; // accepted, but waiting for a place
    asio::steady_timer mRetry;
    asio::steady_timer mLook; // for a place that nobody gives up by himself
    Handler mHandler;
    HeadJudge mHeadJudge;
    Observer mObserver;
    ErrorPage mErrorPage;
    ConnectionSet mConnections;
    std::deque<Connection*> mAwaitingRoom; // the first to get it first
    std::chrono::steady_clock::time_point mLookedForAbandoned{};
    std::function<void()> mDrained;
    bool mIsAccepting = false;
    bool mIsLooking = false;
    bool mIsUsingRoom = false;
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
        mAcceptor.non_blocking(true, error);
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

// Closes the connection that has shown least for longest, of all or of those of one share; false
// when none may be closed.
bool Server::Impl::makeRoom(const std::string* share)
{
    Candidate candidate;
    if (share != nullptr) {
        candidate.compareWith(mConnections.ofShare(*share), true);
    } else {
        for (const auto& [ignored, connections] : mConnections.byShare()) {
            candidate.compareWith(connections, false);
        }
    }
    if (candidate.connection != nullptr) {
        candidate.connection->close();
    }
    return candidate.connection != nullptr;
}

// What waits for room is not read, and may be as many as there are places.
void Server::Impl::closeAbandoned()
{
    const auto now = std::chrono::steady_clock::now();
    if (now - mLookedForAbandoned < mLimits.acceptRetry) { // each costs a system call
        return;
    }
    mLookedForAbandoned = now;
    std::vector<Connection*> abandoned;
    std::copy_if(mAwaitingRoom.begin(), mAwaitingRoom.end(), std::back_inserter(abandoned),
                 [](const Connection* connection) { return connection->hasGone(); });
    for (Connection* connection : abandoned) {
        connection->close();
    }
}

// Finds a place for a connection of this share, if need be that of another one; where the share has
// all its places, it is one of its own that ends.
Server::Impl::Place Server::Impl::placeFor(const std::string& share)
{
    const auto isFull = [this] {
        return mConnections.size() >= mLimits.connections;
    };
    const auto isShareFull = [this, &share] {
        return mConnections.ofShare(share).size() >= mLimits.connectionsPerShare;
    };
    if (isFull() || isShareFull()) {
        closeAbandoned();
    }
    if (isShareFull()) {
        return makeRoom(&share) ? Place::Free : Place::Refused;
    }
    return !isFull() || makeRoom(nullptr) ? Place::Free : Place::NoneYet;
}

void Server::Impl::drain(std::function<void()> drained)
{
    stopListening();
    mDrained = std::move(drained);
    std::vector<Connection*> idle;
    for (const auto& [ignored, connections] : mConnections.byShare()) {
        std::copy_if(connections.begin(), connections.end(), std::back_inserter(idle),
                     [](const Connection* connection) { return connection->isIdle(); });
    }
    for (Connection* connection : idle) {
        connection->close();
    }
    reportDrained();
}

void Server::Impl::stop()
{
    stopListening();
    mDrained = nullptr;
    while (mConnections.size() > 0) {
        (*mConnections.byShare().begin()->second.begin())->close();
    }
}

void Server::Impl::stopListening()
{
    error_code ignored;
    mIsStopping = true;
    mAcceptor.close(ignored);
    mNext.reset();
    mRetry.cancel();
    mLook.cancel();
}

void Server::Impl::closed(Connection* connection) noexcept
{
    mConnections.erase(connection);
    mAwaitingRoom.erase(std::remove(mAwaitingRoom.begin(), mAwaitingRoom.end(), connection),
                        mAwaitingRoom.end());
    reportDrained();
    roomMade();
}

void Server::Impl::reportDrained() noexcept
{
    if (mDrained && mConnections.size() == 0) {
        // Not from within a connection's end.
        asio::post(mContext, inMemory(mDrainedMemory, [self = shared_from_this()] {
                       if (const auto drained = std::exchange(self->mDrained, nullptr)) {
                           drained();
                       }
                   }));
    }
}

// Memory has been given back, or a place: what waits for either goes on in a step of its own.
void Server::Impl::roomMade() noexcept
{
    const bool isWanted = mNext || !mAwaitingRoom.empty() || isAfterBurst();
    if (!isWanted || mIsUsingRoom) {
        return;
    }
    mIsUsingRoom = true;
    asio::post(mContext, inMemory(mRoomMemory, [self = shared_from_this()] {
                   self->mIsUsingRoom = false;
                   self->useRoom();
               }));
}

void Server::Impl::useRoom()
{
    while (!mAwaitingRoom.empty() && mAwaitingRoom.front()->takeRoom()) {
        Connection* connection = mAwaitingRoom.front();
        mAwaitingRoom.pop_front();
        connection->goOn();
    }
    if (isAfterBurst()) {
        mBudget->forgetMostHeld();
        returnFreedMemory();
    }
    admit();
}

bool Server::Impl::isAfterBurst() const
{
    return mBudget->mostHeld() >= kBurstBytes && mBudget->held() <= mBudget->mostHeld() / 4;
}

// The handler's memory is there whatever happens: this must go on.
void Server::Impl::accept()
{
    if (mIsAccepting || mNext || !mAcceptor.is_open()) {
        return;
    }
    mIsAccepting = true;
    mAcceptor.async_wait(tcp::acceptor::wait_read,
                         inMemory(mAcceptMemory, [self = shared_from_this()](error_code error) {
                             self->mIsAccepting = false;
                             if (!error) {
                                 self->acceptSome();
                             }
                         }));
}

tcp::socket Server::Impl::acceptNow(error_code& error)
{
    try {
        return mAcceptor.accept(mContext, error);
    } catch (const std::bad_alloc&) {
        error = asio::error::no_memory;
        return tcp::socket(mContext);
    }
}

// Several in one step: clients that come in crowds would keep the others waiting in the backlog.
void Server::Impl::acceptSome()
{
    for (int accepted = 0; accepted < kAcceptsAtOnce && acceptOne(); ++accepted) {
    }
    accept();
}

// Whether there may be another one to accept, and a place for it.
bool Server::Impl::acceptOne()
{
    error_code error;
    tcp::socket socket = acceptNow(error);
    const bool hasNoFile = error == asio::error::no_descriptors ||
                           error == boost::system::errc::too_many_files_open_in_system;
    if (hasNoFile && makeRoom(nullptr)) {
        socket = acceptNow(error);
    }
    if (!error) {
        mNext.emplace(std::move(socket));
        placeNext();
        return !mNext && mAcceptor.is_open();
    }
    if (error != asio::error::would_block && error != asio::error::connection_aborted) {
        retryLater();
    }
    return false;
}

void Server::Impl::retryLater()
{
    mIsAccepting = true;
    try {
        mRetry.expires_after(mLimits.acceptRetry);
        mRetry.async_wait(inMemory(mAcceptMemory, [self = shared_from_this()](error_code error) {
            self->mIsAccepting = false;
            if (!error) {
                self->accept();
            }
        }));
    } catch (const std::bad_alloc&) { // of the list of timers
        mIsAccepting = false;
        accept();
    }
}

// Starts the connection that waits, if there is a place for it, and accepts the next.
void Server::Impl::admit()
{
    placeNext();
    accept();
}

void Server::Impl::placeNext()
{
    try {
        startNext();
        if (mNext) {
            lookAgain();
        }
    } catch (const std::bad_alloc&) {
        mNext.reset();
    }
}

// Nothing happens when an answer has stalled for long enough.
void Server::Impl::lookAgain()
{
    if (mIsLooking) {
        return;
    }
    mLook.expires_after(mLimits.acceptRetry);
    mLook.async_wait([self = shared_from_this()](error_code error) {
        self->mIsLooking = false;
        if (!error) {
            self->admit();
        }
    });
    mIsLooking = true;
}

void Server::Impl::startNext()
{
    if (!mNext) {
        return;
    }
    error_code error;
    const tcp::endpoint client = mNext->remote_endpoint(error);
    const std::string share = shareOf(client.address());
    const Place place = error ? Place::Refused : placeFor(share);
    if (place == Place::NoneYet) {
        return;
    }
    tcp::socket socket = std::move(*mNext);
    mNext.reset();
    if (place == Place::Free) {
        startConnection(std::move(socket), share, shared_from_this());
    }
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

void Server::setHeadJudge(HeadJudge judge)
{
    mImpl->setHeadJudge(std::move(judge));
}

void Server::setObserver(Observer observer)
{
    mImpl->setObserver(std::move(observer));
}

size_t Server::connections() const
{
    return mImpl->connections();
}

const MemoryBudget& Server::memory() const
{
    return *mImpl->budget();
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
    const auto found = std::find_if(headers.begin(), headers.end(), [name](const Header& header) {
        return isSameWord(header.name, name);
    });
    return found == headers.end() ? std::string_view() : found->value;
}

} // namespace httpd
