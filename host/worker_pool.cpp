#include "worker_pool.h"

#include "log.h"
#include "worker_connection.h"

#include <algorithm>

namespace host {

namespace asio = boost::asio;
using boost::system::error_code;

namespace {

// Requests that may wait for a worker: what a few clients send at once. More only wait to be late.
constexpr size_t kMaxWaiting = 128;

// Pause before a worker is replaced that ended before it was ready, doubled each time: a cache that
// cannot be opened must not cost a process every millisecond.
constexpr std::chrono::milliseconds kFirstBackOff{100};
constexpr std::chrono::milliseconds kMaxBackOff{5000};

} // namespace

WorkerPool::WorkerPool(asio::io_context& context, int control, unsigned int workers,
                       std::chrono::seconds requestTimeout, Events events)
    : mContext(context),
      mControl(context, control),
      mRespawnTimer(context),
      mQueueTimer(context),
      mWanted(workers),
      mRequestTimeout(requestTimeout),
      mEvents(std::move(events))
{
    mControl.native_non_blocking(true);
}

WorkerPool::~WorkerPool()
{
    stop();
    (void)mControl.release(); // belongs to whoever gave it
}

void WorkerPool::start()
{
    awaitControl();
    for (unsigned int i = 0; i < mWanted; ++i) {
        requestWorker();
    }
}

void WorkerPool::submit(WorkerRequest request, Completion done)
{
    const auto free = std::find_if(mWorkers.begin(), mWorkers.end(),
                                   [](const auto& worker) { return worker->isFree(); });
    if (free != mWorkers.end()) {
        (*free)->assign(request, std::move(done), mRequestTimeout);
    } else if (mQueue.size() >= kMaxWaiting) {
        done(Outcome::Overloaded, {});
    } else {
        mQueue.push_back({std::move(request), std::move(done),
                          std::chrono::steady_clock::now() + mRequestTimeout});
        armQueueTimer();
    }
}

void WorkerPool::stop()
{
    mIsStopped = true;
    mRespawnTimer.cancel();
    mQueueTimer.cancel();
    error_code ignored;
    mControl.cancel(ignored);
    mQueue.clear();
    for (const auto& worker : mWorkers) {
        worker->close();
    }
    mWorkers.clear();
}

void WorkerPool::awaitControl()
{
    mControl.async_wait(asio::posix::stream_descriptor::wait_read, [this](error_code error) {
        if (!error && !mIsStopped) {
            controlReadable();
        }
    });
}

void WorkerPool::controlReadable()
{
    ControlMessage message;
    const Received received = receiveControl(mControl.native_handle(), message);
    if (received == Received::Gone) {
        mEvents.failed("the spawner has ended");
        return;
    }
    if (received == Received::Message) {
        handleControl(message);
    }
    if (!mIsStopped) {
        awaitControl();
    }
}

void WorkerPool::handleControl(ControlMessage& message)
{
    if (message.kind == ControlKind::Worker) {
        const auto worker =
            std::make_shared<Worker>(*this, mContext, message.pid, std::move(message.socket));
        mWorkers.push_back(worker);
        worker->start();
    } else if (message.kind == ControlKind::NoWorker) {
        spawnFailed("cannot fork a worker: " + message.text);
    }
}

void WorkerPool::requestWorker()
{
    ControlMessage message;
    message.kind = ControlKind::Spawn;
    if (!sendControl(mControl.native_handle(), message)) {
        log(Severity::Error, "the spawner does not take requests");
    }
}

void WorkerPool::spawnFailed(const std::string& cause)
{
    if (mIsStarting) {
        mEvents.cannotStart(cause);
        return;
    }
    log(Severity::Error, cause);
    mBackOff = std::clamp(mBackOff * 2, kFirstBackOff, kMaxBackOff);
    scheduleRespawn();
}

void WorkerPool::scheduleRespawn()
{
    mRespawnTimer.expires_after(mBackOff);
    mRespawnTimer.async_wait([this](error_code error) {
        if (error) {
            return;
        }
        for (size_t have = mWorkers.size(); have < mWanted; ++have) {
            requestWorker();
        }
    });
}

void WorkerPool::workerReady(Worker& worker)
{
    mBackOff = std::chrono::milliseconds(0);
    if (mIsStarting && ++mReady == mWanted) {
        mIsStarting = false;
        mEvents.ready();
    }
    workerFree(worker);
}

void WorkerPool::workerFree(Worker& worker)
{
    dropExpired();
    if (!mQueue.empty() && worker.isFree()) {
        Waiting next = std::move(mQueue.front());
        mQueue.pop_front();
        worker.assign(next.request, std::move(next.done), mRequestTimeout);
    }
}

void WorkerPool::workerGone(Worker& worker, bool wasReady)
{
    const auto isIt = [&worker](const auto& one) {
        return one.get() == &worker;
    };
    mWorkers.erase(std::remove_if(mWorkers.begin(), mWorkers.end(), isIt), mWorkers.end());
    if (wasReady) {
        requestWorker();
    } else {
        spawnFailed("a worker ended before it was ready");
    }
}

void WorkerPool::endWorker(pid_t pid)
{
    ControlMessage message;
    message.kind = ControlKind::Kill;
    message.pid = pid;
    (void)sendControl(mControl.native_handle(), message);
}

void WorkerPool::dropExpired()
{
    const auto now = std::chrono::steady_clock::now();
    while (!mQueue.empty() && mQueue.front().until <= now) {
        const Waiting late = std::move(mQueue.front());
        mQueue.pop_front();
        late.done(Outcome::Overloaded, {});
    }
}

void WorkerPool::armQueueTimer()
{
    if (mQueue.empty()) {
        return;
    }
    mQueueTimer.expires_at(mQueue.front().until);
    mQueueTimer.async_wait([this](error_code error) {
        if (!error) {
            dropExpired();
            armQueueTimer();
        }
    });
}

} // namespace host
