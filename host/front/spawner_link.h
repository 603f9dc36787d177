// The front's end of the socket to the spawner: asks for processes, and hands them out in the order
// in which they were asked for.
//
// Threads: everything runs in the one thread that runs the io_context.
#ifndef HOST_FRONT_SPAWNER_LINK_H_
#define HOST_FRONT_SPAWNER_LINK_H_

#include "wire/control.h"

#include <boost/asio/posix/stream_descriptor.hpp>

#include <deque>
#include <functional>
#include <string>

namespace host {

class SpawnerLink
{
public:
    // The process that was asked for, its socket the descriptor; or none and the cause in text.
    using Spawned = std::function<void(ControlMessage&)>;

    // control is the socket to the spawner, which must outlive the link. failed is called when the
    // spawner has ended: the service cannot go on.
    SpawnerLink(boost::asio::io_context& context, int control,
                std::function<void(const std::string& cause)> failed);
    ~SpawnerLink(); // NOLINT(bugprone-exception-escape): see its definition
    SpawnerLink(const SpawnerLink&) = delete;
    SpawnerLink& operator=(const SpawnerLink&) = delete;

    // Asks for a process (ControlKind::Spawn...; text as that wants it).
    void spawn(ControlKind kind, const std::string& text, Spawned spawned);

    // Asks the spawner to end a process.
    void end(uint32_t id);

    // After a std::bad_alloc has left a handler: does what may have been left undone.
    void recover();

    // Forgets what was asked for, and reports nothing more. Processes can still be ended.
    void stop();

private:
    void awaitAnswer();
    void answerReadable();
    void handOut(ControlMessage& message);
    void send(const ControlMessage& message);

    boost::asio::posix::stream_descriptor mControl;
    std::function<void(const std::string&)> mFailed;
    std::deque<Spawned> mWanted; // what the spawner has not answered yet
    bool mIsWaiting = false;     // for the spawner
    bool mIsStopped = false;
};

} // namespace host

#endif
