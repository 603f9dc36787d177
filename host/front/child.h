// A process that the spawner has forked for the front, as the front sees it: the socket to it,
// whether it is ready, its frames, and its end.
//
// Threads: everything runs in the one thread that runs the io_context.
#ifndef HOST_FRONT_CHILD_H_
#define HOST_FRONT_CHILD_H_

#include "front/spawner_link.h"
#include "host_limits.h"
#include "wire/frame_io.h"

#include <boost/asio/steady_timer.hpp>

#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <string>

namespace host {

class Child : public std::enable_shared_from_this<Child>
{
public:
    // None is called after close(), which each of them may call.
    struct Events
    {
        std::function<void()> ready;                    // its first frame has said so
        std::function<void(std::string payload)> frame; // every later one
        std::function<void()> sent;                     // a frame has been written to it
        std::function<void()> late;                     // the deadline has passed
        std::function<void()> gone;                     // it has ended, or is being ended; closed
    };

    // forked is the spawner's message that announced it. The link must outlive the child.
    Child(boost::asio::io_context& context, SpawnerLink& spawner, ControlMessage& forked);

    pid_t pid() const { return mPid; }
    bool isReady() const { return mIsReady; }
    // Whether it has been asked to end.
    bool isEnding() const { return mIsEnding; }

    // Reads frames from now on. It has kReadyTimeout (host_limits.h) to get ready.
    void start(Events events);

    // Sends a frame, after those that were sent before; nothing once it is closed. A child to which
    // that cannot be done for want of memory is ended.
    void send(std::string frame);
    // From now on asks it again and again whether it lives; one that is silent for too long
    // (kMaxQueueSilence, host_limits.h) is ended. Only for one that answers so (frame.h).
    void watch(std::chrono::milliseconds pause = kQueueWatchPause);
    // After a std::bad_alloc has left a handler: asks again.
    void recover();
    // Whether a frame has not been taken by the child yet.
    bool isSending() const { return !mUnsent.empty(); }

    // When "late" is to be called; there is one deadline at a time.
    void setDeadline(std::chrono::steady_clock::time_point until);
    void clearDeadline();

    // Has the spawner end it; "gone" follows when it has.
    void end();

    // Gives it up, with "gone": end() first where it does not end by itself.
    void giveUp();

    // Closes the socket, by which a child ends that is idle; no event follows.
    void close();

private:
    struct Frame
    {
        std::string bytes;
        bool isPing = false;
    };

    void awaitFrame();
    void frameRead();
    void append(Frame frame);
    void askLater();
    void askWhetherItLives();
    void writeNext();
    void frameWritten();

    SpawnerLink& mSpawner;
    Events mEvents;
    boost::asio::local::stream_protocol::socket mSocket;
    boost::asio::steady_timer mDeadline;
    boost::asio::steady_timer mWatch;
    std::chrono::milliseconds mWatchPause{0}; // none for one that is not watched
    int mSilence = 0;                         // pings that it has not answered, in a row
    uint32_t mId;
    pid_t mPid;
    FrameBuffer mFrame;
    std::deque<Frame> mUnsent; // the first is being written
    bool mIsReady = false;
    bool mIsEnding = false;
    bool mIsClosed = false;
};

} // namespace host

#endif
