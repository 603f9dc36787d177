#include "queue/front_end.h"

#include "host_limits.h"

#include <new>
#include <utility>

namespace host {

QueueFrontEnd::QueueFrontEnd(boost::asio::io_context& context, SpawnerLink& spawner,
                             const std::string& endpoint, Handler handler, Events events)
    : mContext(context),
      mSpawner(spawner),
      mHandler(std::move(handler)),
      mSupervisor(context, spawner,
                  {1, ControlKind::SpawnQueueProcess, endpoint, "a process for " + endpoint,
                   "the process that holds " + endpoint + " has ended"},
                  supervisorEvents(endpoint, std::move(events)))
{}

// NOLINTNEXTLINE(bugprone-exception-escape): only cancelling a timer could throw, and it does not
QueueFrontEnd::~QueueFrontEnd()
{
    stop();
}

Supervisor::Events QueueFrontEnd::supervisorEvents(const std::string& endpoint, Events events)
{
    const auto notReady = [endpoint, failed = events.failed] {
        failed("cannot open " + endpoint +
               ", as said above; name another endpoint with --oem-endpoint");
    };
    return {[this](ControlMessage& forked) { addProcess(forked); }, std::move(events.ready),
            notReady, [] {}, std::move(events.failed)};
}

void QueueFrontEnd::start()
{
    mSupervisor.start();
}

void QueueFrontEnd::recover()
{
    mSupervisor.recover();
    if (mProcess != nullptr) {
        mProcess->recover();
    }
}

void QueueFrontEnd::drain(std::function<void()> drained)
{
    mIsDraining = true;
    mSupervisor.stop();
    mDrained = std::move(drained);
    if (mProcess == nullptr || mUnanswered == 0) {
        tellDrained();
    }
}

void QueueFrontEnd::tellDrained()
{
    if (const auto drained = std::exchange(mDrained, nullptr)) {
        drained();
    }
}

void QueueFrontEnd::stop()
{
    mSupervisor.stop();
    if (mProcess != nullptr) {
        mProcess->close();
        mProcess.reset();
    }
}

void QueueFrontEnd::addProcess(ControlMessage& forked)
{
    const auto process = std::make_shared<Child>(mContext, mSpawner, forked);
    try {
        process->start({[this] {
                            mProcess->watch();
                            mSupervisor.childReady();
                        },
                        [this](const std::string& payload) { frameRead(payload); },
                        [this] { answerSent(); },
                        // A path on a file system that hangs is never opened.
                        [this] { mProcess->end(); },
                        [this] {
                            processGone();
                        }});
    } catch (const std::bad_alloc&) {
        process->close(); // its events would come for another one
        throw;
    }
    mProcess = process;
    mUnanswered = 0;
}

void QueueFrontEnd::frameRead(const std::string& payload)
{
    uint32_t number = 0;
    std::string request;
    // Its own process waits for answers before it sends more.
    const bool isWithinLimit = mUnanswered < kMaxQueueRequestsAtOnce;
    if (isWithinLimit && decodeNumbered(payload, number, request)) {
        take(number, request);
    } else {
        mProcess->end();
        mProcess->giveUp();
    }
}

void QueueFrontEnd::take(uint32_t number, const std::string& request)
{
    if (mIsDraining) {
        return;
    }
    ++mUnanswered;
    mHandler(request, [weak = std::weak_ptr(mProcess), number](const std::string& answer) {
        if (const auto process = weak.lock()) {
            process->send(encodeNumbered(number, answer));
        }
    });
}

void QueueFrontEnd::answerSent()
{
    --mUnanswered;
    mSupervisor.childWorked();
    if (mIsDraining && mUnanswered == 0) {
        tellDrained();
    }
}

void QueueFrontEnd::processGone()
{
    mProcess.reset();
    if (mIsDraining) {
        tellDrained();
    } else {
        mSupervisor.childGone(false);
    }
}

} // namespace host
