// Who fills a cache: one process at a time.
#ifndef FILLER_OWNER_LOCK_H_
#define FILLER_OWNER_LOCK_H_

#include <service/file_descriptor.h>

#include <string>

namespace filler {

// Held until the process ends; children do not have it. On a file of its own, "FILE.lock": closing
// any descriptor of the cache itself would drop SQLite's locks on it.
class OwnerLock
{
public:
    // Returns false, with who has it in problem, where the lock cannot be had.
    bool take(const std::string& cache, std::string& problem);

private:
    service::FileDescriptor mFile;
};

} // namespace filler

#endif
