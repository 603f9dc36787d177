// One worker as the front sees it: the process, and the request that it has.
#ifndef HOST_FRONT_WORKER_CONNECTION_H_
#define HOST_FRONT_WORKER_CONNECTION_H_

#include "front/child.h"
#include "front/task.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace host {

class WorkerConnection
{
public:
    // A connection may be let go of in "free" and "gone": they are the last that it does.
    struct Events
    {
        std::function<void()> ready;
        std::function<void(const Task&, Outcome, const httpd::Response&)> ended; // its request has
        std::function<void(Task, Declined)> returned; // unanswered; "free" or "gone" follows
        std::function<void()> free;                   // has done with its request
        std::function<void(const WorkerConnection&)> gone;
    };

    // The events must outlive the connection.
    WorkerConnection(std::shared_ptr<Child> child, const Events& events);
    // A worker that has a request is ended: it would go on with what nobody waits for.
    ~WorkerConnection(); // NOLINT(bugprone-exception-escape): see its definition
    WorkerConnection(const WorkerConnection&) = delete;
    WorkerConnection& operator=(const WorkerConnection&) = delete;

    bool isFree() const { return mChild->isReady() && !mChild->isEnding() && !mTask; }
    bool isBusy() const { return mTask.has_value(); }
    // Whether it may be at the CIM object manager.
    bool mayBeReadingLive() const { return mTask && mTask->needsCim; }
    // Whether it has ever been given a request.
    bool wasUsed() const { return mWasUsed; }

    // Hands it a request; only while it is free. When the answer has not come by its deadline, the
    // worker is ended.
    void assign(Task task);

private:
    void frameRead(const std::string& payload);
    void declined(Declined reason);
    void late();
    void gone();
    std::string name() const;
    void fail(Outcome outcome, const char* how);
    void complete(Outcome outcome, httpd::Response response);

    std::shared_ptr<Child> mChild;
    const Events& mEvents;
    std::optional<Task> mTask;
    bool mWasUsed = false;
};

} // namespace host

#endif
