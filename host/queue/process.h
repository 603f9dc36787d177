// The process that holds the message-queue endpoint: a ZeroMQ socket of clients on one side, the
// front on the other.
//
// It is not part of the front since libzmq ends its process where it finds no other way, as when
// there are more clients than file descriptors.
#ifndef HOST_QUEUE_PROCESS_H_
#define HOST_QUEUE_PROCESS_H_

#include <service/file_descriptor.h>

#include <string>

namespace host {

// Opens the endpoint ("ipc:///run/cimgate/oem.sock"), says that it is ready, and passes requests
// and answers on until the front closes its socket; then it removes the endpoint. When the endpoint
// cannot be opened, it says why on standard error and ends with status 1.
[[noreturn]] void runQueueProcess(service::FileDescriptor front, const std::string& endpoint);

} // namespace host

#endif
