#include "front/worker_pool.h"

#include "front/worker_connection.h"
#include "host_limits.h"
#include "log.h"

#include <algorithm>

namespace host {

namespace asio = boost::asio;
using boost::system::error_code;

WorkerPool::WorkerPool(asio::io_context& context, SpawnerLink& spawner, unsigned int workers,
                       std::chrono::seconds requestTimeout, Events events)
    : mContext(context),
      mSpawner(spawner),
      mRespawnTimer(context),
      mQueueTimer(context),
      mWanted(workers),
      mRequestTimeout(requestTimeout),
      mEvents(std::move(events))
{}

// NOLINTNEXTLINE(bugprone-exception-escape): only cancelling a timer could throw, and it does not
WorkerPool::~WorkerPool()
{
    stop();
}

void WorkerPool::start()
{
    for (unsigned int i = 0; i < mWanted; ++i) {
        requestWorker();
    }
}

void WorkerPool::submit(WorkerRequest request, Completion done)
{
    const auto until = std::chrono::steady_clock::now() + mRequestTimeout;
    if (!hasRoomFor(request) || isWithoutHope()) {
        done(Outcome::Overloaded, {});
        return;
    }
    const bool needsCim = request.kind == RequestKind::Action;
    mQueue.push_back({std::move(request), std::move(done), until, needsCim});
    dispatch();
    armQueueTimer();
}

// Gives what waits to the workers that are free.
void WorkerPool::dispatch()
{
    for (size_t i = 0; i < mWorkers.size() && !mQueue.empty(); ++i) {
        Worker& worker = *mWorkers[i];
        if (!worker.isFree()) {
            continue;
        }
        const bool mayReadLive = mayReadLiveNow();
        const auto next = nextTask(mayReadLive);
        if (next == mQueue.end()) {
            return;
        }
        Task task = std::move(*next);
        mQueue.erase(next);
        task.request.mayReadLive = mayReadLive && task.request.kind != RequestKind::OemData;
        worker.assign(std::move(task));
    }
}

std::deque<Task>::iterator WorkerPool::nextTask(bool mayReadLive)
{
    return std::find_if(mQueue.begin(), mQueue.end(),
                        [mayReadLive](const Task& task) { return mayReadLive || !task.needsCim; });
}

// Which requests are live shows only when a worker has read them: each that may be is counted.
bool WorkerPool::mayReadLiveNow() const
{
    const auto live = std::count_if(mWorkers.begin(), mWorkers.end(),
                                    [](const auto& worker) { return worker->mayBeReadingLive(); });
    return mWanted == 1 || static_cast<size_t>(live) + 1 < mWanted;
}

void WorkerPool::stop()
{
    mIsStopped = true;
    mRespawnTimer.cancel();
    mQueueTimer.cancel();
    mQueue.clear();
    for (const auto& worker : mWorkers) {
        worker->close();
    }
    mWorkers.clear();
}

void WorkerPool::workerSpawned(ControlMessage& message)
{
    --mRequested;
    if (mIsStopped) {
        return;
    }
    if (!message.socket.isOpen()) {
        noWorker("cannot fork a worker: " + message.text);
        return;
    }
    const auto worker = std::make_shared<Worker>(*this, mContext, message);
    mWorkers.push_back(worker);
    worker->start();
}

void WorkerPool::noWorker(const std::string& cause)
{
    if (mIsStarting) {
        mEvents.failed(cause);
    } else {
        log(Severity::Error, cause);
        replaceAfterPause();
    }
}

void WorkerPool::requestWorker()
{
    ++mRequested;
    mSpawner.spawn(ControlKind::SpawnWorker, {},
                   [this](ControlMessage& message) { workerSpawned(message); });
}

void WorkerPool::replaceAfterPause()
{
    mBackOff = std::clamp(mBackOff * 2, kFirstBackOff, kMaxBackOff);
    if (isWithoutHope()) {
        refuseAll();
    }
    mRespawnTimer.expires_after(mBackOff);
    mRespawnTimer.async_wait([this](error_code error) {
        if (error || mIsStopped) {
            return;
        }
        while (mWorkers.size() + mRequested < mWanted) {
            requestWorker();
        }
    });
}

bool WorkerPool::hasRoomFor(const WorkerRequest& request) const
{
    size_t bodyBytes = request.body.size();
    for (const Task& task : mQueue) {
        bodyBytes += task.request.body.size();
    }
    return mQueue.size() < kMaxWaiting && bodyBytes <= kMaxWaitingBodyBytes;
}

bool WorkerPool::isWithoutHope() const
{
    return mWorkers.empty() && mRequested == 0 && mBackOff > kMaxWaitedBackOff;
}

void WorkerPool::refuseAll()
{
    std::deque<Task> refused;
    refused.swap(mQueue);
    for (const Task& task : refused) {
        task.done(Outcome::Overloaded, {});
    }
}

void WorkerPool::becomeReady()
{
    mIsStarting = false;
    mEvents.ready();
}

void WorkerPool::workerReady(Worker& worker)
{
    if (mIsStarting && ++mReady == mWanted) {
        becomeReady();
    }
    workerFree(worker);
}

void WorkerPool::workerFree(Worker& worker)
{
    if (worker.wasUsed()) {
        mBackOff = {};
    }
    dropExpired();
    dispatch();
}

// It keeps its turn: it has waited longest.
void WorkerPool::workerDeclined(Task task, Declined reason)
{
    task.needsCim = task.needsCim || reason == Declined::NeedsCim;
    mQueue.push_front(std::move(task));
    armQueueTimer();
}

void WorkerPool::workerGone(const Worker& worker)
{
    std::erase_if(mWorkers, [&worker](const auto& one) { return one.get() == &worker; });
    if (worker.wasUsed()) {
        requestWorker(); // a request has ended it, most likely: the next one finds a fresh worker
    } else if (mIsStarting) {
        if (mEvents.notReady()) {
            becomeReady();
            replaceAfterPause();
        }
    } else {
        log(Severity::Error, "a worker ended before it had a request");
        replaceAfterPause();
    }
}

void WorkerPool::dropExpired()
{
    const auto now = std::chrono::steady_clock::now();
    while (!mQueue.empty() && mQueue.front().until <= now) {
        const Task late = std::move(mQueue.front());
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
