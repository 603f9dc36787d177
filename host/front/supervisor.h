// Keeps as many processes of one kind as are wanted: asks the spawner for them, tells when the
// first ones are ready, and replaces those that end - at once, or after a pause that grows.
//
// Threads: everything runs in the one thread that runs the io_context.
#ifndef HOST_FRONT_SUPERVISOR_H_
#define HOST_FRONT_SUPERVISOR_H_

#include "front/spawner_link.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

namespace host {

class Supervisor
{
public:
    struct Wanted
    {
        unsigned int count;
        ControlKind kind;
        std::string text;       // as kind wants it
        std::string name;       // in the log: "a worker"
        std::string uselessEnd; // the log line for one that ended before it was of use
    };

    struct Events
    {
        std::function<void(ControlMessage&)> forked;    // a process, as the spawner announced it
        std::function<void()> ready;                    // all first ones are ready
        std::function<void()> notReady;                 // a first one ended before it was
        std::function<void()> pausing;                  // the next one is asked for after a pause
        std::function<void(const std::string&)> failed; // the first ones cannot be had
    };

    // The link must outlive the supervisor.
    Supervisor(boost::asio::io_context& context, SpawnerLink& spawner, Wanted wanted,
               Events events);

    // Asks for the first processes.
    void start();

    // After a std::bad_alloc has left a handler: does what may have been left undone.
    void recover();

    // Asks for no more.
    void stop();

    // From whoever holds the processes: one has become ready; one has done its work, so that what
    // follows is no row of failures; one has ended, while it was of use or before.
    void childReady();
    void childWorked() { mPause = {}; }
    void childGone(bool wasOfUse);

    // How many have been forked, and how many of them live.
    uint64_t forked() const { return mForked; }
    unsigned int living() const { return mLiving; }

    // Whether there is no process, and will not be for longer than requests can wait.
    bool isWithoutHope() const;

private:
    void request();
    void answered(ControlMessage& message);
    void becomeReady();
    void replaceAfterPause();

    SpawnerLink& mSpawner;
    boost::asio::steady_timer mTimer;
    Wanted mWanted;
    Events mEvents;
    unsigned int mRequested = 0; // asked for, and not forked yet
    unsigned int mLiving = 0;
    uint64_t mForked = 0;
    unsigned int mReady = 0; // counts up to mWanted.count while the first ones start
    std::chrono::milliseconds mPause{0};
    bool mIsStarted = false;
    bool mIsStarting = true; // the first ones are not all ready yet
    bool mIsStopped = false;
};

} // namespace host

#endif
