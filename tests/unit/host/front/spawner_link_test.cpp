// The front's end of the socket to the spawner, which the test plays.
#include "front/FakeSpawner.h"
#include "front/spawner_link.h"

#include <RunUntil.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

using host::ControlKind;
using host::ControlMessage;
using testing::ElementsAre;
using testing::IsEmpty;

// An answer, as it was handed out.
struct HandedOut
{
    std::string wanted; // by whom
    uint32_t id = 0;
    std::string text;
    service::FileDescriptor descriptor;
};

class SpawnerLinkTest : public testing::Test
{
protected:
    // Asks for a process; what comes is noted under the name.
    void want(const std::string& name)
    {
        mLink->spawn(ControlKind::SpawnWorker, "", [this, name](ControlMessage& message) {
            mAnswers.push_back({name, message.id, message.text, std::move(message.descriptor)});
        });
        EXPECT_TRUE(mSpawner.nextIs(ControlKind::SpawnWorker));
    }

    bool hasAnswers(size_t count)
    {
        return runUntil(mContext, [&] { return mAnswers.size() >= count; });
    }

    bool hasFailed()
    {
        return runUntil(mContext, [&] { return !mFailures.empty(); });
    }

    void sendNotForked(const std::string& cause)
    {
        ControlMessage message;
        message.kind = ControlKind::NotForked;
        message.text = cause;
        mSpawner.send(message);
    }

    void fillSocket()
    {
        const ControlMessage filler;
        while (host::sendControl(mSpawner.frontEnd(), filler)) {
        }
    }

    // Lets the link do what it can do without further input.
    void settle()
    {
        mContext.restart();
        while (mContext.poll_one() > 0) {
        }
    }

    boost::asio::io_context mContext{1};
    FakeSpawner mSpawner{mContext};
    std::vector<std::string> mFailures;
    std::unique_ptr<host::SpawnerLink> mLink = std::make_unique<host::SpawnerLink>(
        mContext, mSpawner.frontEnd(),
        [this](const std::string& cause) { mFailures.push_back(cause); });
    std::vector<HandedOut> mAnswers;
};

TEST_F(SpawnerLinkTest, AsksForTheProcessThatIsWanted)
{
    mLink->spawn(ControlKind::SpawnQueueProcess, "ipc:///run/oem.sock", [](ControlMessage&) {});
    mLink->spawn(ControlKind::SpawnWorker, "", [](ControlMessage&) {});
    mLink->end(42);
    const ControlMessage endpoint = mSpawner.next();
    EXPECT_EQ(endpoint.kind, ControlKind::SpawnQueueProcess);
    EXPECT_EQ(endpoint.text, "ipc:///run/oem.sock");
    EXPECT_TRUE(mSpawner.nextIs(ControlKind::SpawnWorker));
    const ControlMessage end = mSpawner.next();
    EXPECT_EQ(end.kind, ControlKind::Kill);
    EXPECT_EQ(end.id, 42U);
    EXPECT_FALSE(mSpawner.hasMessage());
}

TEST_F(SpawnerLinkTest, AnswersAreHandedOutInTheOrderOfAsking)
{
    want("first");
    want("second");
    want("third");
    FakeWorker first = mSpawner.announceWorker();
    sendNotForked("Cannot allocate memory");
    FakeWorker third = mSpawner.announceWorker();
    ASSERT_TRUE(hasAnswers(3));
    EXPECT_EQ(mAnswers[0].wanted, "first");
    EXPECT_EQ(mAnswers[0].id, first.id());
    EXPECT_EQ(mAnswers[0].text, "");
    EXPECT_EQ(mAnswers[1].wanted, "second");
    EXPECT_FALSE(mAnswers[1].descriptor.isOpen());
    EXPECT_EQ(mAnswers[1].text, "Cannot allocate memory");
    EXPECT_EQ(mAnswers[2].wanted, "third");
    EXPECT_EQ(mAnswers[2].id, third.id());
    ASSERT_EQ(write(mAnswers[2].descriptor.get(), "3", 1), 1); // it leads to that process
    EXPECT_TRUE(third.discard(1));
    mAnswers[0].descriptor.reset();
    EXPECT_TRUE(first.isClosedByFront());
    EXPECT_THAT(mFailures, IsEmpty());
}

TEST_F(SpawnerLinkTest, WhoeverGetsAProcessMayAskForTheNext)
{
    mLink->spawn(ControlKind::SpawnWorker, "", [this](ControlMessage&) { want("second"); });
    EXPECT_TRUE(mSpawner.nextIs(ControlKind::SpawnWorker));
    sendNotForked("first");
    sendNotForked("second");
    ASSERT_TRUE(hasAnswers(1));
    EXPECT_EQ(mAnswers[0].text, "second");
}

TEST_F(SpawnerLinkTest, ProcessThatNobodyAskedForLosesItsSocket)
{
    FakeWorker unasked = mSpawner.announceWorker();
    EXPECT_TRUE(unasked.isClosedByFront());
    want("later");
    const FakeWorker asked = mSpawner.announceWorker();
    ASSERT_TRUE(hasAnswers(1));
    EXPECT_EQ(mAnswers[0].id, asked.id());
}

