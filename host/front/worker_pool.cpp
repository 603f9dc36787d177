#include "front/worker_pool.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace host {

namespace {

using std::chrono::steady_clock;

// Why no worker has had a request, for the log.
constexpr const char* kNoWorker = "no worker gets ready";
constexpr const char* kNoRoom = "too many requests wait for a worker";
constexpr const char* kNoTurn = "no worker was free within half of --request-timeout";

// Why it failed, or null where nobody waits any more: whoever has left does not see it fail. Memory
// that is short costs the remark, not the answer.
void refuse(const Task& task, const char* why)
{
    httpd::Response response;
    const bool isSeen = why != nullptr && !isAbandoned(task);
    try {
        response.remark = isSeen ? why : "";
    } catch (const std::bad_alloc&) { // NOLINT(bugprone-empty-catch)
    }
    finish(task, Outcome::Overloaded, std::move(response));
}

void refuse(const std::vector<Task>& tasks, const char* why)
{
    for (const Task& task : tasks) {
        refuse(task, why);
    }
}

} // namespace

WorkerPool::WorkerPool(boost::asio::io_context& context, SpawnerLink& spawner, unsigned int workers,
                       std::chrono::seconds requestTimeout, Events events)
    : mContext(context),
      mSpawner(spawner),
      mExpiryTimer(context),
      mWanted(workers),
      mRequestTimeout(requestTimeout),
      mWorkerEvents{[this] {
                        mSupervisor.childReady();
                        serveQueues();
                    },
                    [this](const Task& task, Outcome outcome, const httpd::Response& response) {
                        ended(task, outcome, response);
                    },
                    [this](Task task, Declined reason) { takeBack(std::move(task), reason); },
                    [this] {
                        mSupervisor.childWorked();
                        serveQueues();
                    },
                    [this](const WorkerConnection& worker) {
                        removeWorker(worker);
                    }},
      mSupervisor(context, spawner,
                  {workers, ControlKind::SpawnWorker, "", "a worker",
                   "a worker ended before it had a request"},
                  {[this](ControlMessage& forked) { addWorker(forked); }, std::move(events.ready),
                   std::move(events.notReady), [this] { refuseWhereHopeless(); },
                   std::move(events.failed)})
{}

// NOLINTNEXTLINE(bugprone-exception-escape): only cancelling a timer could throw, and it does not
WorkerPool::~WorkerPool()
{
    stop();
}

void WorkerPool::start()
{
    mSupervisor.start();
}

void WorkerPool::recover()
{
    mSupervisor.recover();
    mCachedQueue.releaseAll();
    serveQueues();
    armExpiryTimer();
}

void WorkerPool::stop()
{
    mSupervisor.stop();
    mExpiryTimer.cancel();
    (void)mCachedQueue.takeAll();
    (void)mLiveQueue.takeAll();
    mWorkers.clear();
}

WorkerPool::Figures WorkerPool::figures() const
{
    const auto busy = std::count_if(mWorkers.begin(), mWorkers.end(),
                                    [](const auto& worker) { return worker->isBusy(); });
    return {mSupervisor.forked(), mSupervisor.living(), static_cast<size_t>(busy),
            mCachedQueue.size(), mLiveQueue.size()};
}

void WorkerPool::submit(Task task)
{
    task.since = steady_clock::now();
    task.startsBy = task.since + mRequestTimeout / 2;
    task.until = task.since + mRequestTimeout;
    if (mSupervisor.isWithoutHope()) {
        refuse(task, kNoWorker);
        return;
    }
    WaitingQueue& queue = queueOf(task);
    refuse(queue.push(std::move(task)), kNoRoom);
    dispatch();
    armExpiryTimer();
}

// Gives what waits to the workers that are free.
void WorkerPool::dispatch()
{
    for (size_t i = 0; i < mWorkers.size(); ++i) {
        WorkerConnection& worker = *mWorkers[i];
        if (!worker.isFree()) {
            continue;
        }
        dropAbandonedAhead();
        WaitingQueue* const queue = nextQueue();
        if (queue == nullptr) {
            return;
        }
        begin(worker, queue->pop());
    }
}

