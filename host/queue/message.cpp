#include "queue/message.h"

#include "queue/container_id.h"
#include "worker/strict_json.h"

#include <ResourceMapper.h>
#include <httpd/status.h>

#include <algorithm>
#include <iterator>

namespace host {

namespace {

struct FaultEntry
{
    QueueFault fault;
    _ResourceMapperError code;
    unsigned int status;
    const char* reason;
    const char* message; // behind the subject, where there is one
};

constexpr FaultEntry kFaults[] = {
    {QueueFault::MalformedRequest, RM_MALFORMED_JSON, httpd::kBadRequest, "MalformedRequest",
     "The request must be one frame with the JSON object {\"container\": \"...\", \"id\": "
     "\"...\"}."},
    {QueueFault::InvalidId, RM_PROPERTY_VALUE_ERROR, httpd::kBadRequest, "InvalidId",
     "The id must be 1 to 127 letters, digits and . _ : # - without -- in it."},
    {QueueFault::UnknownContainer, RM_RESOURCE_NOT_IN_RMF, httpd::kNotFound, "UnknownContainer",
     "is no entry of the mapping file."},
    {QueueFault::NotCached, RM_DATA_NOT_CACHED, httpd::kServiceUnavailable, "NotCached",
     "is not ready in the data cache: ask again in 5 seconds."},
    {QueueFault::Busy, RM_INTERNAL_ERROR, httpd::kServiceUnavailable, "Busy",
     "The service is busy, or this request has ended workers: ask again in 5 seconds, or in a "
     "minute."},
    {QueueFault::TooLate, RM_INTERNAL_ERROR, httpd::kGatewayTimeout, "TooLate",
     "The request passed its deadline: ask again."},
    {QueueFault::WorkerEnded, RM_INTERNAL_ERROR, httpd::kInternalServerError, "WorkerEnded",
     "The worker that had the request ended: the service's log says why."},
};

const FaultEntry& entryOf(QueueFault fault)
{
    return *std::find_if(std::begin(kFaults), std::end(kFaults),
                         [fault](const FaultEntry& entry) { return entry.fault == fault; });
}

// The name goes to the library, where a NUL would end it, and into the log, where a line break
// would.
bool hasControlCharacter(const std::string& name)
{
    return std::any_of(name.begin(), name.end(),
                       [](char c) { return static_cast<unsigned char>(c) < ' '; });
}

bool readText(const Json::Value& object, const char* name, std::string& text)
{
    const Json::Value& member = object[name];
    if (!member.isString()) {
        return false;
    }
    text = member.asString();
    return true;
}

} // namespace

std::optional<QueueFault> readQueueRequest(std::string_view text, EmbeddedDataRequest& request)
{
    Json::Value object;
    if (!parseObject(text, object) || object.size() != 2 ||
        !readText(object, "container", request.container) || !readText(object, "id", request.id) ||
        hasControlCharacter(request.container)) {
        return QueueFault::MalformedRequest;
    }
    if (!isContainerId(request.id)) {
        return QueueFault::InvalidId;
    }
    return std::nullopt;
}

std::string queueAnswer(const Json::Value& data)
{
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    return Json::writeString(builder, data);
}

std::string queueError(QueueFault fault, const std::string& subject)
{
    const FaultEntry& entry = entryOf(fault);
    Json::Value answer;
    Json::Value& error = answer["error"];
    error["reason"] = entry.reason;
    error["code"] = entry.code;
    error["message"] = subject.empty() ? entry.message : subject + " " + entry.message;
    return queueAnswer(answer);
}

// No text has to be read as JSON for that: of an error "reason" comes last, as queueError() says
// it.
unsigned int statusOfAnswer(std::string_view answer)
{
    if (!answer.starts_with("{\"error\":")) {
        return httpd::kOk;
    }
    const auto* const found =
        std::find_if(std::begin(kFaults), std::end(kFaults), [&](const FaultEntry& entry) {
            return answer.ends_with("\"" + std::string(entry.reason) + "\"}}");
        });
    return found == std::end(kFaults) ? httpd::kOk : found->status;
}

} // namespace host
