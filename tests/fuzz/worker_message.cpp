// Any bytes as what a process says to the front, or the front to a process: what is taken is
// exactly what this end would have sent, and a response is one that the HTTP server can send.
#include "wire/worker_message.h"

#include "checks.h"
#include "host_limits.h"
#include "wire/frame.h"
#include "wire/mapping_summary.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace {

void requireSame(std::string_view payload, const std::string& frame)
{
    uint32_t bytes = 0;
    fuzz::require(host::decodeLength(frame.data(), bytes) && bytes == payload.size(),
                  "a frame says how long its payload is");
    fuzz::require(payload == std::string_view(frame).substr(host::kFrameHeaderBytes),
                  "what is taken is what would be sent");
}

void takeAsRequest(std::string_view payload)
{
    host::WorkerRequest request;
    if (host::decodeRequest(payload, request)) {
        requireSame(payload, host::encodeRequest(request));
    }
}

void takeAsAnswer(std::string_view payload)
{
    httpd::Response response;
    const bool isResponse = host::decodeResponse(payload, response);
    if (isResponse) {
        requireSame(payload, host::encodeResponse(response));
        fuzz::require(response.status >= 200 && response.status <= 599, "a status is a final one");
        fuzz::require(response.headers.size() <= host::kMaxAnswerHeaders, "headers are few");
        fuzz::require(
            std::all_of(response.headers.begin(), response.headers.end(), host::isAnswerHeader),
            "headers are an answer's");
    }
    host::Declined reason{};
    if (host::decodeDeclined(payload, reason)) {
        fuzz::require(!isResponse, "a request is answered or given back");
        requireSame(payload, host::encodeDeclined(reason));
    }
}

void takeAsQueueMessage(std::string_view payload)
{
    uint32_t number = 0;
    std::string message;
    if (host::decodeNumbered(payload, number, message)) {
        requireSame(payload, host::encodeNumbered(number, message));
    }
    if (host::isReady(payload)) {
        requireSame(payload, host::encodeReady());
    }
}

void takeAsSummary(std::string_view text)
{
    host::MappingSummary summary;
    if (!host::decodeSummary(text, summary)) {
        return;
    }
    fuzz::require(host::encodeSummary(summary) == text, "a summary is what would be sent");
    for (const auto& [uri, entry] : summary.uris) {
        (void)summary.kindOf(uri + "/Some.Instance?$select=Id");
    }
}

void takeAsLength(std::string_view header)
{
    uint32_t bytes = 0;
    if (header.size() >= host::kFrameHeaderBytes && host::decodeLength(header.data(), bytes)) {
        fuzz::require(bytes <= host::kMaxFrameBytes, "no frame is above the limit");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string input(data, data + size);
    takeAsRequest(input);
    takeAsAnswer(input);
    takeAsQueueMessage(input);
    takeAsSummary(input);
    takeAsLength(input);
    return 0;
}
