// What a process of the service that handles data from outside may use.
#ifndef HOST_PROCESS_LIMITS_H_
#define HOST_PROCESS_LIMITS_H_

#include <service/file_descriptor.h>

namespace host {

// Limits this process to kProcessMemoryBytes (host_limits.h) of address space, and has the kernel
// end it before the front where memory runs out.
void limitResources();

// How much of its address space this process uses.
class AddressSpace
{
public:
    AddressSpace();

    // Whether it is above kNearLimit (host_limits.h) of what the process may have.
    bool isNearLimit() const;

private:
    service::FileDescriptor mUse; // what the kernel says of it
};

} // namespace host

#endif
