// Jobs: how they begin, go on and end.
#include "DescribedModel.h"
#include "SampleModel.h"

#include <gtest/gtest.h>

namespace {

using sample::DescribedModel;
using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr const char* kCase = R"({
  "return": 4096, "outputs": {"Job": {"job": true}},
  "job": {"class": "Job", "seconds": 10, "properties": {"State": 2, "Text": "waiting"},
    "steps": [
      {"percent": 100, "properties": {"State": 7, "Ended": {"now": true}},
       "set": [{"object": "this", "properties": {"Speed": {"input": "Seconds"}}}]},
      {"percent": 50, "properties": {"State": 4, "Text": {"input": "Text"}}}
    ]}})";

class JobsTest : public testing::Test
{
protected:
    void describe(const std::string& cases) { ASSERT_EQ(mModel.describe(cases), ""); }

    std::string start()
    {
        return mModel.call("Stop", "f", {{"Seconds", "7"}, {"Text", "going"}}).output("Job");
    }

    std::string job(const std::string& number, const std::string& property)
    {
        return mModel.property("Job", "InstanceID", "JID_00000000000" + number, property);
    }

    DescribedModel mModel;
};

TEST_F(JobsTest, AreNamedByTheirOnlyKeyAndCounted)
{
    describe(kCase);
    EXPECT_EQ(start(), "Job.InstanceID=\"JID_000000000001\"");
    EXPECT_EQ(start(), "Job.InstanceID=\"JID_000000000002\"");
    EXPECT_EQ(job("1", "InstanceID"), "JID_000000000001");
}

TEST_F(JobsTest, IdThatIsTakenIsPassedOver)
{
    describe(kCase);
    sample::create(mModel.nameSpace(),
                   sample::instance("Job", {{"InstanceID", "JID_000000000001"}}));
    EXPECT_EQ(start(), "Job.InstanceID=\"JID_000000000002\"");
}

TEST_F(JobsTest, GoOnWithTimeUntilTheyAreDone)
{
    describe(kCase);
    start();
    EXPECT_EQ(job("1", "PercentComplete"), "0");
    EXPECT_EQ(job("1", "State"), "2");
    EXPECT_EQ(job("1", "Text"), "waiting");
    mModel.wait(milliseconds(4999));
    EXPECT_EQ(job("1", "PercentComplete"), "49");
    EXPECT_EQ(job("1", "State"), "2");
    mModel.wait(milliseconds(1));
    EXPECT_EQ(job("1", "PercentComplete"), "50");
    EXPECT_EQ(job("1", "State"), "4");
    EXPECT_EQ(job("1", "Text"), "going");
    EXPECT_EQ(mModel.fan("f", "Speed"), "100");
    mModel.wait(seconds(5));
    EXPECT_EQ(job("1", "PercentComplete"), "100");
    EXPECT_EQ(job("1", "State"), "7");
    EXPECT_EQ(mModel.fan("f", "Speed"), "7");
}

TEST_F(JobsTest, NobodyLookedInBetweenAndTheStepsStillHaveTheirTimes)
{
    describe(kCase);
    start();
    mModel.wait(seconds(3600));
    EXPECT_EQ(job("1", "State"), "7");
    EXPECT_EQ(job("1", "Text"), "going");
    EXPECT_EQ(job("1", "Ended"), "20240501102040.000000+000");
}

TEST_F(JobsTest, FirstStepsComeAfterTheChangesOfTheCall)
{
    describe(R"({"set": [{"object": "this", "properties": {"Speed": 1}}],
        "job": {"class": "Job", "seconds": 0,
                "steps": [{"percent": 100, "set": [{"object": "this", "properties": {"Speed": 2}}]}]}})");
    start();
    EXPECT_EQ(mModel.fan("f", "Speed"), "2");
}

TEST_F(JobsTest, CallThatFailsStartsNoneAndChangesNothing)
{
    describe(R"({"job": {"class": "Job", "seconds": 10},
        "set": [{"object": "this", "properties": {"Speed": 1}},
                {"object": {"input": "Other"}, "properties": {"Id": "h"}}]})");
    const auto outcome = mModel.call("Stop", "f", {{"Other", "Fan.Id=\"g\""}});
    EXPECT_FALSE(outcome.isDone);
    EXPECT_EQ(outcome.error.description, "the key Id cannot be changed");
    EXPECT_EQ(mModel.fan("f", "Speed"), "100");
    EXPECT_EQ(job("1", "State"), "no such instance");
}

TEST_F(JobsTest, DoneJobsChangeNothingMore)
{
    describe(kCase);
    start();
    mModel.wait(seconds(10));
    cimxml::CimError error;
    ASSERT_TRUE(mModel.nameSpace().modify(sample::path("Fan", {{"Id", "f"}}),
                                          sample::instance("Fan", {{"Speed", "55"}}), nullptr,
                                          error));
    mModel.wait(seconds(10));
    EXPECT_EQ(mModel.fan("f", "Speed"), "55");
}

TEST_F(JobsTest, RunBesideEachOther)
{
    describe(kCase);
    start();
    mModel.wait(seconds(5));
    start();
    mModel.wait(seconds(2));
    EXPECT_EQ(job("1", "PercentComplete"), "70");
    EXPECT_EQ(job("2", "PercentComplete"), "20");
    mModel.wait(seconds(4));
    EXPECT_EQ(job("1", "State"), "7");
    EXPECT_EQ(job("2", "State"), "4");
}

TEST_F(JobsTest, JobWithoutDurationIsDoneAtOnce)
{
    describe(
        R"({"job": {"class": "Job", "steps": [{"percent": 100, "properties": {"State": 7}}]}})");
    EXPECT_EQ(mModel.call("Stop", "f").returned(), "nothing");
    EXPECT_EQ(job("1", "PercentComplete"), "100");
    EXPECT_EQ(job("1", "State"), "7");
}

TEST_F(JobsTest, DeletedJobStillEnds)
{
    describe(kCase);
    start();
    cimxml::CimError error;
    ASSERT_TRUE(mModel.nameSpace().remove(sample::path("Job", {{"InstanceID", "JID_000000000001"}}),
                                          error));
    mModel.wait(seconds(10));
    EXPECT_EQ(job("1", "State"), "no such instance");
    EXPECT_EQ(mModel.fan("f", "Speed"), "7");
}

} // namespace
