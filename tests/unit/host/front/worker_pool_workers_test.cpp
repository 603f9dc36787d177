// Workers that get ready, fail, stall, talk nonsense and end, as the front sees them.
#include "front/WorkerPoolTest.h"
#include "host_limits.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using host::ControlKind;
using host::Outcome;
using std::chrono::seconds;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TEST_F(WorkerPoolTest, IsReadyWhenAllFirstWorkersAre)
{
    start(3);
    FakeWorker first = readyWorker();
    FakeWorker second = readyWorker();
    ASSERT_TRUE(mSpawner.nextIs(ControlKind::SpawnWorker));
    FakeWorker third = mSpawner.announceWorker();
    settle();
    EXPECT_EQ(mReady, 0);
    third.sendReady();
    EXPECT_TRUE(runUntil(mContext, [&] { return mReady == 1; }));
    EXPECT_FALSE(mSpawner.hasMessage());
    EXPECT_EQ(mNotReady, 0);
    EXPECT_THAT(mFailures, IsEmpty());
}

TEST_F(WorkerPoolTest, FirstWorkerThatEndsBeforeItIsReadyStopsTheStart)
{
    start(1);
    ASSERT_TRUE(mSpawner.nextIs(ControlKind::SpawnWorker));
    mSpawner.announceWorker().close();
    EXPECT_TRUE(runUntil(mContext, [&] { return mNotReady == 1; }));
    EXPECT_EQ(mReady, 0);
}

TEST_F(WorkerPoolTest, FirstWorkerThatSaysSomethingElseStopsTheStart)
{
    start(1);
    ASSERT_TRUE(mSpawner.nextIs(ControlKind::SpawnWorker));
    FakeWorker worker = mSpawner.announceWorker();
    worker.answer({200, {}, "ready"});
    EXPECT_TRUE(runUntil(mContext, [&] { return mNotReady == 1; }));
    expectKilled(worker.id());
    EXPECT_TRUE(worker.isClosedByFront());
}

TEST_F(WorkerPoolTest, FirstForkThatFailsStopsTheStart)
{
    start(1);
    ASSERT_TRUE(mSpawner.nextIs(ControlKind::SpawnWorker));
    host::ControlMessage message;
    message.kind = ControlKind::NotForked;
    message.text = "Resource temporarily unavailable";
    mSpawner.send(message);
    EXPECT_TRUE(runUntil(mContext, [&] { return !mFailures.empty(); }));
    EXPECT_THAT(mFailures, ElementsAre("cannot fork a worker: Resource temporarily unavailable"));
}

TEST_F(WorkerPoolTest, LaterForkThatFailsIsTriedAgain)
{
    FakeWorker first = startWithOne();
    const auto result = submit("/a");
    first.close();
    ASSERT_TRUE(ends(result));
    expectKilled(first.id());
    ASSERT_TRUE(mSpawner.nextIs(ControlKind::SpawnWorker));
    host::ControlMessage message;
    message.kind = ControlKind::NotForked;
    mSpawner.send(message);
    FakeWorker second = readyWorker();
    const auto next = submit("/b");
    EXPECT_EQ(second.readTarget(), "/b");
    EXPECT_THAT(mFailures, IsEmpty());
}

// Its descriptor is lost when the front has no more left.
TEST_F(WorkerPoolTest, WorkerWithoutASocketIsReplaced)
{
    FakeWorker first = startWithOne();
    const auto result = submit("/a");
    first.close();
    ASSERT_TRUE(ends(result));
    expectKilled(first.id());
    ASSERT_TRUE(mSpawner.nextIs(ControlKind::SpawnWorker));
    constexpr uint32_t kLostId = 77;
    host::ControlMessage message;
    message.kind = ControlKind::Forked;
    message.id = kLostId;
    mSpawner.send(message);
    expectKilled(kLostId);
    FakeWorker second = readyWorker();
    const auto next = submit("/b");
    EXPECT_EQ(second.readTarget(), "/b");
    EXPECT_THAT(mFailures, IsEmpty());
}

TEST_F(WorkerPoolTest, FirstWorkerWithoutASocketStopsTheStart)
{
    start(1);
    ASSERT_TRUE(mSpawner.nextIs(ControlKind::SpawnWorker));
    host::ControlMessage message;
    message.kind = ControlKind::Forked;
    mSpawner.send(message);
    EXPECT_TRUE(runUntil(mContext, [&] { return !mFailures.empty(); }));
    EXPECT_THAT(mFailures, ElementsAre(HasSubstr("file descriptors")));
}

