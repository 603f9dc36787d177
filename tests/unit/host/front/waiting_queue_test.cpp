// Who waits, who gives way, and who has waited too long.
#include "front/waiting_queue.h"
#include "host_limits.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using host::Task;
using host::WaitingQueue;
using std::chrono::seconds;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr WaitingQueue::TimePoint kNow{seconds(1000)};

Task taskOf(const std::string& client, const std::string& target, seconds startsIn = seconds(60))
{
    Task task{host::ReadRequest{target}, {}, false, client};
    task.since = kNow;
    task.startsBy = kNow + startsIn;
    return task;
}

Task actionOf(const std::string& client, const std::string& target, size_t bodyBytes)
{
    Task task = taskOf(client, target);
    task.request = host::ActionRequest{target, std::string(bodyBytes, 'x')};
    return task;
}

std::string targetOf(const Task& task)
{
    const auto* const action = std::get_if<host::ActionRequest>(&task.request);
    return action == nullptr ? std::get<host::ReadRequest>(task.request).target : action->target;
}

std::vector<std::string> targetsOf(const std::vector<Task>& tasks)
{
    std::vector<std::string> targets;
    targets.reserve(tasks.size());
    for (const Task& task : tasks) {
        targets.push_back(targetOf(task));
    }
    return targets;
}

class WaitingQueueTest : public testing::Test
{
protected:
    // What gives way.
    std::vector<std::string> push(Task task) { return targetsOf(mQueue.push(std::move(task))); }

    void fill(const std::string& client, size_t count)
    {
        for (size_t i = 0; i < count; ++i) {
            ASSERT_THAT(push(taskOf(client, client + std::to_string(i))), IsEmpty());
        }
    }

    WaitingQueue mQueue;
};

TEST_F(WaitingQueueTest, FirstInIsFirstOut)
{
    fill("a", 3);
    Task first = mQueue.pop();
    EXPECT_EQ(targetOf(first), "a0");
    mQueue.putBack(std::move(first));
    EXPECT_THAT(targetsOf(mQueue.takeAll()), ElementsAre("a0", "a1", "a2"));
    EXPECT_TRUE(mQueue.isEmpty());
}

TEST_F(WaitingQueueTest, LoneClientMayUseTheWholeOfItAndItsNewestGivesWay)
{
    fill("a", host::kMaxWaiting);
    EXPECT_THAT(push(taskOf("a", "more")), ElementsAre("more"));
    EXPECT_EQ(targetOf(mQueue.pop()), "a0");
    EXPECT_THAT(push(taskOf("a", "fits")), IsEmpty());
}

TEST_F(WaitingQueueTest, NewestOfTheClientWithMostWaitingGivesWay)
{
    fill("greedy", host::kMaxWaiting - 2);
    fill("other", 2);
    EXPECT_THAT(push(taskOf("good", "good0")),
                ElementsAre("greedy" + std::to_string(host::kMaxWaiting - 3)));
    EXPECT_THAT(push(taskOf("good", "good1")),
                ElementsAre("greedy" + std::to_string(host::kMaxWaiting - 4)));
}

TEST_F(WaitingQueueTest, WhoHasMostWaitingGivesWayHimself)
{
    fill("greedy", host::kMaxWaiting - 1);
    fill("other", 1);
    EXPECT_THAT(push(taskOf("greedy", "more")), ElementsAre("more"));
}

TEST_F(WaitingQueueTest, OfClientsWithAsManyWaitingTheNewestRequestGivesWay)
{
    fill("a", host::kMaxWaiting / 2);
    fill("b", host::kMaxWaiting / 2);
    EXPECT_THAT(push(taskOf("c", "c0")),
                ElementsAre("b" + std::to_string(host::kMaxWaiting / 2 - 1)));
}

TEST_F(WaitingQueueTest, BodiesAreLimitedTogether)
{
    EXPECT_THAT(push(actionOf("a", "a0", host::kMaxWaitingBodyBytes)), IsEmpty());
    EXPECT_THAT(push(taskOf("a", "without a body")), IsEmpty());
    EXPECT_THAT(push(actionOf("a", "a1", 1)), ElementsAre("a1"));
}

TEST_F(WaitingQueueTest, NewestBodyOfTheClientWithTheLargestBodiesGivesWay)
{
    EXPECT_THAT(push(actionOf("greedy", "g0", host::kMaxWaitingBodyBytes / 2)), IsEmpty());
    EXPECT_THAT(push(actionOf("greedy", "g1", host::kMaxWaitingBodyBytes / 2)), IsEmpty());
    EXPECT_THAT(push(taskOf("greedy", "g2")), IsEmpty());
    EXPECT_THAT(push(actionOf("good", "good", 1)), ElementsAre("g1"));
}

TEST_F(WaitingQueueTest, WhatHasWaitedTooLongIsTakenFromAnywhere)
{
    fill("a", 1);
    ASSERT_THAT(push(taskOf("a", "late", seconds(1))), IsEmpty());
    fill("b", 1);
    EXPECT_EQ(mQueue.nextExpiry(), kNow + seconds(1));
    EXPECT_THAT(mQueue.takeExpired(kNow), IsEmpty());
    EXPECT_THAT(targetsOf(mQueue.takeExpired(kNow + seconds(1))), ElementsAre("late"));
    EXPECT_THAT(targetsOf(mQueue.takeAll()), ElementsAre("a0", "b0"));
}

class AbandonedTest : public WaitingQueueTest
{
protected:
    Task abandoned(const std::string& target)
    {
        Task task = taskOf("a", target);
        task.isAbandoned = [this] {
            return mIsGone;
        };
        return task;
    }

    bool mIsGone = false;
};

TEST_F(AbandonedTest, WhatNobodyWaitsForIsTakenAtItsTurn)
{
    ASSERT_THAT(push(abandoned("first")), IsEmpty());
    ASSERT_THAT(push(abandoned("second")), IsEmpty());
    fill("b", 1);
    ASSERT_THAT(push(abandoned("last")), IsEmpty());
    EXPECT_THAT(mQueue.takeAbandonedAhead(), IsEmpty());
    mIsGone = true;
    EXPECT_THAT(targetsOf(mQueue.takeAbandonedAhead()), ElementsAre("first", "second"));
    EXPECT_EQ(targetOf(mQueue.pop()), "b0");
}

TEST_F(AbandonedTest, WhatNobodyWaitsForGivesWayBeforeAnythingElse)
{
    fill("b", host::kMaxWaiting - 1);
    ASSERT_THAT(push(abandoned("abandoned")), IsEmpty());
    mIsGone = true;
    EXPECT_THAT(push(taskOf("b", "fits")), ElementsAre("abandoned"));
    EXPECT_THAT(push(taskOf("b", "more")), ElementsAre("more"));
}

// A flood fills it anew all the time, and each question is a system call.
TEST_F(AbandonedTest, AFullQueueAsksWhoHasGoneOnceInAWhile)
{
    fill("b", host::kMaxWaiting - 1);
    ASSERT_THAT(push(abandoned("abandoned")), IsEmpty());
    Task task = taskOf("b", "finds all there");
    EXPECT_THAT(push(task), ElementsAre("finds all there"));
    mIsGone = true;
    task.since += host::kAskWhoHasGonePause - std::chrono::milliseconds(1);
    EXPECT_THAT(push(task), ElementsAre("finds all there"));
    task.since += std::chrono::milliseconds(1);
    EXPECT_THAT(push(task), ElementsAre("abandoned"));
}

} // namespace
