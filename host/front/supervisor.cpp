#include "front/supervisor.h"

#include "host_limits.h"
#include "log.h"

#include <algorithm>
#include <utility>

namespace host {

Supervisor::Supervisor(boost::asio::io_context& context, SpawnerLink& spawner, Wanted wanted,
                       Events events)
    : mSpawner(spawner), mTimer(context), mWanted(std::move(wanted)), mEvents(std::move(events))
{}

void Supervisor::start()
{
    mIsStarted = true;
    while (mLiving + mRequested < mWanted.count) {
        request();
    }
}

void Supervisor::recover()
{
    if (mIsStarted && !mIsStopped) {
        start();
    }
}

void Supervisor::stop()
{
    mIsStopped = true;
    mTimer.cancel();
}

void Supervisor::request()
{
    mSpawner.spawn(mWanted.kind, mWanted.text,
                   [this](ControlMessage& message) { answered(message); });
    ++mRequested;
}

void Supervisor::answered(ControlMessage& message)
{
    --mRequested;
    if (mIsStopped) {
        return;
    }
    if (message.descriptor.isOpen()) {
        mEvents.forked(message);
        ++mLiving;
        ++mForked;
        return;
    }
    const std::string cause = "cannot fork " + mWanted.name + ": " + message.text;
    if (mIsStarting) {
        mEvents.failed(cause);
    } else {
        log(Severity::Error, cause);
        replaceAfterPause();
    }
}

void Supervisor::childReady()
{
    if (mIsStarting && ++mReady == mWanted.count) {
        becomeReady();
    }
}

void Supervisor::becomeReady()
{
    mIsStarting = false;
    mEvents.ready();
}

void Supervisor::childGone(bool wasOfUse)
{
    --mLiving;
    if (mIsStopped) {
        return;
    }
    if (wasOfUse) {
        request(); // what it was at has ended it, most likely: the next one finds a fresh process
    } else if (!mIsStarting) {
        log(Severity::Error, mWanted.uselessEnd);
        replaceAfterPause();
    } else {
        mEvents.notReady();
    }
}

void Supervisor::replaceAfterPause()
{
    mPause = std::clamp(mPause * 2, kFirstBackOff, kMaxBackOff);
    mEvents.pausing();
    mTimer.expires_after(mPause);
    mTimer.async_wait([this](boost::system::error_code error) {
        if (!error && !mIsStopped) {
            start();
        }
    });
}

bool Supervisor::isWithoutHope() const
{
    return mLiving == 0 && mRequested == 0 && mPause > kMaxWaitedBackOff;
}

} // namespace host
