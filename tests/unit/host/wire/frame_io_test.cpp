// Frames on real sockets, whole and in pieces.
#include "front/FakeSpawner.h"
#include "host_limits.h"
#include "wire/frame_io.h"

#include <RunUntil.h>
#include <gtest/gtest.h>
#include <service/file_descriptor.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <array>
#include <chrono>
#include <future>
#include <optional>
#include <thread>

namespace {

constexpr std::chrono::seconds kLongEnough{10};
constexpr size_t kMoreThanASocketTakes = 8UL * 1024 * 1024;

class FrameIo : public testing::Test
{
protected:
    void SetUp() override { connect(); }

    // A new pair of sockets.
    void connect()
    {
        std::array<int, 2> ends{-1, -1};
        ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
        mNear = service::FileDescriptor(ends[0]);
        mFar = service::FileDescriptor(ends[1]);
        const timeval longEnough{kLongEnough.count(), 0};
        ASSERT_EQ(setsockopt(mNear.get(), SOL_SOCKET, SO_RCVTIMEO, &longEnough, sizeof longEnough),
                  0);
    }

    void sendBytes(std::string_view bytes) const
    {
        EXPECT_EQ(send(mFar.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(bytes.size()));
    }

    // Sends each byte when the one before has been received; false when one is not.
    bool sendOneByOne(std::string_view bytes) const
    {
        const auto until = std::chrono::steady_clock::now() + kLongEnough;
        for (const char byte : bytes) {
            sendBytes({&byte, 1});
            int unread = 1;
            while (ioctl(mNear.get(), FIONREAD, &unread) == 0 && unread > 0) {
                if (std::chrono::steady_clock::now() > until) {
                    return false;
                }
                std::this_thread::yield();
            }
        }
        return true;
    }

    std::optional<std::string> received() const
    {
        std::string payload = "what was there before";
        const bool isFrame = host::receiveFrame(mNear.get(), payload);
        return isFrame ? std::optional(payload) : std::nullopt;
    }

    service::FileDescriptor mNear;
    service::FileDescriptor mFar;
};

TEST_F(FrameIo, FramesAreReceivedOneByOneAsTheyWereSent)
{
    const std::string first = host::encodeNumbered(1, "first");
    const std::string second = host::encodeReady();
    ASSERT_TRUE(host::sendFrame(mFar.get(), first));
    ASSERT_TRUE(host::sendFrame(mFar.get(), second));
    sendBytes(lengthOnly(0));
    EXPECT_EQ(received(), first.substr(host::kFrameHeaderBytes));
    EXPECT_EQ(received(), second.substr(host::kFrameHeaderBytes));
    EXPECT_EQ(received(), "");
}

TEST_F(FrameIo, FrameMayComeByteByByte)
{
    const std::string frame = host::encodeNumbered(7, "request");
    auto sender = std::async(std::launch::async, [&] { return sendOneByOne(frame); });
    EXPECT_EQ(received(), frame.substr(host::kFrameHeaderBytes));
    EXPECT_TRUE(sender.get());
}

TEST_F(FrameIo, FrameThatTheSocketDoesNotTakeAtOnceArrivesWhole)
{
    std::string message(kMoreThanASocketTakes, 'x');
    message.back() = 'y';
    const std::string frame = host::encodeNumbered(7, message);
    auto sender =
        std::async(std::launch::async, [&] { return host::sendFrame(mFar.get(), frame); });
    const bool isWhole = received() == frame.substr(host::kFrameHeaderBytes);
    mNear.reset(); // ends a sender that still waits
    EXPECT_TRUE(isWhole);
    EXPECT_TRUE(sender.get());
}

TEST_F(FrameIo, FrameThatIsCutOffIsNone)
{
    const std::string frame = host::encodeNumbered(7, "request");
    for (size_t bytes = 0; bytes < frame.size(); ++bytes) {
        connect();
        sendBytes(std::string_view(frame).substr(0, bytes));
        mFar.reset();
        EXPECT_EQ(received(), std::nullopt) << bytes;
    }
}

TEST_F(FrameIo, LengthAboveTheLimitIsRefusedBeforeRoomIsMade)
{
    for (const uint32_t bytes : {host::kMaxFrameBytes + 1, 0x80000000U, UINT32_MAX}) {
        connect();
        sendBytes(lengthOnly(bytes) + "payload");
        std::string payload = "before";
        EXPECT_FALSE(host::receiveFrame(mNear.get(), payload)) << bytes;
        EXPECT_EQ(payload, "before");
    }
}

TEST_F(FrameIo, SendingToAClosedEndFailsWithoutASignal)
{
    mFar.reset();
    EXPECT_FALSE(host::sendFrame(mNear.get(), host::encodeReady()));
}

TEST_F(FrameIo, SenderThatWaitsForRoomNoticesTheEnd)
{
    const std::string frame = host::encodeNumbered(7, std::string(kMoreThanASocketTakes, 'x'));
    auto sender =
        std::async(std::launch::async, [&] { return host::sendFrame(mNear.get(), frame); });
    char byte = 0;
    EXPECT_EQ(recv(mFar.get(), &byte, 1, 0), 1); // it has begun
    mFar.reset();
    EXPECT_FALSE(sender.get());
}

// ---- In the front

class FrontFrameIo : public FrameIo
{
protected:
    void read()
    {
        mSocket.emplace(mContext, boost::asio::local::stream_protocol(), mNear.release());
        host::readFrame(*mSocket, mBuffer, [this](bool isRead) {
            ++mCalls;
            mIsRead = isRead;
        });
    }

