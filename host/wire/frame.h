// What the front and the processes that work for it say to each other, as frames on a stream
// socket: four bytes of length (host byte order; both ends are one machine), then the fields. No
// end trusts the other's lengths.
#ifndef HOST_WIRE_FRAME_H_
#define HOST_WIRE_FRAME_H_

#include <httpd/server.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace host {

// Bytes of length before each frame's payload.
inline constexpr size_t kFrameHeaderBytes = sizeof(uint32_t);

enum class RequestKind : uint32_t {
    Read,
    Action, // a POST
    OemData // what a container embeds, for the message queue
};

// A request for a worker.
struct WorkerRequest
{
    std::string target = {}; // path and query as they came; of OemData the container
    bool mayReadLive = true; // false: decline what needs the CIM object manager
    RequestKind kind = RequestKind::Read;
    std::string body = {}; // of an Action the body, of OemData the id
};

// A worker that gives its request back unanswered, and why.
enum class Declined {
    NeedsCim,     // the resource is read live, which this worker may not do now
    CacheReplaced // another file is in the data cache's place; the worker ends
};

// Payload and its length in front of it.
std::string encodeRequest(const WorkerRequest& request);
std::string encodeResponse(const httpd::Response& response);
std::string encodeReady(); // the first frame of a process that works for the front
std::string encodeDeclined(Declined reason);
// A message of the message queue, either way; the number is the request's.
std::string encodeNumbered(uint32_t number, std::string_view message);

// The payload's length, from kFrameHeaderBytes bytes; false when it is above kMaxFrameBytes
// (host_limits.h).
bool decodeLength(const char* header, uint32_t& bytes);

// Payloads; false when one is not exactly what was encoded, or a response is none that HTTP can
// carry: a status outside 200 to 599, too many headers or too long ones, line ends in them.
bool decodeRequest(std::string_view payload, WorkerRequest& request);
bool decodeResponse(std::string_view payload, httpd::Response& response);
bool isReady(std::string_view payload);
bool decodeDeclined(std::string_view payload, Declined& reason);
bool decodeNumbered(std::string_view payload, uint32_t& number, std::string& message);

} // namespace host

#endif
