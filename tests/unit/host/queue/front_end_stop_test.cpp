// The end of the message-queue endpoint: requests that are open are answered, no more are taken.
#include "host_limits.h"
#include "queue/QueueFrontEndTest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(QueueFrontEndTest, WithoutOpenRequestsItIsDrainedAtOnce)
{
    FakeWorker process = startReady();
    mAnswersAtOnce = true;
    ask(process, 1, "answered");
    EXPECT_EQ(answerTo(process), Numbered(1, "answer to answered"));
    settle();
    drain();
    EXPECT_EQ(mDrained, 1);
    end(process);
    settle();
    EXPECT_EQ(mDrained, 1);
}

TEST_F(QueueFrontEndTest, IsDrainedWhenTheLastOpenRequestIsAnswered)
{
    FakeWorker process = startReady();
    ask(process, 1, "a");
    ask(process, 2, "b");
    ASSERT_TRUE(hasRequests(2));
    drain();
    settle();
    EXPECT_EQ(mDrained, 0);
    mReplies[1]("to b");
    EXPECT_EQ(answerTo(process), Numbered(2, "to b"));
    settle();
    EXPECT_EQ(mDrained, 0);
    mReplies[0]("to a");
    EXPECT_TRUE(runUntil(mContext, [&] { return mDrained == 1; }));
    EXPECT_EQ(answerTo(process), Numbered(1, "to a"));
    end(process);
    settle();
    EXPECT_EQ(mDrained, 1);
}

TEST_F(QueueFrontEndTest, AnswerIsGivenOnlyWhenTheProcessHasTakenIt)
{
    FakeWorker process = startReady();
    ask(process, 1, "request");
    ASSERT_TRUE(hasRequests(1));
    const std::string moreThanTheSocketTakes(3UL * 1024 * 1024, 'x');
    mReplies[0](moreThanTheSocketTakes);
    drain();
    settle();
    EXPECT_EQ(mDrained, 0);
    EXPECT_TRUE(answerTo(process) == Numbered(1, moreThanTheSocketTakes));
    EXPECT_TRUE(runUntil(mContext, [&] { return mDrained == 1; }));
}

TEST_F(QueueFrontEndTest, RequestsThatComeWhileItDrainsAreNotHandled)
{
    FakeWorker process = startReady();
    ask(process, 1, "before");
    ASSERT_TRUE(hasRequests(1));
    drain();
    ask(process, 2, "too late");
    settle();
    mReplies[0]("answer");
    EXPECT_TRUE(runUntil(mContext, [&] { return mDrained == 1; }));
    EXPECT_EQ(answerTo(process), Numbered(1, "answer"));
    ask(process, 3, "much too late");
    settle();
    EXPECT_THAT(mRequests, ElementsAre("before"));
}

TEST_F(QueueFrontEndTest, OpenRequestsOfAProcessThatEndsAreWaitedForNoLonger)
{
    FakeWorker process = startReady();
    ask(process, 1, "request");
    ASSERT_TRUE(hasRequests(1));
    drain();
    end(process);
    EXPECT_EQ(mDrained, 1);
    beginPause(host::kFirstBackOff);
    EXPECT_FALSE(hasAskedInPause());
    mReplies[0]("answer");
    settle();
    EXPECT_EQ(mDrained, 1);
}

TEST_F(QueueFrontEndTest, DrainedServerReplacesNoProcess)
{
    FakeWorker process = startReady();
    end(process);
    drain();
    EXPECT_EQ(mDrained, 1);
    beginPause(2 * host::kFirstBackOff);
    EXPECT_FALSE(hasAskedInPause());
}

TEST_F(QueueFrontEndTest, DrainedMayStopTheServer)
{
    FakeWorker process = startReady();
    ask(process, 1, "request");
    ASSERT_TRUE(hasRequests(1));
    mServer->drain([this] { mServer->stop(); });
    mReplies[0]("answer");
    EXPECT_EQ(answerTo(process), Numbered(1, "answer"));
    EXPECT_TRUE(process.isClosedByFront());
}

TEST_F(QueueFrontEndTest, StopClosesTheEndpointAndDropsItsRequests)
{
    FakeWorker process = startReady();
    ask(process, 1, "request");
    ASSERT_TRUE(hasRequests(1));
    mServer->stop();
    mReplies[0]("answer");
    EXPECT_TRUE(process.isClosedByFront()); // and got nothing before
    settle();
    EXPECT_FALSE(mSpawner.hasMessage());
    EXPECT_THAT(mFailures, IsEmpty());
}

TEST_F(QueueFrontEndTest, StopForgetsThePause)
{
    FakeWorker process = startReady();
    end(process);
    mServer->stop();
    mLink->stop();
    mContext.restart();
    mContext.run(); // until nothing is waited for any more
    EXPECT_FALSE(mSpawner.hasMessage());
}

TEST_F(QueueFrontEndTest, ProcessThatComesAfterStopIsNotTaken)
{
    mServer->start();
    ASSERT_TRUE(mSpawner.nextIs(host::ControlKind::SpawnQueueProcess));
    mServer->stop();
    FakeWorker process = mSpawner.announceWorker();
    EXPECT_TRUE(process.isClosedByFront());
    EXPECT_EQ(mReady, 0);
    EXPECT_THAT(mFailures, IsEmpty());
}

TEST_F(QueueFrontEndTest, AnswersAfterItsEndDoNothing)
{
    FakeWorker process = startReady();
    ask(process, 1, "request");
    ASSERT_TRUE(hasRequests(1));
    mServer.reset();
    mReplies[0]("answer");
    EXPECT_TRUE(process.isClosedByFront());
}

} // namespace
