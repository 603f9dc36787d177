#include "process_limits.h"

#include "host_limits.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdlib>

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

AddressSpace::AddressSpace() : mUse(open("/proc/self/statm", O_RDONLY | O_CLOEXEC)) {}

bool AddressSpace::isNearLimit() const
{
    char text[64] = {};
    rlimit limit{};
    if (pread(mUse.get(), text, sizeof text - 1, 0) <= 0 || getrlimit(RLIMIT_AS, &limit) != 0 ||
        limit.rlim_cur == RLIM_INFINITY) {
        return false;
    }
    const rlim_t pages = std::strtoul(text, nullptr, 10); // the first number is all of it
    return pages * static_cast<rlim_t>(sysconf(_SC_PAGESIZE)) >
           limit.rlim_cur / kNearLimit.second * kNearLimit.first;
}

} // namespace host
