// The messages of the message-queue endpoint, which docs/oem-endpoint.md describes.
#ifndef HOST_QUEUE_MESSAGE_H_
#define HOST_QUEUE_MESSAGE_H_

#include <json/json.h>

#include <optional>
#include <string>
#include <string_view>

namespace host {

struct OemRequest
{
    std::string container; // without control characters
    std::string id;
};

// Why a request is not answered with data.
enum class OemFault {
    MalformedRequest,
    InvalidId,
    UnknownContainer,
    NotCached,
    Busy,
    TooLate,
    WorkerEnded
};

// Whether an id may become part of the SQL conditions of a mapping file: 1 to 127 letters and
// digits of ASCII and . _ : # - in which no "--" begins a comment.
bool isOemId(std::string_view id);

// Reads the JSON of a request; a fault when it is none, with request unspecified.
std::optional<OemFault> readOemRequest(std::string_view text, OemRequest& request);

// Answers, as JSON without line breaks. subject is what the fault is about: the container, the
// resource that is not cached.
std::string oemAnswer(const Json::Value& data);
std::string oemError(OemFault fault, const std::string& subject = {});

} // namespace host

#endif
