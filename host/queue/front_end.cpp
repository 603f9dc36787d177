#include "queue/front_end.h"

#include "host_limits.h"
#include "log.h"
#include "wire/frame_io.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/write.hpp>

#include <algorithm>
#include <deque>
#include <utility>

namespace host {

namespace asio = boost::asio;
using boost::system::error_code;

// One process that holds the endpoint, as the front sees it.
class OemConnection : public std::enable_shared_from_this<OemConnection>
{
public:
    OemConnection(OemServer& server, asio::io_context& context, ControlMessage& message)
        : mServer(&server),
          mSocket(context, asio::local::stream_protocol(), message.socket.release()),
          mReadyTimer(context),
          mId(message.id)
    {}

    uint32_t id() const { return mId; }
    bool isIdle() const { return mUnanswered == 0; }

    void start();
    void close();

private:
    void armReadyTimer();
    void awaitFrame();
    void frameRead();
    void take(uint32_t number, const std::string& request);
    void answer(uint32_t number, const std::string& text);
    void writeNext();
    void written();
    void gone();

    OemServer* mServer; // null once closed
    asio::local::stream_protocol::socket mSocket;
    asio::steady_timer mReadyTimer;
    uint32_t mId;
    FrameBuffer mFrame;
    std::deque<std::string> mAnswers; // the first is being written
    size_t mUnanswered = 0;           // requests whose answers are not written yet
    bool mIsReady = false;
};

void OemConnection::start()
{
    armReadyTimer();
    awaitFrame();
}

// A path on a file system that hangs would never be opened.
void OemConnection::armReadyTimer()
{
    mReadyTimer.expires_after(kReadyTimeout);
    mReadyTimer.async_wait([self = shared_from_this()](error_code error) {
        if (!error && self->mServer != nullptr && !self->mIsReady) {
            self->gone();
        }
    });
}

void OemConnection::awaitFrame()
{
    readFrame(mSocket, mFrame, [self = shared_from_this()](bool isRead) {
        if (self->mServer == nullptr) {
            return;
        }
        if (isRead) {
            self->frameRead();
        } else {
            self->gone();
        }
    });
}

void OemConnection::close()
{
    mServer = nullptr;
    mReadyTimer.cancel();
    error_code ignored;
    mSocket.close(ignored);
}

void OemConnection::frameRead()
{
    uint32_t number = 0;
    std::string request;
    if (!mIsReady && isReady(mFrame.payload)) {
        mIsReady = true;
        mReadyTimer.cancel();
        mServer->endpointReady();
    } else if (mIsReady && decodeNumbered(mFrame.payload, number, request)) {
        take(number, request);
    } else {
        gone();
    }
    if (mServer != nullptr) {
        awaitFrame();
    }
}

void OemConnection::take(uint32_t number, const std::string& request)
{
    if (mServer->mIsDraining) {
        return;
    }
    ++mUnanswered;
    mServer->mHandler(request, [weak = weak_from_this(), number](const std::string& text) {
        if (const auto self = weak.lock(); self && self->mServer != nullptr) {
            self->answer(number, text);
        }
    });
}

void OemConnection::answer(uint32_t number, const std::string& text)
{
    mAnswers.push_back(encodeNumbered(number, text));
    if (mAnswers.size() == 1) {
        writeNext();
    }
}

void OemConnection::writeNext()
{
    asio::async_write(mSocket, asio::buffer(mAnswers.front()),
                      [self = shared_from_this()](error_code error, size_t /*bytes*/) {
                          if (!error && self->mServer != nullptr) {
                              self->written();
                          } // reading notices that the process has ended
                      });
}

void OemConnection::written()
{
    mAnswers.pop_front();
    --mUnanswered;
    if (!mAnswers.empty()) {
        writeNext();
    }
    mServer->answerSent();
}

void OemConnection::gone()
{
    OemServer& server = *mServer;
    close();
    server.endpointGone();
}

OemServer::OemServer(asio::io_context& context, SpawnerLink& spawner, std::string endpoint,
                     Handler handler, Events events)
    : mContext(context),
      mSpawner(spawner),
      mEndpoint(std::move(endpoint)),
      mHandler(std::move(handler)),
      mEvents(std::move(events)),
      mRespawnTimer(context)
{}

// NOLINTNEXTLINE(bugprone-exception-escape): only cancelling a timer could throw, and it does not
OemServer::~OemServer()
{
    stop();
}

void OemServer::start()
{
    spawn();
}

void OemServer::drain(std::function<void()> drained)
{
    mIsDraining = true;
    mDrained = std::move(drained);
    if (mConnection == nullptr || mConnection->isIdle()) {
        tellDrained();
    }
}

void OemServer::tellDrained()
{
    if (const auto drained = std::exchange(mDrained, nullptr)) {
        drained();
    }
}

void OemServer::stop()
{
    mIsStopped = true;
    mRespawnTimer.cancel();
    if (mConnection != nullptr) {
        mConnection->close();
        mConnection.reset();
    }
}

void OemServer::spawn()
{
    mSpawner.spawn(ControlKind::SpawnOemEndpoint, mEndpoint,
                   [this](ControlMessage& message) { spawned(message); });
}

void OemServer::spawned(ControlMessage& message)
{
    if (mIsStopped) {
        return;
    }
    if (!message.socket.isOpen()) {
        log(Severity::Error, "cannot fork a process for " + mEndpoint + ": " + message.text);
        spawnAfterPause();
        return;
    }
    mConnection = std::make_shared<OemConnection>(*this, mContext, message);
    mConnection->start();
}

void OemServer::spawnAfterPause()
{
    if (mIsStarting) {
        mEvents.failed("cannot open " + mEndpoint +
                       ", as said above; name another endpoint with "
                       "--oem-endpoint");
        return;
    }
    mBackOff = std::clamp(mBackOff * 2, kFirstBackOff, kMaxBackOff);
    mRespawnTimer.expires_after(mBackOff);
    mRespawnTimer.async_wait([this](error_code error) {
        if (!error && !mIsDraining) {
            spawn();
        }
    });
}

void OemServer::endpointReady()
{
    if (mIsStarting) {
        mIsStarting = false;
        mEvents.ready();
    }
}

void OemServer::answerSent()
{
    mBackOff = {};
    if (mIsDraining && mConnection->isIdle()) {
        tellDrained();
    }
}

void OemServer::endpointGone()
{
    mSpawner.end(mConnection->id()); // where it did not end by itself
    mConnection.reset();
    if (mIsDraining) {
        tellDrained();
        return;
    }
    log(Severity::Error, "the process that holds " + mEndpoint + " has ended");
    spawnAfterPause();
}

} // namespace host
