#include "process_limits.h"

#include "host_limits.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>

namespace host {

namespace {

// Sanitizers reserve terabytes of address space.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kLimitMemory = false;
#else
constexpr bool kLimitMemory = true;
#endif

// Where the machine runs out of memory: this process can be replaced, the front cannot. A process
// that cannot be looked into does not own its files in /proc, so that it must be one that can.
void goBeforeOthers()
{
    const int isDumpable = prctl(PR_GET_DUMPABLE);
    (void)prctl(PR_SET_DUMPABLE, 1);
    int score = 0;
    std::ifstream("/proc/self/oom_score_adj") >> score;
    std::ofstream("/proc/self/oom_score_adj") << std::min(score + kOomScoreAbove, kMaxOomScore);
    (void)prctl(PR_SET_DUMPABLE, isDumpable);
}

} // namespace

void limitResources()
{
    goBeforeOthers();
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