void WorkerPool::begin(WorkerConnection& worker, Task task)
{
    if (auto* const read = readOf(task.request)) {
        read->mayReadLive = task.needsCim;
    }
    if (!task.sharedKey.empty() && !task.needsCim) {
        task.read = ++mReads;
        mCachedQueue.join(task.sharedKey, task.read);
    }
    worker.assign(std::move(task));
}

// Only what holds for all that wait for it is shared: the data cache's own answer. A worker that
// has ended becomes free, or makes way for another one, after this: then the others have their
// turn.
void WorkerPool::ended(const Task& task, Outcome outcome, const httpd::Response& response)
{
    if (task.read == 0) {
        return;
    }
    if (outcome != Outcome::Answered || response.status != httpd::kOk || !response.mayBeKept) {
        mCachedQueue.release(task.read);
        return;
    }
    for (const Task& joined : mCachedQueue.takeJoined(task.read)) {
        finishAlso(joined, response);
    }
}

// Where the request waits that has waited longest of those that may be begun now; null for none.
WaitingQueue* WorkerPool::nextQueue()
{
    const bool mayBeLive = !mLiveQueue.isEmpty() && mayReadLiveNow();
    const Task* const live = mayBeLive ? mLiveQueue.next() : nullptr;
    const Task* const cached = mCachedQueue.next();
    if (cached == nullptr) {
        return live == nullptr ? nullptr : &mLiveQueue;
    }
    return live != nullptr && live->since < cached->since ? &mLiveQueue : &mCachedQueue;
}

bool WorkerPool::mayReadLiveNow() const
{
    const auto live = std::count_if(mWorkers.begin(), mWorkers.end(),
                                    [](const auto& worker) { return worker->mayBeReadingLive(); });
    return mWanted == 1 || static_cast<size_t>(live) + 1 < mWanted;
}

void WorkerPool::addWorker(ControlMessage& forked)
{
    mWorkers.push_back(std::make_unique<WorkerConnection>(
        std::make_shared<Child>(mContext, mSpawner, forked), mWorkerEvents));
}

void WorkerPool::refuseWhereHopeless()
{
    if (mSupervisor.isWithoutHope()) {
        refuse(mCachedQueue.takeAll(), kNoWorker);
        refuse(mLiveQueue.takeAll(), kNoWorker);
    }
}

void WorkerPool::serveQueues()
{
    dropExpired();
    dispatch();
}

// It keeps its turn: it has waited longest.
void WorkerPool::takeBack(Task task, Declined reason)
{
    task.needsCim = task.needsCim || reason == Declined::NeedsCim;
    if (task.read != 0) {
        mCachedQueue.release(std::exchange(task.read, 0));
    }
    WaitingQueue& queue = queueOf(task);
    queue.putBack(std::move(task));
    armExpiryTimer();
}

void WorkerPool::removeWorker(const WorkerConnection& worker)
{
    const bool wasUsed = worker.wasUsed();
    std::erase_if(mWorkers, [&worker](const auto& one) { return one.get() == &worker; });
    mSupervisor.childGone(wasUsed);
    serveQueues();
}

void WorkerPool::dropExpired()
{
    const auto now = steady_clock::now();
    refuse(mCachedQueue.takeExpired(now), kNoTurn);
    refuse(mLiveQueue.takeExpired(now), kNoTurn);
}

void WorkerPool::dropAbandonedAhead()
{
    refuse(mCachedQueue.takeAbandonedAhead(), nullptr);
    refuse(mLiveQueue.takeAbandonedAhead(), nullptr);
}

void WorkerPool::armExpiryTimer()
{
    auto next = steady_clock::time_point::max();
    for (const WaitingQueue* queue : {&mCachedQueue, &mLiveQueue}) {
        next = queue->isEmpty() ? next : std::min(next, queue->nextExpiry());
    }
    if (next == steady_clock::time_point::max()) {
        return;
    }
    mExpiryTimer.expires_at(next);
    mExpiryTimer.async_wait([this](boost::system::error_code error) {
        if (!error) {
            dropExpired();
            armExpiryTimer();
        }
    });
}

} // namespace host
