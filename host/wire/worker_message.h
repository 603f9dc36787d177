// What the front and a worker say to each other, as payloads of frames (frame.h): a request, and
// the response to it, or why the worker gives it back.
#ifndef HOST_WIRE_WORKER_MESSAGE_H_
#define HOST_WIRE_WORKER_MESSAGE_H_

#include <httpd/server.h>

#include <string>
#include <string_view>
#include <variant>

namespace host {

// A GET or HEAD.
struct ReadRequest
{
    std::string target;      // path and query as they came
    bool mayReadLive = true; // false: decline what needs the CIM object manager
    bool wantsGzip = false;  // whether an answer from the data cache may be compressed
};

// A GET or HEAD of a resource of the service itself, which is made of what others answer.
struct ComposeRequest : ReadRequest
{};

// A POST.
struct ActionRequest
{
    std::string target; // path and query as they came
    std::string body;
};

// What a container embeds, for the message queue. Only the data cache is read.
struct EmbeddedDataRequest
{
    std::string container; // without control characters
    std::string id;
};

// A request for a worker. A further kind is a struct, a line here, how its fields are put and taken
// (worker_message.cpp), and a function of the worker's that answers it (request_handler.cpp).
using WorkerRequest = std::variant<ReadRequest, ActionRequest, EmbeddedDataRequest, ComposeRequest>;

// What a request reads; null for one that is no GET or HEAD.
inline ReadRequest* readOf(WorkerRequest& request)
{
    auto* const read = std::get_if<ReadRequest>(&request);
    return read != nullptr ? read : std::get_if<ComposeRequest>(&request);
}

// A worker that gives its request back unanswered, and why.
enum class Declined {
    NeedsCim,      // the resource is read live, which this worker may not do now
    CacheReplaced, // another file is in the data cache's place; the worker ends
    MemoryGrown    // the request might find no memory; the worker ends
};

// Frames.
std::string encodeRequest(const WorkerRequest& request);
std::string encodeResponse(const httpd::Response& response);
std::string encodeDeclined(Declined reason);

// Whether a response may have this header: a name and a value that HTTP allows (RFC 9110, 5.5 and
// 5.6.2), of at most kMaxHeaderTextBytes (host_limits.h), and none of those that say how a message
// is sent, which are the server's own.
bool isAnswerHeader(const httpd::Header& header);

// Payloads; false when one is not exactly what was encoded, or a response is none that a worker
// gives: a status outside 200 to 599, a body where HTTP has none, more than kMaxAnswerHeaders
// headers, or one that is no isAnswerHeader(), a remark above kMaxRemarkBytes.
bool decodeRequest(std::string_view payload, WorkerRequest& request);
bool decodeResponse(std::string_view payload, httpd::Response& response);
bool decodeDeclined(std::string_view payload, Declined& reason);

} // namespace host

#endif
