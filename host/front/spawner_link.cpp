#include "front/spawner_link.h"

#include <new>

namespace host {

namespace asio = boost::asio;
using boost::system::error_code;

SpawnerLink::SpawnerLink(asio::io_context& context, int control,
                         std::function<void(const std::string& cause)> failed)
    : mControl(context, control), mFailed(std::move(failed))
{
    mControl.native_non_blocking(true);
    awaitAnswer();
}

// NOLINTNEXTLINE(bugprone-exception-escape): only cancelling a wait could throw, and it does not
SpawnerLink::~SpawnerLink()
{
    stop();
    (void)mControl.release(); // belongs to whoever gave it
}

void SpawnerLink::spawn(ControlKind kind, const std::string& text, Spawned spawned)
{
    ControlMessage message;
    message.kind = kind;
    message.text = text;
    mWanted.push_back(std::move(spawned));
    try {
        send(message);
    } catch (const std::bad_alloc&) {
        mWanted.pop_back(); // no answer will come to it
        throw;
    }
}

void SpawnerLink::end(uint32_t id)
{
    ControlMessage message;
    message.kind = ControlKind::Kill;
    message.id = id;
    send(message);
}

void SpawnerLink::stop()
{
    mIsStopped = true;
    mWanted.clear();
    error_code ignored;
    mControl.cancel(ignored);
}

void SpawnerLink::recover()
{
    if (!mIsWaiting && !mIsStopped) {
        awaitAnswer();
    }
}

void SpawnerLink::awaitAnswer()
{
    mControl.async_wait(asio::posix::stream_descriptor::wait_read, [this](error_code error) {
        mIsWaiting = false;
        if (!error && !mIsStopped) {
            answerReadable();
        }
    });
    mIsWaiting = true;
}

void SpawnerLink::answerReadable()
{
    ControlMessage message;
    const Received received = receiveControl(mControl.native_handle(), message);
    if (received == Received::Gone) {
        mFailed("the spawner has ended");
        return;
    }
    if (received == Received::Message) {
        handOut(message);
    }
    if (!mIsStopped) {
        awaitAnswer();
    }
}

void SpawnerLink::handOut(ControlMessage& message)
{
    if (message.kind == ControlKind::Forked && !message.descriptor.isOpen()) {
        end(message.id); // the kernel drops what it cannot number
        message.text = "too many open file descriptors";
    }
    if (mWanted.empty()) {
        return;
    }
    const Spawned spawned = std::move(mWanted.front());
    mWanted.pop_front();
    spawned(message);
}

void SpawnerLink::send(const ControlMessage& message)
{
    if (!sendControl(mControl.native_handle(), message) && !mIsStopped) {
        mFailed("the spawner has ended, or does not answer");
    }
}

} // namespace host
