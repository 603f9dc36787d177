// A child that is watched.
#include "front/FakeSpawner.h"
#include "front/child.h"
#include "host_limits.h"
#include "wire/frame.h"

#include <ExhaustedMemory.h>
#include <RunUntil.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <chrono>
#include <memory>
#include <new>
#include <optional>
#include <string>

namespace {

using host::ControlKind;
using host::ControlMessage;
using std::chrono::milliseconds;

constexpr milliseconds kPause{1};
constexpr uint32_t kId = 7;

class WatchedChildTest : public testing::Test
{
protected:
    // A child that is ready, and watched from now on.
    void SetUp() override
    {
        int ends[2] = {-1, -1};
        ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
        mProcess.emplace(mContext, service::FileDescriptor(ends[1]), kId);
        ControlMessage forked;
        forked.id = kId;
        forked.pid = 4711;
        forked.descriptor = service::FileDescriptor(ends[0]);
        mChild = std::make_shared<host::Child>(mContext, mLink, forked);
        mChild->start({[this] { mIsReady = true; }, [](const std::string& /*payload*/) {}, [] {},
                       [] {},
                       [] {
                       }});
        mProcess->sendReady();
        ASSERT_TRUE(runUntil(mContext, [&] { return mIsReady; }));
        mChild->watch(kPause);
    }

    void TearDown() override { mChild->close(); }

    // The next frame is a ping. The child is not answered.
    void expectPing()
    {
        const std::string ping = host::encodePing();
        EXPECT_TRUE(mProcess->discard(ping.size()));
        EXPECT_FALSE(mSpawner.hasMessage());
    }

    void expectKilled()
    {
        const ControlMessage message = mSpawner.next();
        EXPECT_EQ(message.kind, ControlKind::Kill);
        EXPECT_EQ(message.id, kId);
    }

    // Lets the child work until memory has been too short for something.
    bool starve()
    {
        const ExhaustedMemory none(0);
        try {
            mContext.restart();
            while (!ExhaustedMemory::hasFailed() && mContext.run_one() > 0) {
            }
        } catch (const std::bad_alloc&) {
            return true;
        }
        return false;
    }

    boost::asio::io_context mContext{1};
    FakeSpawner mSpawner{mContext};
    host::SpawnerLink mLink{mContext, mSpawner.frontEnd(), [](const std::string& /*cause*/) {
                            }};
    std::optional<FakeWorker> mProcess;
    std::shared_ptr<host::Child> mChild;
    bool mIsReady = false;
};

TEST_F(WatchedChildTest, ChildThatAnswersIsAskedAgainAndAgain)
{
    for (int i = 0; i < 3 * host::kMaxQueueSilence; ++i) {
        expectPing();
        mProcess->send(host::encodePing());
    }
    EXPECT_FALSE(mChild->isEnding());
}

TEST_F(WatchedChildTest, ChildThatIsSilentIsEnded)
{
    for (int i = 0; i < host::kMaxQueueSilence; ++i) {
        expectPing();
    }
    expectKilled();
    EXPECT_TRUE(mChild->isEnding());
}

TEST_F(WatchedChildTest, AnswerMakesUpForSilence)
{
    for (int i = 1; i < host::kMaxQueueSilence; ++i) {
        expectPing();
    }
    mProcess->send(host::encodePing());
    for (int i = 0; i < host::kMaxQueueSilence; ++i) {
        expectPing();
    }
    expectKilled();
}

TEST_F(WatchedChildTest, ChildIsAskedAgainAfterMemoryWasShort)
{
    for (int i = 0; i < host::kMaxQueueSilence; ++i) {
        expectPing();
    }
    ASSERT_TRUE(starve()); // for the line that says that it does not answer
    EXPECT_FALSE(mSpawner.hasMessage());
    mChild->recover();
    expectKilled();
}

TEST_F(WatchedChildTest, ChildThatIsClosedIsNotAsked)
{
    mChild->close();
    mChild->recover();
    mContext.restart();
    EXPECT_TRUE(runUntil(mContext, [&] { return mProcess->isClosedByFront(); }));
    EXPECT_FALSE(mSpawner.hasMessage());
}

} // namespace
