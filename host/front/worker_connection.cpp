#include "front/worker_connection.h"

#include "host_limits.h"
#include "log.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/write.hpp>

namespace host {

namespace asio = boost::asio;
using boost::system::error_code;
using std::chrono::steady_clock;

Worker::Worker(WorkerPool& pool, asio::io_context& context, ControlMessage& message)
    : mPool(&pool),
      mSocket(context, asio::local::stream_protocol(), message.socket.release()),
      mDeadline(context),
      mId(message.id),
      mPid(message.pid)
{}

void Worker::start()
{
    armDeadline(steady_clock::now() + kReadyTimeout);
    awaitFrame();
}

void Worker::assign(Task task)
{
    mTask = std::move(task);
    mWasUsed = true;
    armDeadline(mTask->until);
    writeRequest(mTask->request);
}

void Worker::close()
{
    if (mPool == nullptr) {
        return;
    }
    if (mTask) {
        end(); // it would go on with what nobody waits for
    }
    error_code ignored;
    mPool = nullptr;
    mTask.reset();
    disarmDeadline();
    mSocket.close(ignored);
}

void Worker::armDeadline(steady_clock::time_point until)
{
    mDeadline.expires_at(until);
    mDeadline.async_wait([self = shared_from_this()](error_code error) {
        // A wait that had ended before it was cancelled comes without an error.
        if (!error && self->mDeadline.expiry() <= steady_clock::now()) {
            self->deadlinePassed();
        }
    });
}

void Worker::disarmDeadline()
{
    mDeadline.expires_at(steady_clock::time_point::max());
}

void Worker::writeRequest(const WorkerRequest& request)
{
    // Kept until it is written, which a worker need not wait for that answers what it has not read.
    const auto frame = std::make_shared<const std::string>(encodeRequest(request));
    // A worker that cannot take its request has ended; reading from it notices that.
    asio::async_write(
        mSocket, asio::buffer(*frame),
        [self = shared_from_this(), frame](error_code /*error*/, size_t /*bytes*/) {});
}

void Worker::awaitFrame()
{
    readFrame(mSocket, mFrame, [self = shared_from_this()](bool isRead) {
        if (isRead) {
            self->frameRead();
        } else {
            self->gone();
        }
    });
}

void Worker::frameRead()
{
    if (mPool == nullptr) {
        return;
    }
    if (mIsReady) {
        answerRead();
    } else if (isReady(mFrame.payload)) {
        mIsReady = true;
        disarmDeadline();
        awaitFrame();
        mPool->workerReady(*this);
    } else {
        gone();
    }
}

void Worker::answerRead()
{
    httpd::Response response;
    Declined reason{};
    if (mTask && !mIsEnding && decodeDeclined(mFrame.payload, reason)) {
        declined(reason);
        return;
    }
    if (!mTask || mIsEnding || !decodeResponse(mFrame.payload, response)) {
        gone();
        return;
    }
    // Memory of the largest answer so far is not kept for years.
    mFrame.payload = std::string();
    disarmDeadline();
    awaitFrame();
    complete(Outcome::Answered, std::move(response));
    if (mPool != nullptr) {
        mPool->workerFree(*this);
    }
}

void Worker::declined(Declined reason)
{
    Task task = std::move(*mTask);
    mTask.reset();
    disarmDeadline();
    mPool->workerDeclined(std::move(task), reason);
    if (reason == Declined::CacheReplaced) {
        log(Severity::Info,
            "worker " + std::to_string(mPid) + " makes way for one that opens the new data cache");
        mIsEnding = true; // by itself
        gone();
        return;
    }
    awaitFrame();
    mPool->workerFree(*this);
}

void Worker::deadlinePassed()
{
    if (mPool == nullptr || mIsEnding) {
        return;
    }
    log(Severity::Error,
        "worker " + std::to_string(mPid) +
            (mTask ? " passed the deadline of its request" : " does not get ready"));
    end();
    complete(Outcome::TooLate, {});
}

void Worker::end()
{
    if (!mIsEnding) {
        mIsEnding = true;
        mPool->mSpawner.end(mId);
    }
}

void Worker::gone()
{
    if (mPool == nullptr) {
        return;
    }
    const auto self = shared_from_this();
    WorkerPool& pool = *mPool;
    end(); // where it did not end by itself
    mPool = nullptr;
    disarmDeadline();
    error_code ignored;
    mSocket.close(ignored);
    complete(Outcome::WorkerEnded, {});
    pool.workerGone(*this);
}

void Worker::complete(Outcome outcome, httpd::Response response)
{
    if (mTask) {
        const Completion done = std::move(mTask->done);
        mTask.reset();
        done(outcome, std::move(response));
    }
}

} // namespace host
