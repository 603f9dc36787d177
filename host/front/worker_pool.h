// The front's view of its workers: hands each request to a worker that is free, keeps a bounded
// queue of those that wait, ends workers that take too long, and replaces those that end.
//
// Threads: everything runs in the one thread that runs the io_context.
#ifndef HOST_FRONT_WORKER_POOL_H_
#define HOST_FRONT_WORKER_POOL_H_

#include "front/spawner_link.h"
#include "wire/frame.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>

#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace host {

// What became of a request.
enum class Outcome {
    Answered,
    WorkerEnded, // the worker that had it ended
    TooLate,     // the worker that had it took too long and was ended
    Overloaded   // too many requests wait already, or it waited too long
};

// Called once for each request; the response belongs to Outcome::Answered.
using Completion = std::function<void(Outcome, httpd::Response)>;

// A request on its way to an answer.
struct Task
{
    WorkerRequest request;
    Completion done;
    std::chrono::steady_clock::time_point until; // its deadline
    bool needsCim = false;                       // an action, or a worker has declined it for that
};

class Worker;

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

    // Takes a request, which has until the request timeout from now, waiting included. One worker
    // is kept for what the data cache answers: as many requests as there are other workers may be
    // at the CIM object manager, more wait.
    // An action is never given to a second worker once one may have begun with it.
    void submit(WorkerRequest request, Completion done);

    // Ends the work with the workers, and those that are at a request; requests still out are
    // dropped.
    void stop();

private:
    friend class Worker;

    void workerSpawned(ControlMessage& message);
    void noWorker(const std::string& cause);
    void requestWorker();
    void dispatch();
    std::deque<Task>::iterator nextTask(bool mayReadLive);
    bool mayReadLiveNow() const;
    bool hasRoomFor(const WorkerRequest& request) const;
    bool isWithoutHope() const;
    void refuseAll();
    void becomeReady();
    void dropExpired();
    void armQueueTimer();
    void replaceAfterPause();

    // From a worker
    void workerReady(Worker& worker);
    void workerFree(Worker& worker);
    void workerDeclined(Task task, Declined reason);
    void workerGone(const Worker& worker);

    boost::asio::io_context& mContext;
    SpawnerLink& mSpawner;
    boost::asio::steady_timer mRespawnTimer;
    boost::asio::steady_timer mQueueTimer;
    unsigned int mWanted;
    std::chrono::seconds mRequestTimeout;
    Events mEvents;
    std::vector<std::shared_ptr<Worker>> mWorkers;
    size_t mRequested = 0; // workers that the spawner has been asked for and has not forked
    std::deque<Task> mQueue;
    std::chrono::milliseconds mBackOff{0};
    unsigned int mReady = 0; // counts up to mWanted while the service starts
    bool mIsStarting = true;
    bool mIsStopped = false;
};

} // namespace host

#endif
