#include "worker/cache_notice.h"

#include "cache_file.h"
#include "tell.h"

#include <SQLInterface.h>
#include <sys/mman.h>

#include <functional>
#include <new>

namespace host {

namespace {

size_t markOf(const std::string& problem)
{
    return problem.empty() ? 0 : std::hash<std::string>()(problem);
}

std::string lineOf(const std::string& problem)
{
    const std::string cache = "the data cache " + SQLInterface::DataCachePath;
    constexpr const char* kHint = " (--cache names another file)";
    if (problem.empty()) {
        return cache + " can be read again";
    }
    if (problem == kCacheIsMissing) {
        return cache + " is not there: reads of cached resources answer 503 until it is" + kHint;
    }
    return cache + " cannot be read: " + problem +
           ": reads of cached resources answer 503 until it can" + kHint;
}

} // namespace

CacheNotice::CacheNotice() : mShared(nullptr)
{
    void* const page =
        mmap(nullptr, sizeof(Last), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (page != MAP_FAILED) { // NOLINT(cppcoreguidelines-pro-type-cstyle-cast): the system's macro
        mShared = new (page) Last(0);
    }
}

CacheNotice::~CacheNotice()
{
    if (mShared != nullptr) {
        (void)munmap(mShared, sizeof(Last));
    }
}

void CacheNotice::note(const std::string& problem)
{
    Last& last = mShared != nullptr ? *mShared : mOwn;
    const size_t mark = markOf(problem);
    if (last.exchange(mark) != mark) {
        tell(lineOf(problem), problem.empty() ? Severity::Info : Severity::Error);
    }
}

} // namespace host
