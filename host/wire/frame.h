// Frames: how the front and the processes that work for it part their messages on a stream socket.
// Four bytes of length (host byte order; both ends are one machine), then the payload. No end
// trusts the other's lengths.
#ifndef HOST_WIRE_FRAME_H_
#define HOST_WIRE_FRAME_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace host {

// Bytes of length before each frame's payload.
inline constexpr size_t kFrameHeaderBytes = sizeof(uint32_t);

// A payload and its length in front of it.
std::string framed(std::string_view payload);

// The payload's length, from kFrameHeaderBytes bytes; false when it is above kMaxFrameBytes
// (host_limits.h).
bool decodeLength(const char* header, uint32_t& bytes);

// The first frame of a process that works for the front.
std::string encodeReady();
bool isReady(std::string_view payload);

// Whether the other end still lives, and the answer to that.
std::string encodePing();
bool isPing(std::string_view payload);

// A message of the message queue, either way; the number is the request's.
std::string encodeNumbered(uint32_t number, std::string_view message);
bool decodeNumbered(std::string_view payload, uint32_t& number, std::string& message);

} // namespace host

#endif