TEST_F(WorkerPoolTest, SpawnerThatEndsIsReported)
{
    const FakeWorker worker = startWithOne();
    mSpawner.close();
    EXPECT_TRUE(runUntil(mContext, [&] { return !mFailures.empty(); }));
    EXPECT_THAT(mFailures, ElementsAre("the spawner has ended"));
}

TEST_F(WorkerPoolTest, SpawnerThatDoesNotKeepUpIsReported)
{
    const host::ControlMessage filler;
    while (host::sendControl(mSpawner.frontEnd(), filler)) {
    }
    start(1);
    EXPECT_THAT(mFailures, ElementsAre(HasSubstr("does not answer")));
}

TEST_F(WorkerPoolTest, WhereNoWorkerGetsReadyRequestsAreRefusedSoon)
{
    startWithOne().close();
    ASSERT_EQ(mSpawner.next().kind, ControlKind::Kill);
    const auto early = submit("/early");
    for (int ends = 0; !early->outcome.has_value(); ++ends) {
        ASSERT_LT(ends, 10);
        ASSERT_TRUE(mSpawner.nextIs(ControlKind::SpawnWorker));
        FakeWorker worker = mSpawner.announceWorker();
        worker.close();
        expectKilled(worker.id());
    }
    EXPECT_EQ(early->outcome, Outcome::Overloaded);
    EXPECT_EQ(submit("/late")->outcome, Outcome::Overloaded);
    EXPECT_EQ(mNotReady, 0);
    EXPECT_THAT(mFailures, IsEmpty());
    FakeWorker worker = readyWorker();
    const auto served = submit("/served");
    EXPECT_EQ(worker.readTarget(), "/served");
}

// Its requests would pile up in the front.
TEST_F(WorkerPoolTest, WorkerThatAnswersWithoutReadingIsEndedOnceItsSocketIsFull)
{
    FakeWorker worker = startWithOne();
    constexpr int kMoreThanTheSocketTakes = 200;
    auto result = submit(std::string(8000, 'x'));
    for (int i = 0; i < kMoreThanTheSocketTakes && !mSpawner.hasMessage(); ++i) {
        worker.answer({200, {}, std::to_string(i)});
        ASSERT_TRUE(ends(result));
        if (result->outcome == Outcome::Answered) {
            ASSERT_EQ(result->body, std::to_string(i));
            result = submit(std::string(8000, 'x'));
        }
    }
    EXPECT_EQ(result->outcome, Outcome::WorkerEnded);
    expectKilled(worker.id());
    FakeWorker next = readyWorker();
    const auto served = submit("/served");
    EXPECT_EQ(next.readTarget(), "/served");
}

TEST_F(WorkerPoolTest, WorkerThatEndsCostsItsOwnRequestOnly)
{
    FakeWorker first = startWithOne();
    const auto lost = submit("/lost");
    const auto kept = submit("/kept");
    EXPECT_EQ(first.readTarget(), "/lost");
    first.close();
    ASSERT_TRUE(ends(lost));
    EXPECT_EQ(lost->outcome, Outcome::WorkerEnded);
    expectKilled(first.id());
    FakeWorker second = readyWorker();
    EXPECT_EQ(second.readTarget(), "/kept");
    second.answer({200, {}, "kept"});
    ASSERT_TRUE(ends(kept));
    EXPECT_EQ(kept->body, "kept");
    EXPECT_EQ(lost->calls, 1);
}

TEST_F(WorkerPoolTest, WorkerThatHasEndedAlreadyWhenItGetsARequest)
{
    FakeWorker worker = startWithOne();
    worker.close();
    const auto result = submit("/a"); // before the pool could notice
    ASSERT_TRUE(ends(result));
    EXPECT_EQ(result->outcome, Outcome::WorkerEnded);
    expectKilled(worker.id());
    EXPECT_TRUE(mSpawner.nextIs(ControlKind::SpawnWorker));
}

TEST_F(WorkerPoolTest, AnswerCountsEvenIfTheWorkerEndsRightAfterIt)
{
    FakeWorker worker = startWithOne();
    const auto result = submit("/a");
    (void)worker.readTarget();
    worker.answer({200, {}, "last"});
    worker.close();
    ASSERT_TRUE(ends(result));
    EXPECT_EQ(result->outcome, Outcome::Answered);
    EXPECT_EQ(result->body, "last");
    expectKilled(worker.id());
    EXPECT_TRUE(mSpawner.nextIs(ControlKind::SpawnWorker));
    EXPECT_EQ(result->calls, 1);
}

