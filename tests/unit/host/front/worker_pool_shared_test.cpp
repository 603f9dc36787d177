// Requests that wait for the same answer from the data cache.
#include "front/WorkerPoolTest.h"

#include <gtest/gtest.h>

namespace {

using host::Outcome;
using std::chrono::seconds;

httpd::Response cached(const std::string& body)
{
    httpd::Response response{200, {{"ETag", "\"1\""}}, body};
    response.mayBeKept = true;
    return response;
}

class SharedReads : public WorkerPoolTest
{
protected:
    // Its key is the target.
    std::shared_ptr<Result> share(const std::string& target, std::function<bool()> isAbandoned = {})
    {
        return submitTask(
            {host::ReadRequest{target}, {}, false, "", std::move(isAbandoned), target});
    }

    // A pool whose worker is busy, so that what comes has to wait.
    FakeWorker startBusy(seconds requestTimeout = kLongTimeout)
    {
        FakeWorker worker = startWithOne(requestTimeout);
        (void)submit("/held");
        EXPECT_EQ(worker.readTarget(), "/held");
        return worker;
    }

    std::pair<FakeWorker, FakeWorker> startWithTwoBusy()
    {
        auto [first, second] = startWithTwo();
        for (FakeWorker* worker : {&first, &second}) {
            (void)submit("/held");
            EXPECT_EQ(worker->readTarget(), "/held");
        }
        return {std::move(first), std::move(second)};
    }
};

TEST_F(SharedReads, OneReadAnswersAllThatWaitedBeforeItBegan)
{
    FakeWorker worker = startBusy();
    const auto first = share("/a");
    const auto other = share("/b");
    const auto second = share("/a");
    const auto third = share("/a");
    worker.answer({200, {}, ""});
    EXPECT_EQ(worker.readTarget(), "/a");
    worker.answer(cached("a"));
    for (const auto& result : {first, second, third}) {
        ASSERT_TRUE(ends(result));
        EXPECT_EQ(result->outcome, Outcome::Answered);
        EXPECT_EQ(result->body, "a");
        EXPECT_EQ(result->calls, 1);
    }
    EXPECT_EQ(worker.readTarget(), "/b");
    EXPECT_EQ(mPool->figures().waitingForCache, 0U);
    EXPECT_EQ(other->calls, 0);
}

TEST_F(SharedReads, WhoComesWhenTheReadHasBegunWaitsForTheNext)
{
    FakeWorker worker = startWithOne();
    const auto first = share("/a");
    EXPECT_EQ(worker.readTarget(), "/a");
    const auto later = share("/a");
    worker.answer(cached("old"));
    ASSERT_TRUE(ends(first));
    EXPECT_EQ(later->calls, 0);
    EXPECT_EQ(worker.readTarget(), "/a");
    worker.answer(cached("new"));
    ASSERT_TRUE(ends(later));
    EXPECT_EQ(later->body, "new");
}

class UnsharedAnswer : public SharedReads, public testing::WithParamInterface<httpd::Response>
{};

TEST_P(UnsharedAnswer, LeavesTheOthersTheirPlaces)
{
    FakeWorker worker = startBusy();
    const auto first = share("/a");
    const auto second = share("/a");
    const auto behind = share("/b");
    worker.answer({200, {}, ""});
    EXPECT_EQ(worker.readTarget(), "/a");
    worker.answer(GetParam());
    ASSERT_TRUE(ends(first));
    EXPECT_EQ(second->calls, 0);
    EXPECT_EQ(worker.readTarget(), "/a");
    worker.answer(cached("a"));
    ASSERT_TRUE(ends(second));
    EXPECT_EQ(second->body, "a");
    EXPECT_EQ(worker.readTarget(), "/b");
}

INSTANTIATE_TEST_SUITE_P(, UnsharedAnswer,
                         testing::Values(httpd::Response{404, {}, "", "", true},
                                         httpd::Response{503, {}, "", "", false},
                                         httpd::Response{200, {}, "live", "", false}));

TEST_F(SharedReads, WorkerThatEndsFailsOnlyTheFirst)
{
    auto [first, second] = startWithTwoBusy();
    const auto leader = share("/a");
    const auto joined = share("/a");
    first.answer({200, {}, ""});
    EXPECT_EQ(first.readTarget(), "/a");
    second.answer({200, {}, ""}); // free, but the read is under way
    settle();
    EXPECT_FALSE(second.hasRequest());
    first.close();
    ASSERT_TRUE(ends(leader));
    EXPECT_EQ(leader->outcome, Outcome::WorkerEnded);
    EXPECT_EQ(second.readTarget(), "/a");
    second.answer(cached("a"));
    ASSERT_TRUE(ends(joined));
    EXPECT_EQ(joined->outcome, Outcome::Answered);
}

TEST_F(SharedReads, OtherWorkersGoOnWithWhatIsBehind)
{
    auto [first, second] = startWithTwoBusy();
    (void)share("/a");
    (void)share("/a");
    (void)share("/b");
    first.answer({200, {}, ""});
    EXPECT_EQ(first.readTarget(), "/a");
    second.answer({200, {}, ""});
    EXPECT_EQ(second.readTarget(), "/b");
}

TEST_F(SharedReads, OneThatLeavesTakesNobodyWithIt)
{
    FakeWorker worker = startBusy();
    bool hasLeft = false;
    const auto leaves = share("/a", [&] { return hasLeft; });
    const auto alsoLeaves = share("/a", [&] { return hasLeft; });
    const auto stays = share("/a");
    worker.answer({200, {}, ""});
    EXPECT_EQ(worker.readTarget(), "/a");
    hasLeft = true;
    worker.answer(cached("a"));
    ASSERT_TRUE(ends(stays));
    EXPECT_EQ(stays->body, "a");
    EXPECT_EQ(leaves->calls, 1);
    EXPECT_EQ(alsoLeaves->calls, 1);
}

TEST_F(SharedReads, EachKeepsItsTimeToBegin)
{
    FakeWorker worker = startBusy(seconds(1));
    (void)share("/a");
    const auto joined = share("/a");
    worker.answer({200, {}, ""});
    EXPECT_EQ(worker.readTarget(), "/a");
    ASSERT_TRUE(ends(joined)); // the read goes on
    EXPECT_EQ(joined->outcome, Outcome::Overloaded);
}

TEST_F(SharedReads, ReadThatIsGivenBackLeavesTheOthersTheirTurn)
{
    auto [first, second] = startWithTwoBusy();
    (void)share("/a");
    const auto joined = share("/a");
    first.answer({200, {}, ""});
    EXPECT_EQ(first.readTarget(), "/a");
    first.decline(host::Declined::NeedsCim);
    EXPECT_EQ(first.readTarget(), "/a"); // it may read live now
    second.answer({200, {}, ""});
    EXPECT_EQ(second.readTarget(), "/a");
    second.answer(cached("a"));
    ASSERT_TRUE(ends(joined));
    EXPECT_EQ(joined->body, "a");
}

TEST_F(SharedReads, RequestWithoutAKeySharesNothing)
{
    FakeWorker worker = startBusy();
    const auto first = submit("/a");
    const auto second = submit("/a");
    worker.answer({200, {}, ""});
    EXPECT_EQ(worker.readTarget(), "/a");
    worker.answer(cached("a"));
    ASSERT_TRUE(ends(first));
    EXPECT_EQ(second->calls, 0);
    EXPECT_EQ(worker.readTarget(), "/a");
}

} // namespace
