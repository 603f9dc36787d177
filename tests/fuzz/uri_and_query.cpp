// Any bytes as the target of a request to the sample system: no client may end the process, and
// each gets a well-formed answer.
#include "checks.h"
#include "sample_system.h"
#include "service_file/service_file.h"
#include "worker/request_handler.h"

#include <JsonAccess.h>
#include <ResourceMapper.h>
#include <odata/odata.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>

namespace {

// Shorter than many an option, so that some copies are cut.
constexpr size_t kShortBufferBytes = 16;

// A URI is readable whatever is wrong with it.
void inspect(const odata::URI& uri)
{
    const unsigned int segments = uri.GetSegmentCount();
    for (unsigned int i = 0; i < segments; ++i) {
        fuzz::require(*uri.GetSegment(i) != '\0', "no segment is empty");
    }
    fuzz::require(uri.GetSegment(segments) == nullptr, "there is nothing behind the segments");
    for (const unsigned int option :
         {OL_OPTION_FILTER, OL_OPTION_EXPAND, OL_OPTION_SELECT, OL_OPTION_TOP, OL_OPTION_SKIP}) {
        const std::unique_ptr<char[]> buffer(new char[kShortBufferBytes]);
        const size_t copied = uri.CopyOption(option, buffer.get(), kShortBufferBytes);
        fuzz::require(copied == std::min(uri.GetOptionLength(option), kShortBufferBytes - 1) &&
                          std::strlen(buffer.get()) == copied,
                      "a copy is the option's beginning");
        const bool isPresent = (uri.GetOptionMask() & option) != 0;
        fuzz::require(isPresent || (copied == 0 && uri.GetOptionUInt32(option) == 0),
                      "an absent option has no value");
    }
}

// What the host answers itself, before the library sees the request.
bool isRefusedBefore(const odata::URI& uri)
{
    return uri.GetFault() != OL_URI_OK || uri.GetUnknownOption() != nullptr ||
           uri.GetSegmentCount() == 0;
}

// The sample's resources of standard types.
host::service_file::ServiceResources readOwnResources()
{
    odata::Scope scope = odata::Scope::New();
    const odata::URI uri = scope.NewURI();
    (void)ResourceMapper(nullptr, scope, uri, false).checkResource("", true); // loads the mapping
    std::ifstream file("data/service.json");
    Json::Value declared;
    fuzz::require(cimgate::readJson(file, declared), "the sample's service file is read");
    return {host::service_file::readServiceFile(declared, ResourceMapper::RmfObj), {}};
}

void ask(const host::WorkerRequest& request)
{
    static host::CacheNotice notice;
    static const host::service_file::ServiceResources kOwnResources = readOwnResources();
    static host::Sources sources(notice, kOwnResources);
    const bool isPost = std::holds_alternative<host::ActionRequest>(request);
    const auto answer = host::handleRequest(request, sources);
    if (!answer) {
        return; // read from an object manager, which there is none here
    }
    const httpd::Response& response = *answer;
    fuzz::require(response.status >= 200 && response.status < 600, "the status is one of HTTP");
    fuzz::require(!isPost || response.status >= 400,
                  "without an object manager no action succeeds");
    fuzz::requireJsonObject(response.body);
    for (const auto& header : response.headers) {
        fuzz::require(header.value.find_first_of("\r\n") == std::string::npos,
                      "a header is one line");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const fuzz::SampleSystem kSystem;
    const std::string target(data, data + size);
    odata::Scope scope = odata::Scope::ForRequest(target);
    const odata::URI uri = scope.NewURI();
    inspect(uri);
    if (!isRefusedBefore(uri)) {
        const std::string url = scope.GetRequestURL();
        ask(host::ReadRequest{url});
        ask(host::ActionRequest{url, "{}"});
        ask(host::ComposeRequest{{url}});
    }
    return 0;
}
