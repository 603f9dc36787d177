// The front's workers: hands each request to a worker that is free, and keeps those that wait in
// two bounded queues, one for what needs the CIM object manager and one for what the data cache
// answers, so that a slow object manager fills its own only.
//
// What waits for the same answer from the data cache is answered by one read: when it begins, for
// the first of them, the others wait for it at their places, and have their turn if it fails. It
// begins after all of them have come, so that it shows what was committed before each of them; who
// comes later waits for the next.
//
// Threads: everything runs in the one thread that runs the io_context.
#ifndef HOST_FRONT_WORKER_POOL_H_
#define HOST_FRONT_WORKER_POOL_H_

#include "front/supervisor.h"
#include "front/waiting_queue.h"
#include "front/worker_connection.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace host {

class WorkerPool
{
public:
    struct Events
    {
        std::function<void()> ready;                    // all first workers are ready
        std::function<void()> notReady;                 // a first worker ended before it was
        std::function<void(const std::string&)> failed; // the service cannot go on
    };

    // The link must outlive the pool.
    WorkerPool(boost::asio::io_context& context, SpawnerLink& spawner, unsigned int workers,
               std::chrono::seconds requestTimeout, Events events);
    ~WorkerPool(); // NOLINT(bugprone-exception-escape): see its definition
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;

    // Asks the spawner for the first workers.
    void start();

    // Takes a request, which has until the request timeout from now. It waits for a worker for half
    // of that at most, so that whoever begins with it has enough time left. One worker is kept for
    // what the data cache answers: as many requests as there are other workers may be at the CIM
    // object manager, more wait.
    // An action is never given to a second worker once one may have begun with it.
    void submit(Task task);

    // After a std::bad_alloc has left a handler: does what may have been left undone.
    void recover();

    // How it stands.
    struct Figures
    {
        uint64_t forked = 0; // workers, since the start
        size_t living = 0;
        size_t busy = 0;
        size_t waitingForCache = 0; // requests
        size_t waitingForCim = 0;
    };
    Figures figures() const;

    // Ends the work with the workers, and those that are at a request; requests still out are
    // dropped.
    void stop();

private:
    void addWorker(ControlMessage& forked);
    void dispatch();
    WaitingQueue* nextQueue();
    bool mayReadLiveNow() const;
    void refuseWhereHopeless();
    void serveQueues();
    void begin(WorkerConnection& worker, Task task);
    void ended(const Task& task, Outcome outcome, const httpd::Response& response);
    void takeBack(Task task, Declined reason);
    void removeWorker(const WorkerConnection& worker);
    void dropExpired();
    void dropAbandonedAhead();
    void armExpiryTimer();
    WaitingQueue& queueOf(const Task& task) { return task.needsCim ? mLiveQueue : mCachedQueue; }

    boost::asio::io_context& mContext;
    SpawnerLink& mSpawner;
    boost::asio::steady_timer mExpiryTimer;
    unsigned int mWanted;
    std::chrono::milliseconds mRequestTimeout;
    WorkerConnection::Events mWorkerEvents;
    Supervisor mSupervisor;
    std::vector<std::unique_ptr<WorkerConnection>> mWorkers;
    WaitingQueue mCachedQueue;
    WaitingQueue mLiveQueue;
    uint64_t mReads = 0; // that others may have waited for
};

} // namespace host

#endif
