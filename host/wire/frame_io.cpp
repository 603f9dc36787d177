#include "wire/frame_io.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/read.hpp>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>

namespace host {

namespace asio = boost::asio;
using boost::system::error_code;
using Socket = asio::local::stream_protocol::socket;

namespace {

bool receiveBytes(int socket, char* buffer, size_t size)
{
    while (size > 0) {
        const ssize_t got = recv(socket, buffer, size, 0);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            return false;
        }
        buffer += got;
        size -= static_cast<size_t>(got);
    }
    return true;
}

// Room is made as the payload comes: a length costs its sender nothing.
void readRest(Socket& socket, FrameBuffer& buffer, uint32_t bytes, std::function<void(bool)> done)
{
    constexpr size_t kFirstPieceBytes = 65536;
    const size_t got = buffer.payload.size();
    const size_t piece = std::min(bytes - got, std::max(got, kFirstPieceBytes));
    buffer.payload.resize(got + piece);
    asio::async_read(socket, asio::buffer(buffer.payload.data() + got, piece),
                     [&socket, &buffer, bytes, done = std::move(done)](error_code error,
                                                                       size_t /*bytes*/) mutable {
                         if (!error && buffer.payload.size() < bytes) {
                             readRest(socket, buffer, bytes, std::move(done));
                         } else {
                             done(!error);
                         }
                     });
}

void readPayload(Socket& socket, FrameBuffer& buffer, std::function<void(bool)> done)
{
    uint32_t bytes = 0;
    if (!decodeLength(buffer.header, bytes)) {
        done(false);
        return;
    }
    buffer.payload.clear();
    readRest(socket, buffer, bytes, std::move(done));
}

} // namespace

bool receiveFrame(int socket, std::string& payload)
{
    char header[kFrameHeaderBytes];
    uint32_t bytes = 0;
    if (!receiveBytes(socket, header, sizeof header) || !decodeLength(header, bytes)) {
        return false;
    }
    payload.resize(bytes);
    return receiveBytes(socket, payload.data(), payload.size());
}

bool sendFrame(int socket, const std::string& frame)
{
    size_t sent = 0;
    while (sent < frame.size()) {
        const ssize_t put = send(socket, frame.data() + sent, frame.size() - sent, MSG_NOSIGNAL);
        if (put < 0 && errno == EINTR) {
            continue;
        }
        if (put < 0) {
            return false;
        }
        sent += static_cast<size_t>(put);
    }
    return true;
}

void readFrame(Socket& socket, FrameBuffer& buffer, std::function<void(bool)> done)
{
    asio::async_read(
        socket, asio::buffer(buffer.header),
        [&socket, &buffer, done = std::move(done)](error_code error, size_t /*bytes*/) mutable {
            if (error) {
                done(false);
            } else {
                readPayload(socket, buffer, std::move(done));
            }
        });
}

} // namespace host
