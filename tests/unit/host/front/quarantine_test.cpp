// Targets that are refused because workers keep ending at them.
#include "front/quarantine.h"
#include "host_limits.h"

#include <gtest/gtest.h>

namespace {

using std::chrono::seconds;

class QuarantineTest : public testing::Test
{
protected:
    // Notes one worker that ended at the target less than it takes.
    void endAllButOne(const std::string& target)
    {
        for (unsigned int i = 1; i < host::kMaxWorkerEnds; ++i) {
            EXPECT_FALSE(mQuarantine.workerEnded(target, mNow));
        }
    }

    host::Quarantine mQuarantine;
    host::Quarantine::TimePoint mNow{seconds(1000)};
};

TEST_F(QuarantineTest, TargetIsRefusedWhenEnoughWorkersHaveEndedAtIt)
{
    endAllButOne("/a");
    EXPECT_TRUE(mQuarantine.admits("/a", mNow));
    EXPECT_TRUE(mQuarantine.workerEnded("/a", mNow));
    EXPECT_FALSE(mQuarantine.admits("/a", mNow));
}

TEST_F(QuarantineTest, OtherTargetsAreServed)
{
    endAllButOne("/a");
    EXPECT_TRUE(mQuarantine.workerEnded("/a", mNow));
    EXPECT_TRUE(mQuarantine.admits("/b", mNow));
    EXPECT_TRUE(mQuarantine.admits("/a?$skip=50", mNow));
}

TEST_F(QuarantineTest, AnswerInBetweenClearsTheTarget)
{
    endAllButOne("/a");
    mQuarantine.answered("/a");
    endAllButOne("/a");
    EXPECT_TRUE(mQuarantine.admits("/a", mNow));
}

TEST_F(QuarantineTest, TargetIsTriedAgainAfterAWhileAndRefusedAtOnceWhenItFails)
{
    endAllButOne("/a");
    EXPECT_TRUE(mQuarantine.workerEnded("/a", mNow));
    EXPECT_FALSE(mQuarantine.admits("/a", mNow + host::kQuarantineTime - seconds(1)));
    const auto later = mNow + host::kQuarantineTime;
    EXPECT_TRUE(mQuarantine.admits("/a", later));
    EXPECT_TRUE(mQuarantine.workerEnded("/a", later));
    EXPECT_FALSE(mQuarantine.admits("/a", later));
}

TEST_F(QuarantineTest, TargetThatIsAnsweredAfterAWhileStartsAnew)
{
    endAllButOne("/a");
    EXPECT_TRUE(mQuarantine.workerEnded("/a", mNow));
    mQuarantine.answered("/a");
    EXPECT_TRUE(mQuarantine.admits("/a", mNow));
    endAllButOne("/a");
}

TEST_F(QuarantineTest, FirstTargetIsForgottenWhenThereAreTooMany)
{
    endAllButOne("/first");
    endAllButOne("/second");
    for (size_t i = 2; i < host::kMaxWatchedTargets + 1; ++i) {
        mQuarantine.workerEnded("/" + std::to_string(i), mNow);
    }
    EXPECT_TRUE(mQuarantine.workerEnded("/second", mNow));
    EXPECT_FALSE(mQuarantine.workerEnded("/first", mNow));
}

TEST_F(QuarantineTest, OneRequestAtATimeTriesAClosedTarget)
{
    endAllButOne("/a");
    EXPECT_TRUE(mQuarantine.workerEnded("/a", mNow));
    const auto later = mNow + host::kQuarantineTime;
    EXPECT_TRUE(mQuarantine.admits("/a", later));
    EXPECT_FALSE(mQuarantine.admits("/a", later));
    mQuarantine.withdrawn("/a"); // it has said nothing
    EXPECT_TRUE(mQuarantine.admits("/a", later));
    EXPECT_FALSE(mQuarantine.admits("/a", later));
    EXPECT_TRUE(mQuarantine.workerEnded("/a", later));
    EXPECT_FALSE(mQuarantine.admits("/a", later));
    const auto muchLater = later + host::kQuarantineTime;
    EXPECT_TRUE(mQuarantine.admits("/a", muchLater));
    mQuarantine.answered("/a");
    EXPECT_TRUE(mQuarantine.admits("/a", muchLater));
    EXPECT_TRUE(mQuarantine.admits("/a", muchLater));
}

TEST_F(QuarantineTest, RequestThatIsWithdrawnSaysNothingOfItsTarget)
{
    mQuarantine.withdrawn("/unknown");
    endAllButOne("/a");
    mQuarantine.withdrawn("/a");
    EXPECT_TRUE(mQuarantine.workerEnded("/a", mNow));
}

} // namespace
