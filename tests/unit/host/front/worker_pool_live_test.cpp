// Live reads and actions, and the worker that is kept from them.
#include "front/WorkerPoolTest.h"

#include <gtest/gtest.h>

namespace {

using host::Outcome;
using std::chrono::seconds;

TEST_F(WorkerPoolTest, OneWorkerIsKeptFromLiveReads)
{
    start(2);
    FakeWorker first = readyWorker();
    FakeWorker second = readyWorker();
    ASSERT_TRUE(runUntil(mContext, [&] { return mReady == 1; }));
    const auto one = submit("/1");
    const auto two = submit("/2");
    EXPECT_TRUE(first.readRequest().mayReadLive);
    EXPECT_FALSE(second.readRequest().mayReadLive);
}

TEST_F(WorkerPoolTest, OnlyWorkerMayReadLive)
{
    FakeWorker worker = startWithOne();
    const auto result = submit("/a");
    EXPECT_TRUE(worker.readRequest().mayReadLive);
}

TEST_F(WorkerPoolTest, LiveReadThatWasDeclinedWaitsForAWorkerThatMayDoIt)
{
    start(2);
    FakeWorker first = readyWorker();
    FakeWorker second = readyWorker();
    ASSERT_TRUE(runUntil(mContext, [&] { return mReady == 1; }));
    const auto slow = submit("/slow");
    const auto live = submit("/live");
    EXPECT_EQ(first.readTarget(), "/slow");
    EXPECT_EQ(second.readTarget(), "/live");
    second.decline(host::Declined::NeedsCim);
    settle();
    // What the cache answers overtakes it.
    const auto cached = submit("/cached");
    EXPECT_EQ(second.readTarget(), "/cached");
    second.answer({200, {}, "cached"});
    ASSERT_TRUE(ends(cached));
    EXPECT_FALSE(live->outcome.has_value());
    first.answer({200, {}, "slow"});
    const host::WorkerRequest again = first.readRequest();
    EXPECT_EQ(again.target, "/live");
    EXPECT_TRUE(again.mayReadLive);
    first.answer({200, {}, "live"});
    ASSERT_TRUE(ends(live));
    EXPECT_EQ(live->outcome, Outcome::Answered);
    EXPECT_EQ(live->body, "live");
    EXPECT_EQ(live->calls, 1);
}

TEST_F(WorkerPoolTest, LiveReadThatWaitsTooLongIsRefused)
{
    start(2, seconds(1));
    FakeWorker first = readyWorker();
    FakeWorker second = readyWorker();
    ASSERT_TRUE(runUntil(mContext, [&] { return mReady == 1; }));
    const auto slow = submit("/slow");
    const auto live = submit("/live");
    EXPECT_EQ(second.readTarget(), "/live");
    second.decline(host::Declined::NeedsCim);
    ASSERT_TRUE(ends(live));
    EXPECT_EQ(live->outcome, Outcome::Overloaded);
    ASSERT_TRUE(ends(slow));
    EXPECT_EQ(slow->outcome, Outcome::TooLate);
}

TEST_F(WorkerPoolTest, ActionWaitsForAWorkerThatMayReadLive)
{
    start(2);
    FakeWorker first = readyWorker();
    FakeWorker second = readyWorker();
    ASSERT_TRUE(runUntil(mContext, [&] { return mReady == 1; }));
    const auto slow = submit("/slow");
    const auto action = submitAction("/action", "{}");
    const auto cached = submit("/cached");
    EXPECT_EQ(first.readTarget(), "/slow");
    EXPECT_EQ(second.readTarget(), "/cached");
    first.answer({200, {}, "slow"});
    const host::WorkerRequest request = first.readRequest();
    EXPECT_EQ(request.target, "/action");
    EXPECT_EQ(request.kind, host::RequestKind::Action);
    EXPECT_EQ(request.body, "{}");
    first.answer({202, {}, "begun"});
    ASSERT_TRUE(ends(action));
    EXPECT_EQ(action->body, "begun");
}

TEST_F(WorkerPoolTest, ActionOfAWorkerThatEndsIsGivenToNoOther)
{
    start(2);
    FakeWorker first = readyWorker();
    FakeWorker second = readyWorker();
    ASSERT_TRUE(runUntil(mContext, [&] { return mReady == 1; }));
    const auto action = submitAction("/action", "{}");
    EXPECT_EQ(first.readTarget(), "/action");
    first.close();
    ASSERT_TRUE(ends(action));
    EXPECT_EQ(action->outcome, Outcome::WorkerEnded);
    const auto next = submit("/next");
    EXPECT_EQ(second.readTarget(), "/next");
}

} // namespace
