// A request on its way to an answer.
#ifndef HOST_FRONT_TASK_H_
#define HOST_FRONT_TASK_H_

#include "wire/worker_message.h"

#include <chrono>
#include <functional>

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

struct Task
{
    WorkerRequest request;
    Completion done;
    std::chrono::steady_clock::time_point until; // its deadline
    bool needsCim = false; // as far as the front knows; a worker that declines it knows better
};

} // namespace host

#endif
