// What the front and a worker say to each other, as frames on a stream socket: four bytes of length
// (host byte order; both ends are one machine), then the fields. Neither end trusts the other's
// lengths.
#ifndef HOST_FRAME_H_
#define HOST_FRAME_H_

#include <httpd/server.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace host {

// Bytes of length before each frame's payload.
inline constexpr size_t kFrameHeaderBytes = sizeof(uint32_t);

// The largest payload: an answer is one collection without paging at most, and a worker's memory
// limit ends it long before this.
inline constexpr uint32_t kMaxFrameBytes = 128U * 1024 * 1024;

// A request for a worker. Reads are all it takes so far.
struct WorkerRequest
{
    std::string target; // path and query as they came
};

// Payload and its length in front of it.
std::string encodeRequest(const WorkerRequest& request);
std::string encodeResponse(const httpd::Response& response);
std::string encodeReady(); // a worker's first frame

// The payload's length, from kFrameHeaderBytes bytes; false when it is above kMaxFrameBytes.
bool decodeLength(const char* header, uint32_t& bytes);

// Payloads; false when one is not exactly what was encoded.
bool decodeRequest(std::string_view payload, WorkerRequest& request);
bool decodeResponse(std::string_view payload, httpd::Response& response);
bool isReady(std::string_view payload);

} // namespace host

#endif