TEST_F(SpawnerLinkTest, ProcessThatIsNotTakenLosesItsSocket)
{
    mLink->spawn(ControlKind::SpawnWorker, "", [](ControlMessage&) {});
    EXPECT_TRUE(mSpawner.nextIs(ControlKind::SpawnWorker));
    EXPECT_TRUE(mSpawner.announceWorker().isClosedByFront());
}

TEST_F(SpawnerLinkTest, ProcessWhoseSocketIsLostIsEnded)
{
    want("first");
    ControlMessage message;
    message.kind = ControlKind::Forked;
    message.id = 77;
    mSpawner.send(message);
    const ControlMessage end = mSpawner.next();
    EXPECT_EQ(end.kind, ControlKind::Kill);
    EXPECT_EQ(end.id, 77U);
    ASSERT_TRUE(hasAnswers(1));
    EXPECT_FALSE(mAnswers[0].descriptor.isOpen());
    EXPECT_EQ(mAnswers[0].text, "too many open file descriptors");
    EXPECT_THAT(mFailures, IsEmpty());
}

TEST_F(SpawnerLinkTest, SpawnerThatEndsIsReported)
{
    want("never answered");
    mSpawner.close();
    ASSERT_TRUE(hasFailed());
    settle();
    EXPECT_THAT(mFailures, ElementsAre("the spawner has ended"));
    EXPECT_TRUE(mAnswers.empty());
}

TEST_F(SpawnerLinkTest, AnswersBeforeTheSpawnersEndCount)
{
    want("first");
    sendNotForked("cause");
    mSpawner.close();
    ASSERT_TRUE(hasFailed());
    ASSERT_EQ(mAnswers.size(), 1U);
    EXPECT_EQ(mAnswers[0].text, "cause");
}

TEST_F(SpawnerLinkTest, AskingASpawnerThatHasEndedIsReported)
{
    mSpawner.close();
    mLink->spawn(ControlKind::SpawnWorker, "", [](ControlMessage&) {});
    EXPECT_THAT(mFailures, ElementsAre("the spawner has ended, or does not answer"));
    mFailures.clear();
    mLink->end(1);
    EXPECT_THAT(mFailures, ElementsAre("the spawner has ended, or does not answer"));
}

TEST_F(SpawnerLinkTest, SpawnerThatDoesNotKeepUpIsReported)
{
    fillSocket();
    mLink->spawn(ControlKind::SpawnWorker, "", [](ControlMessage&) {});
    EXPECT_THAT(mFailures, ElementsAre("the spawner has ended, or does not answer"));
}

TEST_F(SpawnerLinkTest, NonsenseOfTheSpawnerIsItsEnd)
{
    // What the front's end receives, as the far end would send it.
    int ends[2] = {-1, -1};
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends), 0);
    const service::FileDescriptor front(ends[0]);
    const service::FileDescriptor far(ends[1]);
    const host::SpawnerLink link(mContext, front.get(),
                                 [this](const std::string& cause) { mFailures.push_back(cause); });
    ASSERT_EQ(write(far.get(), "nonsense", 8), 8);
    ASSERT_TRUE(hasFailed());
    EXPECT_THAT(mFailures, ElementsAre("the spawner has ended"));
}

TEST_F(SpawnerLinkTest, NothingIsHandedOutAfterStop)
{
    const auto held = std::make_shared<int>();
    mLink->spawn(ControlKind::SpawnWorker, "",
                 [this, held](ControlMessage&) { mAnswers.emplace_back(); });
    EXPECT_TRUE(mSpawner.nextIs(ControlKind::SpawnWorker));
    const FakeWorker worker = mSpawner.announceWorker(); // on its way
    mSpawner.close();
    mLink->stop();
    EXPECT_EQ(held.use_count(), 1); // whoever waits is forgotten
    settle();
    EXPECT_TRUE(mAnswers.empty());
    EXPECT_THAT(mFailures, IsEmpty());
}

TEST_F(SpawnerLinkTest, ProcessesCanBeEndedAfterStop)
{
    mLink->stop();
    mLink->end(42);
    const ControlMessage end = mSpawner.next();
    EXPECT_EQ(end.kind, ControlKind::Kill);
    EXPECT_EQ(end.id, 42U);
    mSpawner.close();
    mLink->end(43);
    EXPECT_THAT(mFailures, IsEmpty());
}

TEST_F(SpawnerLinkTest, AnswerMayStopTheLink)
{
    mLink->spawn(ControlKind::SpawnWorker, "", [this](ControlMessage&) { mLink->stop(); });
    EXPECT_TRUE(mSpawner.nextIs(ControlKind::SpawnWorker));
    want("second");
    sendNotForked("first");
    sendNotForked("second");
    mContext.restart();
    mContext.run(); // the link waits for nothing any more
    EXPECT_TRUE(mAnswers.empty());
}

TEST_F(SpawnerLinkTest, ControlSocketOutlivesTheLink)
{
    mLink.reset();
    EXPECT_TRUE(host::sendControl(mSpawner.frontEnd(), {}));
    EXPECT_TRUE(mSpawner.nextIs(ControlKind::SpawnWorker));
}

} // namespace
