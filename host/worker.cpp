#include "worker.h"

#include "cim_session.h"
#include "frame.h"
#include "host_limits.h"
#include "mapping_lookup.h"
#include "request_handler.h"

#include <ResourceMapper.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>

namespace host {

namespace {

// Sanitizers reserve terabytes of address space.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kLimitMemory = false;
#else
constexpr bool kLimitMemory = true;
#endif

void limitResources()
{
    const rlimit noCore{0, 0};
    (void)setrlimit(RLIMIT_CORE, &noCore);
    if (kLimitMemory) {
        const rlimit memory{kWorkerMemoryBytes, kWorkerMemoryBytes};
        (void)setrlimit(RLIMIT_AS, &memory);
    }
}

// Reads exactly size bytes; false when the front is gone.
bool readBytes(int socket, char* buffer, size_t size)
{
    while (size > 0) {
        const ssize_t got = recv(socket, buffer, size, 0);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            return false;
        }
        buffer += got;
        size -= static_cast<size_t>(got);
    }
    return true;
}

bool writeBytes(int socket, const std::string& bytes)
{
    size_t sent = 0;
    while (sent < bytes.size()) {
        const ssize_t put = send(socket, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (put < 0 && errno == EINTR) {
            continue;
        }
        if (put < 0) {
            return false;
        }
        sent += static_cast<size_t>(put);
    }
    return true;
}

bool readRequest(int socket, WorkerRequest& request)
{
    char header[kFrameHeaderBytes];
    uint32_t bytes = 0;
    if (!readBytes(socket, header, sizeof header) || !decodeLength(header, bytes)) {
        return false;
    }
    std::string payload(bytes, '\0');
    return readBytes(socket, payload.data(), payload.size()) && decodeRequest(payload, request);
}

// Which file the data cache's path names. A writer that must not be seen half-way puts a new file
// in the old one's place; whoever has the old one open would read it for ever.
class CacheFile
{
public:
    // To be called before the cache is opened: a replacement in between costs a worker, not an
    // answer.
    void note() { mIsNoted = stat(SQLInterface::DataCachePath.c_str(), &mNoted) == 0; }

    // Whether there is another file now. While there is none the old one goes on serving.
    bool isReplaced() const
    {
        struct stat now
        {};
        return mIsNoted && stat(SQLInterface::DataCachePath.c_str(), &now) == 0 &&
               (now.st_dev != mNoted.st_dev || now.st_ino != mNoted.st_ino);
    }

private:
    struct stat mNoted
    {};
    bool mIsNoted = false;
};

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
    bool isConnected = writeBytes(socket.get(), encodeReady());
    WorkerRequest request;
    while (isConnected && readRequest(socket.get(), request)) {
        if (cache.isReplaced()) {
            (void)writeBytes(socket.get(), encodeDeclined(Declined::CacheReplaced));
            break;
        }
        isConnected = writeBytes(socket.get(), answerFrame(request, cim));
    }
    std::exit(EXIT_SUCCESS); // NOLINT(concurrency-mt-unsafe): the process has one thread
}

} // namespace host
