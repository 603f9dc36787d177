// What the front and the spawner say to each other, as packets on a socket pair.
#ifndef HOST_WIRE_CONTROL_H_
#define HOST_WIRE_CONTROL_H_

#include <service/file_descriptor.h>
#include <sys/types.h>

#include <cstdint>
#include <string>

namespace host {

enum class ControlKind : uint32_t {
    // From the spawner
    Loaded,    // the mapping file is loaded; the descriptor is a file with its summary
    Made,      // so are the service's own resources; the descriptor is a file with them
    Failed,    // it is not; text says why
    Forked,    // a process has been forked: id and pid; the descriptor is its socket
    NotForked, // none could be forked; text says why
    // From the front
    SpawnWorker,       // fork a worker
    SpawnQueueProcess, // fork the holder of the message-queue endpoint that text names
    Kill               // end the process with this id
};

struct ControlMessage
{
    ControlKind kind = ControlKind::SpawnWorker;
    uint32_t id = 0; // names a process for good: pids come back
    pid_t pid = 0;
    std::string text;
    service::FileDescriptor descriptor; // lost when its receiver has too many open files
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
