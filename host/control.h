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
    Loaded,       // the mapping file is loaded; no class of it is cached
    LoadedCached, // it is loaded, and its workers need the data cache
    Failed,       // it is not; text says why
    Worker,       // a worker has been forked: id, pid and its socket
    NoWorker,     // none could be forked; text says why
    // From the front
    Spawn, // fork a worker
    Kill   // end the worker with this id
};

struct ControlMessage
{
    ControlKind kind = ControlKind::Spawn;
    uint32_t id = 0; // names a worker for good: pids come back
    pid_t pid = 0;
    std::string text;
    FileDescriptor socket; // only with Worker; lost when its receiver has too many open files
};

// Sends one message; false when the other end is gone, or does not keep up.
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
