#include "wire/frame_io.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/read.hpp>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <new>
#include <utility>

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

// Reads one frame. For want of memory its sender is given up, as for a frame that is none.
class FrameReading : public std::enable_shared_from_this<FrameReading>
{
public:
    FrameReading(Socket& socket, FrameBuffer& buffer, std::function<void(bool)> done)
        : mSocket(socket), mBuffer(buffer), mDone(std::move(done))
    {}

    void readHeader() { read(mBuffer.header, sizeof mBuffer.header, &FrameReading::readPayload); }

private:
    using Step = void (FrameReading::*)();

    void read(char* data, size_t bytes, Step next)
    {
        asio::async_read(mSocket, asio::buffer(data, bytes),
                         [self = shared_from_this(), next](error_code error, size_t /*bytes*/) {
                             try {
                                 error ? self->mDone(false) : ((*self).*next)();
                             } catch (const std::bad_alloc&) {
                                 self->mDone(false);
                                 throw;
                             }
                         });
    }

    void readPayload()
    {
        if (decodeLength(mBuffer.header, mBytes)) {
            mBuffer.payload.clear();
            readRest();
        } else {
            mDone(false);
        }
    }

    // Room is made as the payload comes: a length costs its sender nothing.
    void readRest()
    {
        constexpr size_t kFirstPieceBytes = 65536;
        const size_t got = mBuffer.payload.size();
        const size_t piece = std::min(mBytes - got, std::max(got, kFirstPieceBytes));
        if (piece == 0) {
            mDone(true);
            return;
        }
        mBuffer.payload.resize(got + piece);
        read(mBuffer.payload.data() + got, piece, &FrameReading::readRest);
    }

    Socket& mSocket;
    FrameBuffer& mBuffer;
    const std::function<void(bool)> mDone;
    uint32_t mBytes = 0;
};

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
    std::make_shared<FrameReading>(socket, buffer, std::move(done))->readHeader();
}

} // namespace host
