#include "worker/worker.h"

#include "errno_text.h"
#include "log.h"
#include "process_limits.h"
#include "wire/frame_io.h"
#include "worker/cim_session.h"
#include "worker/mapping_lookup.h"
#include "worker/request_handler.h"

#include <ResourceMapper.h>
#include <sys/prctl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <string>

namespace host {

namespace {

// Which file the data cache's path names. A writer that must not be seen half-way puts a new file
// in the old one's place; whoever has the old one open would read it for ever.
class CacheFile
{
public:
    // To be called before the cache is opened: a replacement in between costs a worker, not an
    // answer.
    void note() { mIsNoted = look(mNoted); }

    // Whether there is another file now. While there is none the old one goes on serving.
    bool isReplaced()
    {
        struct stat now
        {};
        return mIsNoted && look(now) &&
               (now.st_dev != mNoted.st_dev || now.st_ino != mNoted.st_ino);
    }

private:
    // A writer's new file may be a moment away; anything else that hides it is told, once while it
    // lasts, since requests go on being answered from the old one.
    bool look(struct stat& found)
    {
        const std::string& path = SQLInterface::DataCachePath;
        const int cause = stat(path.c_str(), &found) == 0 ? 0 : errno;
        if (cause != 0 && cause != ENOENT && cause != mCause) {
            const std::string text = errnoText();
            log(Severity::Error,
                "cannot see whether the data cache " + path + " is replaced: " + text);
        }
        mCause = cause;
        return cause == 0;
    }

    struct stat mNoted
    {};
    bool mIsNoted = false;
    int mCause = 0; // why the last look failed
};

bool readRequest(int socket, WorkerRequest& request)
{
    std::string payload;
    return receiveFrame(socket, payload) && decodeRequest(payload, request);
}

std::string answerFrame(const WorkerRequest& request, CimSession& cim)
{
    const std::optional<httpd::Response> response = handleRequest(request, cim);
    return response ? encodeResponse(*response) : encodeDeclined(Declined::NeedsCim);
}

} // namespace

void runWorker(FileDescriptor socket)
{
    (void)prctl(PR_SET_NAME, "cimgated-worker");
    limitResources();
    CimSession cim;
    CacheFile cache;
    if (hasCachedClass(ResourceMapper::RmfObj)) {
        cache.note();
        (void)LoadDatabase(); // ends the process where the cache cannot be opened
    }
    bool isConnected = sendFrame(socket.get(), encodeReady());
    WorkerRequest request;
    while (isConnected && readRequest(socket.get(), request)) {
        if (cache.isReplaced()) {
            (void)sendFrame(socket.get(), encodeDeclined(Declined::CacheReplaced));
            break;
        }
        isConnected = sendFrame(socket.get(), answerFrame(request, cim));
    }
    std::exit(EXIT_SUCCESS); // NOLINT(concurrency-mt-unsafe): the process has one thread
}

} // namespace host
