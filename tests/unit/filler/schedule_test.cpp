#include "schedule.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using filler::Schedule;
using std::chrono::milliseconds;
using std::chrono::seconds;

const Schedule::TimePoint kStart = Schedule::TimePoint() + std::chrono::hours(1);
constexpr unsigned int kSeed = 7;

Schedule threeClasses()
{
    Schedule schedule({60, 60, 3600}, kStart, kSeed);
    schedule.setRows(0, 10000);
    schedule.setRows(1, 3);
    schedule.setRows(2, 40);
    return schedule;
}

TEST(FillerSchedule, ClassesOfUnknownSizeAreNamedUntilTheyAreKnown)
{
    Schedule schedule({60, 60}, kStart, kSeed);
    EXPECT_EQ(schedule.unknown(), 0U);
    schedule.setRows(0, 5);
    EXPECT_EQ(schedule.unknown(), 1U);
    schedule.setRows(1, 0);
    EXPECT_EQ(schedule.unknown(), std::nullopt);
}

TEST(FillerSchedule, SmallClassesComeFirst)
{
    Schedule schedule = threeClasses();
    std::vector<size_t> order;
    while (const auto due = schedule.due(kStart)) {
        order.push_back(*due);
        schedule.succeed(*due, kStart, 5);
    }
    EXPECT_THAT(order, testing::ElementsAre(1, 2, 0));
}

TEST(FillerSchedule, EachComesAgainAtItsInterval)
{
    Schedule schedule = threeClasses();
    for (const size_t index : {0U, 1U, 2U}) {
        schedule.succeed(index, kStart + seconds(index), 5);
    }
    EXPECT_EQ(schedule.nextDue(), kStart + seconds(60));
    EXPECT_EQ(schedule.due(kStart + seconds(59)), std::nullopt);
    EXPECT_EQ(schedule.due(kStart + seconds(100)), 0U);
    schedule.succeed(0, kStart + seconds(100), 5);
    EXPECT_EQ(schedule.due(kStart + seconds(100)), 1U);
    schedule.succeed(1, kStart + seconds(101), 5);
    EXPECT_EQ(schedule.nextDue(), kStart + seconds(160));
}

// Within a quarter of what it would be for all alike.
void expectPause(Schedule::TimePoint next, Schedule::TimePoint now, seconds pause)
{
    EXPECT_GE(next - now, milliseconds(pause) * 3 / 4);
    EXPECT_LE(next - now, milliseconds(pause) * 5 / 4);
}

TEST(FillerSchedule, ClassThatFailsComesAfterAPauseThatGrowsToItsInterval)
{
    Schedule schedule({10}, kStart, kSeed);
    for (const int pause : {1, 2, 4, 8, 10, 10}) {
        schedule.fail(0, kStart);
        expectPause(schedule.nextDue(), kStart, seconds(pause));
    }
    for (int i = 0; i < 100; ++i) {
        schedule.fail(0, kStart);
    }
    expectPause(schedule.nextDue(), kStart, seconds(10));
    schedule.succeed(0, kStart, 1);
    schedule.fail(0, kStart);
    expectPause(schedule.nextDue(), kStart, seconds(1));
}

TEST(FillerSchedule, FailedClassLeavesTheOthersTheirTurn)
{
    Schedule schedule = threeClasses();
    schedule.fail(1, kStart);
    EXPECT_EQ(schedule.due(kStart), 2U);
}

TEST(FillerSchedule, NothingComesWhileTheObjectManagerIsAwayAndThenWhatWasDue)
{
    Schedule schedule = threeClasses();
    for (const int pause : {1, 2, 4, 8, 16, 32, 60, 60}) {
        schedule.pause(kStart);
        expectPause(schedule.nextDue(), kStart, seconds(pause));
        EXPECT_EQ(schedule.due(schedule.nextDue() - milliseconds(1)), std::nullopt);
        EXPECT_EQ(schedule.due(schedule.nextDue()), 1U);
    }
    schedule.succeed(1, kStart, 3);
    schedule.pause(kStart);
    expectPause(schedule.nextDue(), kStart, seconds(1));
}

TEST(FillerSchedule, PausesDifferFromOneToTheNext)
{
    std::vector<Schedule::TimePoint> next;
    for (const unsigned int seed : {1U, 1000000007U, 2000000011U}) {
        Schedule schedule({60}, kStart, seed);
        schedule.pause(kStart);
        next.push_back(schedule.nextDue());
    }
    EXPECT_FALSE(next[0] == next[1] && next[1] == next[2]);
}

} // namespace
