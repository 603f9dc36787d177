// What a worker knows of the request that it is at: what is asked for, whom a failure is to be
// blamed on, and why. It becomes the remark of an answer that fails, which the front logs, and,
// where the worker ends instead, the spawner's line.
#ifndef HOST_WORKER_CURRENT_REQUEST_H_
#define HOST_WORKER_CURRENT_REQUEST_H_

#include "wire/worker_message.h"

#include <deque>
#include <string>

namespace host {

class WorkNote;

class CurrentRequest
{
public:
    // Where the spawner looks; null for nowhere.
    void showIn(WorkNote* note) { mNote = note; }

    void begin(const WorkerRequest& request);
    void end();

    // What it is about, once that is known; cimClass may be empty.
    void concerns(const std::string& entry, const std::string& cimClass);

    // Says why it fails, where the worker knows. It is a failure then whatever its status, and to
    // be blamed on what it is about now, though others may follow.
    void fail(const std::string& reason);
    bool hasFailed() const { return !mReason.empty(); }

    // Takes note of a line that the library has logged as an error.
    void libraryError(const std::string& message);

    // Why, and whom to blame: "XCIM_Memory is not ready in the data cache (entry VexoMemory, class
    // XCIM_Memory)".
    std::string remark() const;

private:
    std::string blame() const;
    std::string reasons() const;
    void show() const;

    WorkNote* mNote = nullptr;
    std::string mRequest; // "GET /redfish/v1/..."; empty between requests
    std::string mEntry;
    std::string mClass;
    std::string mReason;
    std::string mFailedAt;                  // whom to blame for that
    std::deque<std::string> mLibraryErrors; // the last few
};

// The one of this process.
CurrentRequest& currentRequest();

} // namespace host

#endif
