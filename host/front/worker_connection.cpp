#include "front/worker_connection.h"

#include "log.h"

#include <new>
#include <utility>

namespace host {

WorkerConnection::WorkerConnection(std::shared_ptr<Child> child, const Events& events)
    : mChild(std::move(child)), mEvents(events)
{
    try {
        mChild->start({[this] { mEvents.ready(); },
                       [this](const std::string& payload) { frameRead(payload); }, [] {},
                       [this] { late(); },
                       [this] {
                           gone();
                       }});
    } catch (const std::bad_alloc&) {
        mChild->close(); // its events would come to nobody
        throw;
    }
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
    try {
        mChild->setDeadline(mTask->until);
        mChild->send(encodeRequest(mTask->request));
    } catch (const std::bad_alloc&) {
        mChild->end();
    }
}

void WorkerConnection::frameRead(const std::string& payload)
{
    httpd::Response response;
    Declined reason{};
    // A worker reads its request before it answers: one that does not would have them pile up here.
    const bool isAnswering = mTask && !mChild->isSending() && !mChild->isEnding();
    if (isAnswering && decodeDeclined(payload, reason)) {
        declined(reason);
    } else if (isAnswering && decodeResponse(payload, response)) {
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
    if (reason == Declined::NeedsCim) {
        mEvents.free();
        return;
    }
    const std::string makesWay = name() + " makes way for ";
    if (reason == Declined::CacheReplaced) {
        log(Severity::Info, makesWay + "one that opens the new data cache");
    } else {
        log(Severity::Error, makesWay + "another one: it has come near the limit of its memory");
    }
    mChild->giveUp(); // ends by itself
}

void WorkerConnection::late()
{
    if (mChild->isEnding()) {
        return;
    }
    mChild->end();
    if (!mTask) {
        log(Severity::Error, name() + " does not get ready");
    }
    fail(Outcome::TooLate, " passed the deadline of its request");
}

void WorkerConnection::gone()
{
    fail(Outcome::WorkerEnded, " ended at it");
    mEvents.gone(*this);
}

std::string WorkerConnection::name() const
{
    return "worker " + std::to_string(mChild->pid());
}

// Memory that is short costs the remark, not the answer.
void WorkerConnection::fail(Outcome outcome, const char* how)
{
    httpd::Response response;
    try {
        response.remark = name() + how;
    } catch (const std::bad_alloc&) { // NOLINT(bugprone-empty-catch)
    }
    complete(outcome, std::move(response));
}

void WorkerConnection::complete(Outcome outcome, httpd::Response response)
{
    if (mTask) {
        const Task task = std::move(*mTask);
        mTask.reset();
        mEvents.ended(task, outcome, response);
        finish(task, outcome, std::move(response));
    }
}

} // namespace host
