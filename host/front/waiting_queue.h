// Requests that wait for a worker: first in, first out, up to a limit.
//
// One client may use the whole of it. When there are more, the newest request of the client with
// the most waiting gives way, so that nobody who asks for little is refused for somebody who asks
// for much.
#ifndef HOST_FRONT_WAITING_QUEUE_H_
#define HOST_FRONT_WAITING_QUEUE_H_

#include "front/task.h"

#include <chrono>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace host {

class WaitingQueue
{
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    bool isEmpty() const { return mTasks.empty(); }
    size_t size() const { return mTasks.size(); }

    // The first task that waits for no read under way; null where there is none.
    const Task* next() const;

    // When one will have waited too long; the queue is not empty.
    TimePoint nextExpiry() const;

    // Adds a task; returns what finds no room any more (kMaxWaiting and kMaxWaitingBodyBytes of
    // host_limits.h), which may be the task itself.
    std::vector<Task> push(Task task);

    // Puts back the first task, which had its turn.
    void putBack(Task task) { mTasks.push_front(std::move(task)); }

    // Takes the task that next() tells of; there is one.
    Task pop();

    // A read has begun for a task with this key. Those that wait with the same one keep their
    // places, and are not begun until the read has ended.
    void join(const std::string& sharedKey, uint64_t read);

    // Takes the tasks that wait for this read.
    std::vector<Task> takeJoined(uint64_t read);

    // The read, or any read, has not answered those that waited for it: they wait for a worker.
    void release(uint64_t read);
    void releaseAll();

    // Takes the tasks that have waited too long.
    std::vector<Task> takeExpired(TimePoint now);

    // Takes the tasks that nobody waits for, up to the first that somebody does, of those that may
    // be begun. (To ask costs system calls: others are asked for only where there is no room.)
    std::vector<Task> takeAbandonedAhead();

    // Takes all.
    std::vector<Task> takeAll();

private:
    using Weight = std::function<size_t(const Task&)>;

    bool isAbove(size_t limit, const Weight& weight) const;
    Task takeNewestOfHeaviest(const Weight& weight);
    std::vector<Task> takeIf(const std::function<bool(const Task&)>& condition);
    std::deque<Task>::const_iterator firstFree() const;

    std::deque<Task> mTasks;
    std::optional<TimePoint> mAskedAt; // when all were last asked whether somebody waits for them
};

} // namespace host

#endif
