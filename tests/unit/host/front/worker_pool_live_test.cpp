// Live reads and actions, and the worker that is kept from them.
#include "front/WorkerPoolTest.h"
#include "host_limits.h"

#include <gtest/gtest.h>

namespace {

using host::Outcome;
using std::chrono::seconds;

TEST_F(WorkerPoolTest, OneWorkerIsKeptFromLiveReads)
{
    auto [first, second] = startWithTwo();
    const auto one = submitLive("/1");
    const auto two = submitLive("/2");
    EXPECT_TRUE(first.readRead().mayReadLive);
    settle();
    const auto cached = submit("/cached");
    EXPECT_EQ(second.readTarget(), "/cached");
    first.answer({200, {}, "one"});
    EXPECT_EQ(first.readTarget(), "/2");
}

TEST_F(WorkerPoolTest, OnlyWorkerMayReadLive)
{
    FakeWorker worker = startWithOne();
    const auto result = submitLive("/a");
    EXPECT_TRUE(worker.readRead().mayReadLive);
}

TEST_F(WorkerPoolTest, ReadsThatTheCacheAnswersMayNotReadLiveAndKeepNobodyFromIt)
{
    auto [first, second] = startWithTwo();
    const auto cached = submit("/cached");
    EXPECT_FALSE(first.readRead().mayReadLive);
    const auto live = submitLive("/live");
    EXPECT_TRUE(second.readRead().mayReadLive);
}

TEST_F(WorkerPoolTest, EmbeddedDataIsNoLiveRead)
{
    auto [first, second] = startWithTwo();
    const auto slow = submitLive("/slow");
    const auto data = submitRequest(host::EmbeddedDataRequest{"DriveOem", "Disk.1"}, false);
    EXPECT_EQ(first.readTarget(), "/slow");
    const auto request = std::get<host::EmbeddedDataRequest>(second.readRequest());
    EXPECT_EQ(request.container, "DriveOem");
    EXPECT_EQ(request.id, "Disk.1");
}

TEST_F(WorkerPoolTest, LiveReadThatWasDeclinedWaitsForAWorkerThatMayDoIt)
{
    auto [first, second] = startWithTwo();
    const auto slow = submitLive("/slow");
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
    const host::ReadRequest again = first.readRead();
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
    auto [first, second] = startWithTwo(seconds(1));
    const auto slow = submitLive("/slow");
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
    auto [first, second] = startWithTwo();
    const auto slow = submitLive("/slow");
    const auto action = submitAction("/action", "{}");
    const auto cached = submit("/cached");
    EXPECT_EQ(first.readTarget(), "/slow");
    EXPECT_EQ(second.readTarget(), "/cached");
    first.answer({200, {}, "slow"});
    const host::ActionRequest request = first.readAction();
    EXPECT_EQ(request.target, "/action");
    EXPECT_EQ(request.body, "{}");
    first.answer({202, {}, "begun"});
    ASSERT_TRUE(ends(action));
    EXPECT_EQ(action->body, "begun");
}

TEST_F(WorkerPoolTest, ActionOfAWorkerThatEndsIsGivenToNoOther)
{
    auto [first, second] = startWithTwo();
    const auto action = submitAction("/action", "{}");
    EXPECT_EQ(first.readTarget(), "/action");
    first.close();
    ASSERT_TRUE(ends(action));
    EXPECT_EQ(action->outcome, Outcome::WorkerEnded);
    const auto next = submit("/next");
    EXPECT_EQ(second.readTarget(), "/next");
}

TEST_F(WorkerPoolTest, LiveReadsThatWaitTakeNoPlaceOfCachedOnes)
{
    auto [first, second] = startWithTwo();
    const auto slow = submitLive("/slow");
    for (size_t i = 0; i < host::kMaxWaiting; ++i) {
        ASSERT_EQ(submitLive("/waits")->calls, 0);
    }
    EXPECT_EQ(submitLive("/refused")->outcome, Outcome::Overloaded);
    std::vector<std::shared_ptr<Result>> cached;
    for (size_t i = 0; i <= host::kMaxWaiting; ++i) { // the second worker has one of them
        cached.push_back(submit("/cached"));
        ASSERT_EQ(cached.back()->calls, 0);
    }
    EXPECT_EQ(second.readTarget(), "/cached");
}

TEST_F(WorkerPoolTest, WhatWaitedLongestIsBegunFirstWhicheverQueueItWaitsIn)
{
    FakeWorker worker = startWithOne();
    const auto held = submit("/held");
    const auto live = submitLive("/live");
    const auto cached = submit("/cached");
    for (const char* target : {"/held", "/live", "/cached"}) {
        EXPECT_EQ(worker.readTarget(), target);
        worker.answer({200, {}, ""});
    }
    EXPECT_TRUE(ends(cached));
}

} // namespace
