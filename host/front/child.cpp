#include "front/child.h"

#include "host_limits.h"
#include "log.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/write.hpp>

#include <new>
#include <utility>

namespace host {

namespace asio = boost::asio;
using boost::system::error_code;
using std::chrono::steady_clock;

Child::Child(asio::io_context& context, SpawnerLink& spawner, ControlMessage& forked)
    : mSpawner(spawner),
      mSocket(context, asio::local::stream_protocol(), forked.descriptor.release()),
      mDeadline(context),
      mWatch(context),
      mId(forked.id),
      mPid(forked.pid)
{}

void Child::start(Events events)
{
    mEvents = std::move(events);
    setDeadline(steady_clock::now() + kReadyTimeout);
    awaitFrame();
}

void Child::send(std::string frame)
{
    append({std::move(frame)});
}

void Child::watch(std::chrono::milliseconds pause)
{
    mWatchPause = pause;
    askLater();
}

void Child::recover()
{
    if (mWatchPause.count() > 0 && !mIsClosed) {
        askLater();
    }
}

void Child::askLater()
{
    mWatch.expires_after(mWatchPause);
    mWatch.async_wait([self = shared_from_this()](error_code error) {
        if (!error && !self->mIsClosed && !self->mIsEnding) {
            self->askWhetherItLives();
        }
    });
}

void Child::askWhetherItLives()
{
    if (mSilence == kMaxQueueSilence) {
        log(Severity::Error,
            "process " + std::to_string(mPid) + " does not answer: it is replaced");
        end();
        return;
    }
    ++mSilence;
    append({encodePing(), true});
    askLater();
}

void Child::append(Frame frame)
{
    if (mIsClosed) {
        return;
    }
    try {
        mUnsent.push_back(std::move(frame));
        if (mUnsent.size() == 1) {
            writeNext();
        }
    } catch (const std::bad_alloc&) {
        end();
    }
}

void Child::writeNext()
{
    asio::async_write(mSocket, asio::buffer(mUnsent.front().bytes),
                      [self = shared_from_this()](error_code error, size_t /*bytes*/) {
                          if (error || self->mIsClosed) {
                              return; // reading notices that the process has ended
                          }
                          self->frameWritten();
                      });
}

void Child::frameWritten()
{
    const bool isPing = mUnsent.front().isPing;
    mUnsent.pop_front();
    if (!mUnsent.empty()) {
        try {
            writeNext();
        } catch (const std::bad_alloc&) {
            end();
        }
    }
    if (!isPing) {
        mEvents.sent();
    }
}

void Child::setDeadline(steady_clock::time_point until)
{
    mDeadline.expires_at(until);
    mDeadline.async_wait([self = shared_from_this()](error_code error) {
        // A wait that had ended before it was cancelled comes without an error.
        if (!error && !self->mIsClosed && self->mDeadline.expiry() <= steady_clock::now()) {
            self->mEvents.late();
        }
    });
}

void Child::clearDeadline()
{
    mDeadline.expires_at(steady_clock::time_point::max());
}

void Child::awaitFrame()
{
    readFrame(mSocket, mFrame, [self = shared_from_this()](bool isRead) {
        if (self->mIsClosed) {
            return;
        }
        if (isRead) {
            self->frameRead();
        } else {
            self->end(); // where it did not end by itself
            self->giveUp();
        }
    });
}

void Child::frameRead()
{
    // Taken out: memory of the largest frame so far is not kept for years.
    std::string payload = std::exchange(mFrame.payload, {});
    if (mSilence > 0 && isPing(payload)) {
        mSilence = 0;
        awaitFrame();
    } else if (mIsReady) {
        awaitFrame();
        mEvents.frame(std::move(payload));
    } else if (host::isReady(payload)) {
        mIsReady = true;
        clearDeadline();
        awaitFrame();
        mEvents.ready();
    } else {
        end();
        giveUp();
    }
}

void Child::end()
{
    if (!std::exchange(mIsEnding, true)) {
        mSpawner.end(mId);
    }
}

void Child::giveUp()
{
    if (!mIsClosed) {
        const auto self = shared_from_this(); // whoever is told may let go of it
        close();
        mEvents.gone();
    }
}

void Child::close()
{
    mIsClosed = true;
    clearDeadline();
    mWatch.cancel();
    error_code ignored;
    mSocket.close(ignored);
}

} // namespace host
