// What a process of the service that handles data from outside may use.
#ifndef HOST_PROCESS_LIMITS_H_
#define HOST_PROCESS_LIMITS_H_

namespace host {

// Limits this process to kProcessMemoryBytes (host_limits.h) of address space, and to no core file.
void limitResources();

} // namespace host

#endif
