// How a connection is served, in steps between which it waits for its socket.
//
// Nothing here leaves an allocation to a library's own steps between two handlers: where memory
// runs out it must be this connection that ends. Hence sockets are waited for, and read and written
// where guarded() stands around it.
#ifndef HTTPD_HTTP_CONNECTION_H_
#define HTTPD_HTTP_CONNECTION_H_

#include "client_presence.h"
#include "connection.h"
#include "request_parser.h"

#include <boost/asio/steady_timer.hpp>
#include <boost/beast/core/flat_buffer.hpp>

#include <chrono>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <utility>

namespace httpd {

using Clock = std::chrono::steady_clock;

// A body or an answer that is no larger than this takes memory as a head does.
inline constexpr size_t kSmallBytes = size_t{16} * 1024;

// What an open connection costs before anything is read: itself, its socket and its timer.
inline constexpr size_t kConnectionBytes = 2048;

// Whoever is at the other end, also once the connection is no more.
class ConnectedClient : public Client
{
public:
    ConnectedClient(int socket, std::string share) : mSocket(socket), mShare(std::move(share)) {}

    bool hasGone() const override { return mSocket < 0 || hasClientGone(mSocket); }
    const std::string& share() const override { return mShare; }
    void closed() { mSocket = -1; }

private:
    int mSocket;
    const std::string mShare;
};

class HttpConnection : public Connection, public std::enable_shared_from_this<HttpConnection>
{
public:
    HttpConnection(boost::asio::ip::tcp::socket socket, const std::string& share,
                   std::shared_ptr<ConnectionOwner> owner)
        : mSocket(std::move(socket)),
          mTimer(mSocket.get_executor()),
          mOwner(std::move(owner)),
          mLimits(mOwner->limits()),
          mClient(std::make_shared<ConnectedClient>(mSocket.native_handle(), share)),
          mBuffer(mLimits.headerBytes + mLimits.readAheadBytes),
          mInputMemory(mOwner->budget()),
          mAnswerMemory(mOwner->budget())
    {
        mInputMemory.force(kConnectionBytes);
        mOwner->opened(this);
    }
    // NOLINTNEXTLINE(bugprone-exception-escape): cancelling a timer does not throw
    ~HttpConnection() override { end(); }
    HttpConnection(const HttpConnection&) = delete;
    HttpConnection& operator=(const HttpConnection&) = delete;

    void start();
    void close() override { end(); }
    std::optional<Standing> standing() const override;
    bool hasMoreToShow() const override;
    bool isIdle() const override { return mStep == Step::Idle && !hasInput(); }
    bool takeRoom() override { return mStep != Step::AwaitsRoom || hasRoomForBody(); }
    void goOn() override;
    bool hasGone() const override { return mClient->hasGone(); }
    const std::string& share() const override { return mClient->share(); }

private:
    enum class Step { Idle, Head, Body, AwaitsRoom, Answering, Writing, Lingering, Closed };
    using Action = void (HttpConnection::*)();

    template <typename Guarded>
    void guarded(Guarded action);
    void end();
    void armTimer(Clock::duration timeout, Action expired);
    void disarmTimer();
    void requestTimedOut();

    void nextRequest();
    void queueRequest();
    void awaitInput();
    void inputCame();
    bool hasInput() const;
    bool isNewerThan(Clock::duration time) const;
    bool readSome(size_t bytes);
    void inputEnded();
    std::string_view unread() const;
    void releaseInput();

    void readHead();
    void takeHead();
    void awaitRestOfHead();
    void parseHead(size_t bytes);
    void judge();
    void beginBody();
    bool sendContinue();
    void readBody();
    void takeBody();
    bool hasRoomForBody();
    void growBody();
    void dispatch();
    void refuse(unsigned int status);
    void respond(Response response);

    void write(Response response);
    void writeSome();
    std::string_view answerBody() const;
    void awaitOutput();
    void written();
    void linger();

    void noteRequest();
    void tellOf(bool isSent) noexcept;

    boost::asio::ip::tcp::socket mSocket;
    boost::asio::steady_timer mTimer;
    std::shared_ptr<ConnectionOwner> mOwner;
    const Limits& mLimits;
    std::shared_ptr<ConnectedClient> mClient;
    Step mStep = Step::Idle;
    Clock::time_point mSince = Clock::now(); // when the step began that standing() tells of
    boost::beast::flat_buffer mBuffer;
    size_t mSeenBytes = 0; // of a head in the buffer: the end is not among them
    MemoryShare mInputMemory;
    std::unique_ptr<RequestParser> mParser;
    Request mRequest;
    size_t mHeadMemory = 0;
    std::shared_ptr<MemoryShare> mRequestMemory;
    std::string mAnswerHead;
    std::shared_ptr<const std::string> mAnswerBody; // null where none is sent
    size_t mWrittenBytes = 0;
    Exchange mExchange;         // what the observer will be told
    Clock::time_point mBegun{}; // when its request did; not set while there is none
    MemoryShare mAnswerMemory;
    size_t mLingerBytes = 0;
    unsigned int mVersion = 11;
    bool mHasAnswered = false; // a request
    bool mKeepAlive = false;
    bool mIsHead = false;
    bool mAwaitsInput = false;
    bool mIsQueued = false; // the next request came with the last one
};

// Every handler of a connection runs in here, and so do those of the server's user that it calls:
// an allocation that fails ends the connection that it was for.
template <typename Guarded>
void HttpConnection::guarded(Guarded action)
{
    try {
        action();
    } catch (const std::bad_alloc&) {
        end();
    }
}

} // namespace httpd

#endif
