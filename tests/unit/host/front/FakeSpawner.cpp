#include "front/FakeSpawner.h"

#include "wire/frame.h"

#include <RunUntil.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <utility>

FakeWorker::FakeWorker(boost::asio::io_context& context, service::FileDescriptor socket,
                       uint32_t id)
    : mContext(context), mSocket(std::move(socket)), mId(id)
{}

void FakeWorker::send(std::string_view bytes)
{
    EXPECT_EQ(::send(mSocket.get(), bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL),
              static_cast<ssize_t>(bytes.size()));
}

void FakeWorker::sendReady()
{
    send(host::encodeReady());
}

void FakeWorker::answer(const httpd::Response& response)
{
    send(host::encodeResponse(response));
}

bool FakeWorker::receive(size_t bytes)
{
    return runUntil(mContext, [&] {
        std::array<char, 65536> buffer{};
        const ssize_t got = recv(mSocket.get(), buffer.data(), buffer.size(), MSG_DONTWAIT);
        if (got > 0) {
            mReceived.append(buffer.data(), static_cast<size_t>(got));
        } else if (got == 0 || errno == ECONNRESET) {
            mIsClosed = true;
        }
        return mReceived.size() >= bytes || mIsClosed;
    });
}

void FakeWorker::decline(host::Declined reason)
{
    send(host::encodeDeclined(reason));
}

// Where it is asked whether it lives, it does.
std::string FakeWorker::readPayload()
{
    std::string payload = nextPayload();
    while (host::isPing(payload)) {
        send(host::encodePing());
        payload = nextPayload();
    }
    return payload;
}

std::string FakeWorker::nextPayload()
{
    uint32_t bytes = 0;
    EXPECT_TRUE(receive(host::kFrameHeaderBytes));
    if (mReceived.size() < host::kFrameHeaderBytes ||
        !host::decodeLength(mReceived.data(), bytes)) {
        ADD_FAILURE() << "no frame";
        return {};
    }
    const size_t frameBytes = host::kFrameHeaderBytes + bytes;
    EXPECT_TRUE(receive(frameBytes));
    std::string payload = mReceived.substr(host::kFrameHeaderBytes, bytes);
    mReceived.erase(0, frameBytes);
    return payload;
}

bool FakeWorker::hasRequest()
{
    char byte = 0;
    return recv(mSocket.get(), &byte, sizeof byte, MSG_PEEK | MSG_DONTWAIT) > 0;
}

host::WorkerRequest FakeWorker::readRequest()
{
    host::WorkerRequest request;
    EXPECT_TRUE(host::decodeRequest(readPayload(), request));
    return request;
}

std::string FakeWorker::readTarget()
{
    const host::WorkerRequest request = readRequest();
    const auto* const action = std::get_if<host::ActionRequest>(&request);
    return action == nullptr ? std::get<host::ReadRequest>(request).target : action->target;
}

bool FakeWorker::discard(size_t bytes)
{
    const bool hasCome = receive(bytes) && mReceived.size() >= bytes;
    mReceived.erase(0, bytes);
    return hasCome;
}

bool FakeWorker::isClosedByFront()
{
    (void)receive(SIZE_MAX);
    EXPECT_EQ(mReceived, "");
    return mIsClosed;
}

FakeSpawner::FakeSpawner(boost::asio::io_context& context) : mContext(context)
{
    std::array<int, 2> ends{-1, -1};
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends.data()),
              0);
    mFrontEnd = service::FileDescriptor(ends[0]);
    mFarEnd = service::FileDescriptor(ends[1]);
}

host::ControlMessage FakeSpawner::next()
{
    host::ControlMessage message;
    EXPECT_TRUE(runUntil(mContext, [&] {
        return host::receiveControl(mFarEnd.get(), message) == host::Received::Message;
    })) << "no message";
    return message;
}

bool FakeSpawner::nextIs(host::ControlKind kind)
{
    return next().kind == kind;
}

bool FakeSpawner::hasMessage()
{
    char byte = 0;
    return recv(mFarEnd.get(), &byte, sizeof byte, MSG_PEEK | MSG_DONTWAIT) > 0;
}

FakeWorker FakeSpawner::announceWorker()
{
    std::array<int, 2> ends{-1, -1};
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
    host::ControlMessage message;
    message.kind = host::ControlKind::Forked;
    message.id = ++mLastId;
    message.descriptor = service::FileDescriptor(ends[0]);
    send(message);
    return {mContext, service::FileDescriptor(ends[1]), mLastId};
}

void FakeSpawner::send(const host::ControlMessage& message)
{
    EXPECT_TRUE(host::sendControl(mFarEnd.get(), message));
}