TEST_F(WorkerPoolTest, IdleWorkerThatEndsIsReplacedAfterAPause)
{
    FakeWorker first = startWithOne();
    first.close();
    expectKilled(first.id());
    EXPECT_FALSE(mSpawner.hasMessage());
    FakeWorker second = readyWorker();
    const auto result = submit("/a");
    EXPECT_EQ(second.readTarget(), "/a");
    EXPECT_EQ(mNotReady, 0);
    EXPECT_EQ(mReady, 1);
}

TEST_F(WorkerPoolTest, AnswerThatNobodyAskedForEndsTheWorker)
{
    FakeWorker worker = startWithOne();
    worker.answer({200, {}, "unasked"});
    expectKilled(worker.id());
    EXPECT_TRUE(worker.isClosedByFront());
}

TEST_F(WorkerPoolTest, WorkerPastItsDeadlineIsKilledAndItsLateAnswerDropped)
{
    FakeWorker first = startWithOne(seconds(0));
    const auto result = submit("/slow");
    EXPECT_EQ(first.readTarget(), "/slow");
    ASSERT_TRUE(ends(result));
    EXPECT_EQ(result->outcome, Outcome::TooLate);
    expectKilled(first.id());
    first.answer({200, {}, "late"});
    EXPECT_TRUE(first.isClosedByFront());
    FakeWorker second = readyWorker();
    settle();
    EXPECT_FALSE(mSpawner.hasMessage()); // killed once
    EXPECT_EQ(result->calls, 1);
    EXPECT_EQ(result->body, "");
}

TEST_F(WorkerPoolTest, WorkerPastItsDeadlineIsReplacedWhenItHasEnded)
{
    FakeWorker first = startWithOne(seconds(0));
    ASSERT_TRUE(ends(submit("/slow")));
    expectKilled(first.id());
    settle();
    EXPECT_FALSE(mSpawner.hasMessage());
    first.close();
    EXPECT_TRUE(mSpawner.nextIs(ControlKind::SpawnWorker));
}

// Frames that no worker sends unless its memory is damaged.
class DamagedAnswer : public WorkerPoolTest, public testing::WithParamInterface<std::string>
{};

TEST_P(DamagedAnswer, CostsItsRequestAndTheWorker)
{
    FakeWorker worker = startWithOne();
    const auto result = submit("/a");
    (void)worker.readTarget();
    worker.send(GetParam());
    ASSERT_TRUE(ends(result));
    EXPECT_EQ(result->outcome, Outcome::WorkerEnded);
    expectKilled(worker.id());
    EXPECT_TRUE(worker.isClosedByFront());
    EXPECT_TRUE(mSpawner.nextIs(ControlKind::SpawnWorker));
}

INSTANTIATE_TEST_SUITE_P(
    , DamagedAnswer,
    testing::Values(host::encodeReady(), lengthOnly(0), lengthOnly(host::kMaxFrameBytes + 1),
                    lengthOnly(UINT32_MAX), lengthOnly(4) + "junk",
                    host::encodeRequest(host::ReadRequest{"/a"}), host::encodeResponse({0, {}, ""}),
                    host::encodeResponse({200, {{"Link", "a\r\nSet-Cookie: b"}}, ""})));

class WorkerThatMakesWay : public WorkerPoolTest, public testing::WithParamInterface<host::Declined>
{};

TEST_P(WorkerThatMakesWay, LeavesItsRequestToTheNext)
{
    FakeWorker first = startWithOne();
    const auto result = submit("/a");
    EXPECT_EQ(first.readTarget(), "/a");
    first.decline(GetParam());
    EXPECT_TRUE(first.isClosedByFront());
    FakeWorker second = readyWorker(); // asked for without a "Kill" before
    EXPECT_EQ(second.readTarget(), "/a");
    second.answer({200, {}, "new"});
    ASSERT_TRUE(ends(result));
    EXPECT_EQ(result->outcome, Outcome::Answered);
    EXPECT_EQ(result->body, "new");
}

INSTANTIATE_TEST_SUITE_P(, WorkerThatMakesWay,
                         testing::Values(host::Declined::CacheReplaced,
                                         host::Declined::MemoryGrown));

} // namespace
