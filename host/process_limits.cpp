#include "process_limits.h"

#include "host_limits.h"

#include <sys/resource.h>

namespace host {

namespace {

// Sanitizers reserve terabytes of address space.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kLimitMemory = false;
#else
constexpr bool kLimitMemory = true;
#endif

} // namespace

void limitResources()
{
    const rlimit noCore{0, 0};
    (void)setrlimit(RLIMIT_CORE, &noCore);
    if (kLimitMemory) {
        const rlimit memory{kProcessMemoryBytes, kProcessMemoryBytes};
        (void)setrlimit(RLIMIT_AS, &memory);
    }
}

} // namespace host
