// Messages between the front and the spawner.
#include "wire/control.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

using host::ControlKind;
using host::ControlMessage;
using host::Received;
using service::FileDescriptor;

class Control : public testing::Test
{
protected:
    void SetUp() override
    {
        int ends[2] = {-1, -1};
        ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends), 0);
        mNear = service::FileDescriptor(ends[0]);
        mFar = service::FileDescriptor(ends[1]);
    }

    service::FileDescriptor mNear;
    service::FileDescriptor mFar;
};

TEST_F(Control, MessageMakesTheRoundTrip)
{
    ControlMessage sent;
    sent.kind = ControlKind::Failed;
    sent.id = UINT32_MAX;
    sent.pid = 1234;
    sent.text = "cannot read";
    ASSERT_TRUE(host::sendControl(mNear.get(), sent));
    ControlMessage got;
    ASSERT_EQ(host::receiveControl(mFar.get(), got), Received::Message);
    EXPECT_EQ(got.kind, ControlKind::Failed);
    EXPECT_EQ(got.id, UINT32_MAX);
    EXPECT_EQ(got.pid, 1234);
    EXPECT_EQ(got.text, "cannot read");
    EXPECT_FALSE(got.descriptor.isOpen());
}

TEST_F(Control, SocketTravelsWithTheMessage)
{
    int pipeEnds[2] = {-1, -1};
    ASSERT_EQ(pipe(pipeEnds), 0);
    const service::FileDescriptor readEnd(pipeEnds[0]);
    ControlMessage sent;
    sent.kind = ControlKind::Forked;
    sent.descriptor = service::FileDescriptor(pipeEnds[1]);
    ASSERT_TRUE(host::sendControl(mNear.get(), sent));
    sent.descriptor.reset();
    ControlMessage got;
    ASSERT_EQ(host::receiveControl(mFar.get(), got), Received::Message);
    ASSERT_TRUE(got.descriptor.isOpen());
    ASSERT_EQ(write(got.descriptor.get(), "x", 1), 1);
    char byte = 0;
    ASSERT_EQ(read(readEnd.get(), &byte, 1), 1);
    EXPECT_EQ(byte, 'x');
}

TEST_F(Control, SocketThatNobodyCanTakeIsMissingFromItsMessage)
{
    ControlMessage sent;
    sent.kind = ControlKind::Forked;
    sent.descriptor = service::FileDescriptor(dup(mNear.get()));
    ASSERT_TRUE(host::sendControl(mNear.get(), sent));
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    rlimit none = before;
    none.rlim_cur = 0;
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    ControlMessage got;
    const Received received = host::receiveControl(mFar.get(), got);
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_EQ(received, Received::Message);
    EXPECT_EQ(got.kind, ControlKind::Forked);
    EXPECT_FALSE(got.descriptor.isOpen());
}

TEST_F(Control, MessagesKeepTheirOrder)
{
    for (uint32_t id = 1; id <= 3; ++id) {
        ControlMessage sent;
        sent.id = id;
        ASSERT_TRUE(host::sendControl(mNear.get(), sent));
    }
    for (uint32_t id = 1; id <= 3; ++id) {
        ControlMessage got;
        ASSERT_EQ(host::receiveControl(mFar.get(), got), Received::Message);
        EXPECT_EQ(got.id, id);
    }
}

TEST_F(Control, LongTextIsCut)
{
    ControlMessage sent;
    sent.text = std::string(100000, 't');
    ASSERT_TRUE(host::sendControl(mNear.get(), sent));
    ControlMessage got;
    ASSERT_EQ(host::receiveControl(mFar.get(), got), Received::Message);
    EXPECT_EQ(got.text, std::string(got.text.size(), 't'));
    EXPECT_GE(got.text.size(), 256U);
    EXPECT_LT(got.text.size(), sent.text.size());
}

TEST_F(Control, NothingToReceiveIsNotTheEnd)
{
    ControlMessage got;
    EXPECT_EQ(host::receiveControl(mFar.get(), got), Received::Nothing);
}

TEST_F(Control, ClosedEndIsNoticedOnBothSides)
{
    mNear.reset();
    ControlMessage message;
    EXPECT_EQ(host::receiveControl(mFar.get(), message), Received::Gone);
    EXPECT_FALSE(host::sendControl(mFar.get(), message));
}

TEST_F(Control, PacketOfAnotherSizeIsRefused)
{
    ASSERT_EQ(send(mNear.get(), "short", 5, 0), 5);
    ControlMessage got;
    EXPECT_EQ(host::receiveControl(mFar.get(), got), Received::Gone);
}

TEST_F(Control, ReceiverThatDoesNotKeepUpIsNoticed)
{
    ControlMessage message;
    int sent = 0;
    while (host::sendControl(mNear.get(), message)) {
        ASSERT_LT(++sent, 100000);
    }
    EXPECT_GE(sent, 128); // a start with the most workers, and an end of each
}

TEST(FileDescriptorOwner, MovesAndClosesOnce)
{
    int ends[2] = {-1, -1};
    ASSERT_EQ(pipe(ends), 0);
    const service::FileDescriptor readEnd(ends[0]);
    service::FileDescriptor first(ends[1]);
    service::FileDescriptor second(std::move(first));
    EXPECT_FALSE(first.isOpen()); // NOLINT(bugprone-use-after-move,clang-analyzer-cplusplus.Move)
    EXPECT_EQ(second.get(), ends[1]);
    second = service::FileDescriptor();
    char byte = 0;
    EXPECT_EQ(read(readEnd.get(), &byte, 1), 0); // the only write end is closed
}

} // namespace
