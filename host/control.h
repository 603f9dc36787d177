// What the front and the spawner say to each other, as packets on a socket pair.
#ifndef HOST_CONTROL_H_
#define HOST_CONTROL_H_

#include "file_descriptor.h"

#include <sys/types.h>

#include <cstdint>
#include <string>

namespace host {

enum class ControlKind : uint32_t {
    // From the spawner
    Loaded,   // the mapping file is loaded
    Failed,   // it is not; text says why
    Worker,   // a worker has been forked: pid and its socket
    NoWorker, // none could be forked; text says why
              // From the front
    Spawn,    // fork a worker
    Kill      // end the worker with this pid
};

struct ControlMessage
{
    ControlKind kind = ControlKind::Spawn;
    pid_t pid = 0;
    std::string text;
    FileDescriptor socket; // only with Worker
};

// Sends one message; false when the other end is gone.
bool sendControl(int socket, const ControlMessage& message);

// Outcome of receiveControl().
enum class Received {
    Message,
    Nothing, // a non-blocking socket has no message now
    Gone     // the other end is gone
};

Received receiveControl(int socket, ControlMessage& message);

} // namespace host

#endif
