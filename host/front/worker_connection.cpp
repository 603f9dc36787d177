#include "front/worker_connection.h"

#include "log.h"

#include <utility>

namespace host {

WorkerConnection::WorkerConnection(std::shared_ptr<Child> child, const Events& events)
    : mChild(std::move(child)), mEvents(events)
{
    mChild->start({[this] { mEvents.ready(); },
                   [this](const std::string& payload) { frameRead(payload); }, [] {},
                   [this] { late(); },
                   [this] {
                       gone();
                   }});
}

// NOLINTNEXTLINE(bugprone-exception-escape): only cancelling a timer could throw, and it does not
WorkerConnection::~WorkerConnection()
{
    if (mTask) {
        mChild->end();
    }
    mChild->close();
}

void WorkerConnection::assign(Task task)
{
    mTask = std::move(task);
    mWasUsed = true;
    mChild->setDeadline(mTask->until);
    mChild->send(encodeRequest(mTask->request));
}

void WorkerConnection::frameRead(const std::string& payload)
{
    httpd::Response response;
    Declined reason{};
    if (mTask && !mChild->isEnding() && decodeDeclined(payload, reason)) {
        declined(reason);
    } else if (mTask && !mChild->isEnding() && decodeResponse(payload, response)) {
        mChild->clearDeadline();
        complete(Outcome::Answered, std::move(response));
        mEvents.free();
    } else {
        mChild->end();
        mChild->giveUp();
    }
}

void WorkerConnection::declined(Declined reason)
{
    Task task = std::move(*mTask);
    mTask.reset();
    mChild->clearDeadline();
    mEvents.returned(std::move(task), reason);
    if (reason == Declined::CacheReplaced) {
        log(Severity::Info, "worker " + std::to_string(mChild->pid()) +
                                " makes way for one that opens the new data cache");
        mChild->giveUp(); // ends by itself
    } else {
        mEvents.free();
    }
}

void WorkerConnection::late()
{
    if (mChild->isEnding()) {
        return;
    }
    log(Severity::Error,
        "worker " + std::to_string(mChild->pid()) +
            (mTask ? " passed the deadline of its request" : " does not get ready"));
    mChild->end();
    complete(Outcome::TooLate, {});
}

void WorkerConnection::gone()
{
    complete(Outcome::WorkerEnded, {});
    mEvents.gone(*this);
}

void WorkerConnection::complete(Outcome outcome, httpd::Response response)
{
    if (mTask) {
        const Completion done = std::move(mTask->done);
        mTask.reset();
        done(outcome, std::move(response));
    }
}

} // namespace host