    bool isDone()
    {
        return runUntil(mContext, [this] { return mCalls > 0; });
    }

    boost::asio::io_context mContext{1};
    std::optional<boost::asio::local::stream_protocol::socket> mSocket;
    host::FrameBuffer mBuffer;
    int mCalls = 0;
    bool mIsRead = false;
};

TEST_F(FrontFrameIo, FrameMayComeByteByByte)
{
    read();
    const std::string frame = host::encodeNumbered(7, "request");
    for (const char byte : frame) {
        EXPECT_EQ(mCalls, 0);
        sendBytes({&byte, 1});
        while (mContext.poll_one() > 0) {
        }
    }
    ASSERT_TRUE(isDone());
    EXPECT_TRUE(mIsRead);
    EXPECT_EQ(mBuffer.payload, frame.substr(host::kFrameHeaderBytes));
    EXPECT_EQ(mCalls, 1);
}

TEST_F(FrontFrameIo, EndWithinAFrameIsReportedOnce)
{
    const std::string frame = host::encodeNumbered(7, "request");
    for (size_t bytes = 0; bytes < frame.size(); ++bytes) {
        connect();
        mCalls = 0;
        sendBytes(std::string_view(frame).substr(0, bytes));
        mFar.reset();
        read();
        ASSERT_TRUE(isDone()) << bytes;
        EXPECT_FALSE(mIsRead) << bytes;
        mContext.restart();
        mContext.run();
        EXPECT_EQ(mCalls, 1) << bytes;
    }
}

TEST_F(FrontFrameIo, LengthAboveTheLimitIsRefusedBeforeRoomIsMade)
{
    sendBytes(lengthOnly(host::kMaxFrameBytes + 1) + "payload");
    mBuffer.payload = "before";
    read();
    ASSERT_TRUE(isDone());
    EXPECT_FALSE(mIsRead);
    EXPECT_EQ(mBuffer.payload, "before");
}

TEST_F(FrontFrameIo, RoomIsMadeAsThePayloadComes)
{
    read();
    sendBytes(lengthOnly(host::kMaxFrameBytes) + "some");
    mContext.restart();
    while (mContext.poll_one() > 0) {
    }
    EXPECT_LE(mBuffer.payload.capacity(), 65536U);
    EXPECT_EQ(mCalls, 0);
    mFar.reset();
    ASSERT_TRUE(isDone());
    EXPECT_FALSE(mIsRead);
}

} // namespace
