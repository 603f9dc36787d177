// The front's workers: hands each request to a worker that is free, and keeps a bounded queue of
// those that wait.
//
// Threads: everything runs in the one thread that runs the io_context.
#ifndef HOST_FRONT_WORKER_POOL_H_
#define HOST_FRONT_WORKER_POOL_H_

#include "front/supervisor.h"
#include "front/task.h"
#include "front/worker_connection.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>

#include <chrono>
#include <deque>
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
        std::function<bool()> notReady;                 // a first worker ended before it was:
                                                        // true to go on and try again
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

    // Takes a request, which has until the request timeout from now, waiting included; needsCim as
    // far as is known. One worker is kept for what the data cache answers: as many requests as
    // there are other workers may be at the CIM object manager, more wait.
    // An action is never given to a second worker once one may have begun with it.
    void submit(WorkerRequest request, bool needsCim, Completion done);

    // Ends the work with the workers, and those that are at a request; requests still out are
    // dropped.
    void stop();

private:
    void addWorker(ControlMessage& forked);
    void dispatch();
    std::deque<Task>::iterator nextTask(bool mayReadLive);
    bool mayReadLiveNow() const;
    bool hasRoomFor(const WorkerRequest& request) const;
    void refuseAll();
    void serveQueue();
    void takeBack(Task task, Declined reason);
    void removeWorker(const WorkerConnection& worker);
    void dropExpired();
    void armQueueTimer();

    boost::asio::io_context& mContext;
    SpawnerLink& mSpawner;
    boost::asio::steady_timer mQueueTimer;
    unsigned int mWanted;
    std::chrono::seconds mRequestTimeout;
    WorkerConnection::Events mWorkerEvents;
    Supervisor mSupervisor;
    std::vector<std::unique_ptr<WorkerConnection>> mWorkers;
    std::deque<Task> mQueue;
};

} // namespace host

#endif
