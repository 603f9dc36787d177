#include "worker_connection.h"

#include "log.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/write.hpp>

namespace host {

namespace asio = boost::asio;
using boost::system::error_code;

Worker::Worker(WorkerPool& pool, asio::io_context& context, pid_t pid, FileDescriptor socket)
    : mPool(&pool),
      mSocket(context, asio::local::stream_protocol(), socket.release()),
      mDeadline(context),
      mPid(pid)
{}

void Worker::start()
{
    readFrame();
}

void Worker::assign(const WorkerRequest& request, Completion done, std::chrono::seconds timeout)
{
    mDone = std::move(done);
    mRequest = encodeRequest(request);
    mDeadline.expires_after(timeout);
    mDeadline.async_wait([self = shared_from_this()](error_code error) {
        if (!error) {
            self->deadlinePassed();
        }
    });
    writeRequest();
}

void Worker::close()
{
    error_code ignored;
    mPool = nullptr;
    mDone = nullptr;
    mDeadline.cancel();
    mSocket.close(ignored);
}

void Worker::writeRequest()
{
    // A worker that cannot take its request has ended; reading from it notices that.
    asio::async_write(mSocket, asio::buffer(mRequest),
                      [self = shared_from_this()](error_code /*error*/, size_t /*bytes*/) {});
}

void Worker::readFrame()
{
    asio::async_read(mSocket, asio::buffer(mHeader),
                     [self = shared_from_this()](error_code error, size_t /*bytes*/) {
                         uint32_t bytes = 0;
                         if (error || !decodeLength(self->mHeader, bytes)) {
                             self->gone();
                         } else {
                             self->readPayload(bytes);
                         }
                     });
}

void Worker::readPayload(uint32_t bytes)
{
    mPayload.resize(bytes);
    asio::async_read(mSocket, asio::buffer(mPayload),
                     [self = shared_from_this()](error_code error, size_t /*bytes*/) {
                         if (error) {
                             self->gone();
                         } else {
                             self->frameRead();
                         }
                     });
}

void Worker::frameRead()
{
    if (mPool == nullptr) {
        return;
    }
    if (!mIsReady) {
        if (!isReady(mPayload)) {
            gone();
            return;
        }
        mIsReady = true;
        readFrame();
        mPool->workerReady(*this);
        return;
    }
    httpd::Response response;
    if (!mDone || mIsTooLate || !decodeResponse(mPayload, response)) {
        gone();
        return;
    }
    // Memory of the largest answer so far is not kept for years.
    mPayload = std::string();
    mDeadline.cancel();
    readFrame();
    complete(Outcome::Answered, std::move(response));
    if (mPool != nullptr) {
        mPool->workerFree(*this);
    }
}

void Worker::deadlinePassed()
{
    if (mPool == nullptr || !mDone) {
        return;
    }
    log(Severity::Error, "worker " + std::to_string(mPid) + " passed the deadline of its request");
    mIsTooLate = true;
    mPool->endWorker(mPid);
    complete(Outcome::TooLate, {});
}

void Worker::gone()
{
    if (mPool == nullptr) {
        return;
    }
    WorkerPool& pool = *mPool;
    const auto self = shared_from_this();
    mPool = nullptr;
    mDeadline.cancel();
    error_code ignored;
    mSocket.close(ignored);
    pool.endWorker(mPid); // where it did not end by itself
    complete(Outcome::WorkerEnded, {});
    pool.workerGone(*this, mIsReady);
}

void Worker::complete(Outcome outcome, httpd::Response response)
{
    if (mDone) {
        const Completion done = std::exchange(mDone, nullptr);
        done(outcome, std::move(response));
    }
}

} // namespace host
