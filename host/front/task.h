// A request on its way to an answer.
#ifndef HOST_FRONT_TASK_H_
#define HOST_FRONT_TASK_H_

#include "wire/worker_message.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <new>
#include <string>
#include <utility>

namespace host {

// What became of a request.
enum class Outcome {
    Answered,
    WorkerEnded, // the worker that had it ended
    TooLate,     // the worker that had it took too long and was ended
    Overloaded   // no worker has had it: too many wait, it has waited too long, or nobody waits
                 // for the answer any more
};

// Called once for each request; the response belongs to Outcome::Answered, with other outcomes it
// has a remark only: why, or nothing where nobody waits any more.
using Completion = std::function<void(Outcome, httpd::Response)>;

struct Task
{
    WorkerRequest request;
    Completion done;
    bool needsCim = false; // as far as the front knows; a worker that declines it knows better
    // Who asks, as far as requests are shared out: see WaitingQueue.
    std::string client = {};
    // Whether nobody waits for the answer any more; empty where that cannot be known.
    std::function<bool()> isAbandoned = {};
    // Requests with the same key want the same answer from the data cache; empty for one that
    // shares its answer with nobody.
    std::string sharedKey = {};

    // Set when it is submitted.
    std::chrono::steady_clock::time_point since = {};    // when that was
    std::chrono::steady_clock::time_point startsBy = {}; // when it has waited too long
    std::chrono::steady_clock::time_point until = {};    // its deadline

    // The read that is under way for it, or for another one whose answer it may get; 0 for none.
    uint64_t read = 0;
};

// Whether it is known that nobody waits for the answer any more.
inline bool isAbandoned(const Task& task)
{
    return task.isAbandoned && task.isAbandoned();
}

// Tells whoever asked. For want of memory to do so the completion is dropped, by which the client's
// connection is closed: it was its own allocation that failed.
inline void finish(const Task& task, Outcome outcome, httpd::Response response)
{
    try {
        task.done(outcome, std::move(response));
    } catch (const std::bad_alloc&) { // NOLINT(bugprone-empty-catch)
    }
}

// Tells one more that has waited for the same answer.
inline void finishAlso(const Task& task, const httpd::Response& response)
{
    try {
        task.done(Outcome::Answered, response);
    } catch (const std::bad_alloc&) { // NOLINT(bugprone-empty-catch): as above
    }
}

} // namespace host

#endif
