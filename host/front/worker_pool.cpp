#include "front/worker_pool.h"

#include "host_limits.h"

#include <algorithm>
#include <utility>

namespace host {

namespace {

size_t bodyBytes(const WorkerRequest& request)
{
    const auto* const action = std::get_if<ActionRequest>(&request);
    return action == nullptr ? 0 : action->body.size();
}

} // namespace

WorkerPool::WorkerPool(boost::asio::io_context& context, SpawnerLink& spawner, unsigned int workers,
                       std::chrono::seconds requestTimeout, Events events)
    : mContext(context),
      mSpawner(spawner),
      mQueueTimer(context),
      mWanted(workers),
      mRequestTimeout(requestTimeout),
      mWorkerEvents{[this] {
                        mSupervisor.childReady();
                        serveQueue();
                    },
                    [this](Task task, Declined reason) { takeBack(std::move(task), reason); },
                    [this] {
                        mSupervisor.childWorked();
                        serveQueue();
                    },
                    [this](const WorkerConnection& worker) {
                        removeWorker(worker);
                    }},
      mSupervisor(context, spawner,
                  {workers, ControlKind::SpawnWorker, "", "a worker",
                   "a worker ended before it had a request"},
                  {[this](ControlMessage& forked) { addWorker(forked); }, std::move(events.ready),
                   std::move(events.notReady), [this] { refuseAll(); }, std::move(events.failed)})
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

void WorkerPool::stop()
{
    mSupervisor.stop();
    mQueueTimer.cancel();
    mQueue.clear();
    mWorkers.clear();
}

void WorkerPool::submit(WorkerRequest request, bool needsCim, Completion done)
{
    const auto until = std::chrono::steady_clock::now() + mRequestTimeout;
    if (!hasRoomFor(request) || mSupervisor.isWithoutHope()) {
        done(Outcome::Overloaded, {});
        return;
    }
    mQueue.push_back({std::move(request), std::move(done), until, needsCim});
    dispatch();
    armQueueTimer();
}

// Gives what waits to the workers that are free.
void WorkerPool::dispatch()
{
    for (size_t i = 0; i < mWorkers.size() && !mQueue.empty(); ++i) {
        WorkerConnection& worker = *mWorkers[i];
        if (!worker.isFree()) {
            continue;
        }
        const auto next = nextTask(mayReadLiveNow());
        if (next == mQueue.end()) {
            return;
        }
        Task task = std::move(*next);
        mQueue.erase(next);
        if (auto* const read = std::get_if<ReadRequest>(&task.request)) {
            read->mayReadLive = task.needsCim;
        }
        worker.assign(std::move(task));
    }
}

std::deque<Task>::iterator WorkerPool::nextTask(bool mayReadLive)
{
    return std::find_if(mQueue.begin(), mQueue.end(),
                        [mayReadLive](const Task& task) { return mayReadLive || !task.needsCim; });
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

bool WorkerPool::hasRoomFor(const WorkerRequest& request) const
{
    size_t bytes = bodyBytes(request);
    for (const Task& task : mQueue) {
        bytes += bodyBytes(task.request);
    }
    return mQueue.size() < kMaxWaiting && bytes <= kMaxWaitingBodyBytes;
}

void WorkerPool::refuseAll()
{
    if (!mSupervisor.isWithoutHope()) {
        return;
    }
    std::deque<Task> refused;
    refused.swap(mQueue);
    for (const Task& task : refused) {
        task.done(Outcome::Overloaded, {});
    }
}

void WorkerPool::serveQueue()
{
    dropExpired();
    dispatch();
}

// It keeps its turn: it has waited longest.
void WorkerPool::takeBack(Task task, Declined reason)
{
    task.needsCim = task.needsCim || reason == Declined::NeedsCim;
    mQueue.push_front(std::move(task));
    armQueueTimer();
}

void WorkerPool::removeWorker(const WorkerConnection& worker)
{
    const bool wasUsed = worker.wasUsed();
    std::erase_if(mWorkers, [&worker](const auto& one) { return one.get() == &worker; });
    mSupervisor.childGone(wasUsed);
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
    mQueueTimer.async_wait([this](boost::system::error_code error) {
        if (!error) {
            dropExpired();
            armQueueTimer();
        }
    });
}

} // namespace host
