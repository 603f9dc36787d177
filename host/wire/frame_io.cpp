#include "wire/frame_io.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/read.hpp>
#include <sys/socket.h>

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

void readPayload(Socket& socket, FrameBuffer& buffer, std::function<void(bool)> done)
{
    uint32_t bytes = 0;
    if (!decodeLength(buffer.header, bytes)) {
        done(false);
        return;
    }
    buffer.payload.resize(bytes);
    asio::async_read(
        socket, asio::buffer(buffer.payload),
        [done = std::move(done)](error_code error, size_t /*bytes*/) { done(!error); });
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
