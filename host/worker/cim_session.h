// A worker's connection to the CIM object manager.
#ifndef HOST_WORKER_CIM_SESSION_H_
#define HOST_WORKER_CIM_SESSION_H_

#include <SfccInterface.h>

#include <optional>
#include <string>

namespace host {

class CimSession
{
public:
    CimSession();

    // What mappers read through, always the same object; they connect it themselves, so that a
    // worker that serves nothing but the cache never does.
    SfccSession* get() { return &*mSession; }

    // To be called when a read has failed, and before an action: a session stays on the connection
    // that it once had, so that only another one sees an object manager that has come back. Returns
    // whether the object manager can be reached now.
    bool renew();

private:
    std::optional<SfccSession> mSession; // never empty
};

// Directs this process, and those that it forks, to the object manager at url or, where that is
// empty, to the local one. To be called before there are threads and before anything connects.
// Returns false with the cause in problem.
bool directCimTo(const std::string& url, std::string& problem);

} // namespace host

#endif
