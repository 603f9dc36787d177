// What is told of the data cache: one line when it cannot be read any more, one when it can again,
// whichever workers find out, and however often.
#ifndef HOST_WORKER_CACHE_NOTICE_H_
#define HOST_WORKER_CACHE_NOTICE_H_

#include <atomic>
#include <cstddef>
#include <string>

namespace host {

class CacheNotice
{
public:
    // To be made before the workers are forked, which share it.
    CacheNotice();
    ~CacheNotice();
    CacheNotice(const CacheNotice&) = delete;
    CacheNotice& operator=(const CacheNotice&) = delete;

    // Why the cache cannot be read, "" where it can. Tells what is new.
    void note(const std::string& problem);

private:
    // Of the last problem's text; the first that changes it tells.
    using Last = std::atomic<size_t>;
    static_assert(Last::is_always_lock_free);

    Last* mShared; // null where there is no memory to be shared: each worker tells for itself then
    Last mOwn{0};
};

} // namespace host

#endif
