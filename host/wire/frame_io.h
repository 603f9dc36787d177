// Frames (frame.h) on stream sockets between processes of the service.
#ifndef HOST_WIRE_FRAME_IO_H_
#define HOST_WIRE_FRAME_IO_H_

#include "wire/frame.h"

#include <boost/asio/local/stream_protocol.hpp>

#include <functional>
#include <string>

namespace host {

// ---- Blocking, for processes that do one thing at a time

// Reads one frame's payload; false when the other end is gone, or sends none.
bool receiveFrame(int socket, std::string& payload);

// Sends an encoded frame; false when the other end is gone.
bool sendFrame(int socket, const std::string& frame);

// ---- For the front

// What is read of a frame; lives until the read is done.
struct FrameBuffer
{
    char header[kFrameHeaderBytes] = {};
    std::string payload;
};

// Reads one frame; calls done once, with false when the other end is gone, or sends none. A
// std::bad_alloc, which done may throw too, leaves the io_context's handler after done has been
// called with false, in the latter case for the second time.
void readFrame(boost::asio::local::stream_protocol::socket& socket, FrameBuffer& buffer,
               std::function<void(bool)> done);

} // namespace host

#endif
