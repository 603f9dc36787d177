// The messages of the message-queue endpoint, which docs/oem-endpoint.md describes.
#ifndef HOST_QUEUE_MESSAGE_H_
#define HOST_QUEUE_MESSAGE_H_

#include "wire/worker_message.h"

#include <json/json.h>

#include <optional>
#include <string>
#include <string_view>

namespace host {

// Why a request is not answered with data.
enum class QueueFault {
    MalformedRequest,
    InvalidId,
    UnknownContainer,
    NotCached,
    Busy,
    TooLate,
    WorkerEnded
};

// Reads the JSON of a request; a fault when it is none, with request unspecified.
std::optional<QueueFault> readQueueRequest(std::string_view text, EmbeddedDataRequest& request);

// Answers, as JSON without line breaks. subject is what the fault is about: the container, the
// resource that is not cached.
std::string queueAnswer(const Json::Value& data);
std::string queueError(QueueFault fault, const std::string& subject = {});

// What HTTP would call such an answer: 200, or a status of errors.
unsigned int statusOfAnswer(std::string_view answer);

} // namespace host

#endif
