#include "worker/worker.h"

#include "log_filter.h"
#include "process_limits.h"
#include "process_name.h"
#include "wire/frame_io.h"
#include "worker/cache_read.h"
#include "worker/current_request.h"
#include "worker/request_handler.h"

#include <ResourceMapper.h>
#include <ResourceMapper/mapping/Links.h>
#include <poll.h>

#include <cstdlib>
#include <string>

namespace host {

namespace {

void awaitRequest(int socket)
{
    pollfd wait{socket, POLLIN, 0};
    while (poll(&wait, 1, msUntilRepeats()) == 0) {
        tellRepeats();
    }
}

bool readRequest(int socket, WorkerRequest& request)
{
    awaitRequest(socket);
    std::string payload;
    return receiveFrame(socket, payload) && decodeRequest(payload, request);
}

std::string answerFrame(const WorkerRequest& request, Sources& sources)
{
    const std::optional<httpd::Response> response = handleRequest(request, sources);
    return response ? encodeResponse(*response) : encodeDeclined(Declined::NeedsCim);
}

} // namespace

void runWorker(service::FileDescriptor socket, WorkNote& note, CacheNotice& cacheNotice,
               const service_file::ServiceResources& resources, bool isVerbatim)
{
    nameProcess(ProcessKind::Worker);
    currentRequest().showIn(&note);
    setLibraryErrorListener(
        [](const std::string& message) { currentRequest().libraryError(message); });
    limitResources();
    CacheRead::watchSqlite();
    Sources sources(cacheNotice, resources, isVerbatim);
    if (cimgate::mapping::readsDataCache(ResourceMapper::RmfObj)) {
        sources.cache.look();
    }
    const AddressSpace addressSpace;
    bool hasAnswered = false; // one that starts near the limit is of use all the same
    bool isConnected = sendFrame(socket.get(), encodeReady());
    WorkerRequest request;
    while (isConnected && readRequest(socket.get(), request)) {
        if (sources.cache.isReplaced()) {
            (void)sendFrame(socket.get(), encodeDeclined(Declined::CacheReplaced));
            break;
        }
        if (hasAnswered && addressSpace.isNearLimit()) {
            (void)sendFrame(socket.get(), encodeDeclined(Declined::MemoryGrown));
            break;
        }
        isConnected = sendFrame(socket.get(), answerFrame(request, sources));
        hasAnswered = true;
    }
    tellAllRepeats();
    std::exit(EXIT_SUCCESS); // NOLINT(concurrency-mt-unsafe): the process has one thread
}

} // namespace host
