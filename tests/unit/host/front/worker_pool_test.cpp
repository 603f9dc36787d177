// Requests on their way to workers: their turn, their answers, and what becomes of them when no
// worker takes them.
#include "front/WorkerPoolTest.h"
#include "host_limits.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using host::ControlKind;
using host::Outcome;
using std::chrono::seconds;
using testing::IsEmpty;

TEST_F(WorkerPoolTest, FramesMayComeByteByByte)
{
    start(1);
    ASSERT_TRUE(mSpawner.nextIs(ControlKind::SpawnWorker));
    FakeWorker worker = mSpawner.announceWorker();
    for (const char byte : host::encodeReady()) {
        EXPECT_EQ(mReady, 0);
        worker.send({&byte, 1});
        settle();
    }
    EXPECT_TRUE(runUntil(mContext, [&] { return mReady == 1; }));
    const auto result = submit("/a");
    for (const char byte : host::encodeResponse({200, {}, "answer"})) {
        EXPECT_EQ(result->calls, 0);
        worker.send({&byte, 1});
        settle();
    }
    ASSERT_TRUE(ends(result));
    EXPECT_EQ(result->body, "answer");
}

TEST_F(WorkerPoolTest, RequestsAreAnsweredByWorkersThatAreFree)
{
    start(2);
    FakeWorker first = readyWorker();
    FakeWorker second = readyWorker();
    ASSERT_TRUE(runUntil(mContext, [&] { return mReady == 1; }));
    const auto one = submit("/1");
    const auto two = submit("/2");
    EXPECT_EQ(first.readTarget(), "/1");
    EXPECT_EQ(second.readTarget(), "/2");
    second.answer({200, {}, "two"});
    ASSERT_TRUE(ends(two));
    EXPECT_EQ(two->outcome, Outcome::Answered);
    EXPECT_EQ(two->body, "two");
    const auto three = submit("/3");
    EXPECT_EQ(second.readTarget(), "/3");
    EXPECT_EQ(one->calls, 0);
    first.answer({404, {}, "one"});
    ASSERT_TRUE(ends(one));
    EXPECT_EQ(one->body, "one");
}

TEST_F(WorkerPoolTest, RequestsThatWaitGetTheirTurnInOrder)
{
    FakeWorker worker = startWithOne();
    std::vector<std::shared_ptr<Result>> results;
    for (const char* target : {"/1", "/2", "/3"}) {
        results.push_back(submit(target));
    }
    for (const auto& result : results) {
        const std::string target = worker.readTarget();
        worker.answer({200, {}, target});
        ASSERT_TRUE(ends(result));
        EXPECT_EQ(result->body, target);
    }
    EXPECT_EQ(results.back()->body, "/3");
}

TEST_F(WorkerPoolTest, RequestBeforeAWorkerIsReadyWaits)
{
    start(1);
    const auto result = submit("/early");
    FakeWorker worker = readyWorker();
    EXPECT_EQ(worker.readTarget(), "/early");
    worker.answer({200, {}, "answer"});
    ASSERT_TRUE(ends(result));
    EXPECT_EQ(result->outcome, Outcome::Answered);
}

TEST_F(WorkerPoolTest, LargeAnswerArrivesWhole)
{
    FakeWorker worker = startWithOne();
    const auto result = submit("/a");
    const std::string body(3UL * 1024 * 1024, 'x');
    const std::string frame = host::encodeResponse({200, {}, body});
    constexpr size_t kPieceBytes = 65536;
    for (size_t sent = 0; sent < frame.size(); sent += kPieceBytes) {
        worker.send(std::string_view(frame).substr(sent, kPieceBytes));
        settle();
    }
    ASSERT_TRUE(ends(result));
    EXPECT_EQ(result->body, body);
}

TEST_F(WorkerPoolTest, RequestsBeyondTheQueueAreRefusedAtOnce)
{
    FakeWorker worker = startWithOne();
    std::vector<std::shared_ptr<Result>> waiting;
    for (size_t i = 0; i <= host::kMaxWaiting; ++i) { // the worker has one of them
        waiting.push_back(submit("/waits"));
        ASSERT_EQ(waiting.back()->calls, 0);
    }
    const auto refused = submit("/refused");
    EXPECT_EQ(refused->calls, 1);
    EXPECT_EQ(refused->outcome, Outcome::Overloaded);
    (void)worker.readTarget();
    worker.answer({200, {}, ""});
    ASSERT_TRUE(ends(waiting.front()));
    EXPECT_EQ(submit("/fits")->calls, 0);
}

TEST_F(WorkerPoolTest, CompletionMaySubmitTheNextRequest)
{
    FakeWorker worker = startWithOne();
    std::shared_ptr<Result> inner;
    mPool->submit({host::ReadRequest{"/outer"},
                   [&](Outcome /*outcome*/, const httpd::Response& /*response*/) {
                       inner = submit("/inner");
                   }});
    EXPECT_EQ(worker.readTarget(), "/outer");
    worker.answer({200, {}, ""});
    EXPECT_EQ(worker.readTarget(), "/inner");
    worker.answer({200, {}, "inner"});
    ASSERT_TRUE(ends(inner));
    EXPECT_EQ(inner->body, "inner");
}

TEST_F(WorkerPoolTest, CompletionOfALostRequestMaySubmitTheNext)
{
    FakeWorker first = startWithOne();
    std::shared_ptr<Result> inner;
    mPool->submit({host::ReadRequest{"/outer"},
                   [&](Outcome /*outcome*/, const httpd::Response& /*response*/) {
                       inner = submit("/inner");
                   }});
    EXPECT_EQ(first.readTarget(), "/outer");
    first.close();
    expectKilled(first.id());
    FakeWorker second = readyWorker();
    EXPECT_EQ(second.readTarget(), "/inner");
    second.answer({200, {}, "inner"});
    ASSERT_TRUE(ends(inner));
    EXPECT_EQ(inner->outcome, Outcome::Answered);
}

TEST_F(WorkerPoolTest, RequestThatWaitedTooLongIsRefused)
{
    const FakeWorker worker = startWithOne(seconds(0));
    const auto held = submit("/held");
    const auto waiting = submit("/waiting");
    ASSERT_TRUE(ends(waiting));
    EXPECT_EQ(waiting->outcome, Outcome::Overloaded);
    ASSERT_TRUE(ends(held));
    EXPECT_EQ(held->outcome, Outcome::TooLate);
    EXPECT_EQ(waiting->calls, 1);
}

TEST_F(WorkerPoolTest, RequestWaitsForHalfOfItsTimeAtMost)
{
    FakeWorker worker = startWithOne(seconds(1));
    const auto held = submit("/held");
    const auto waiting = submit("/waiting");
    settle();
    EXPECT_EQ(waiting->calls, 0);
    ASSERT_TRUE(ends(waiting));
    EXPECT_EQ(waiting->outcome, Outcome::Overloaded);
    EXPECT_EQ(held->calls, 0);
    worker.answer({200, {}, "in time"});
    ASSERT_TRUE(ends(held));
    EXPECT_EQ(held->outcome, Outcome::Answered);
}

TEST_F(WorkerPoolTest, RequestThatNobodyWaitsForIsNotBegun)
{
    FakeWorker worker = startWithOne();
    const auto held = submit("/held");
    bool isGone = false;
    const auto abandoned = submitTask({host::ReadRequest{"/abandoned"}, {}, false, "", [&] {
                                           return isGone;
                                       }});
    const auto next = submit("/next");
    isGone = true;
    EXPECT_EQ(worker.readTarget(), "/held");
    worker.answer({200, {}, ""});
    EXPECT_EQ(worker.readTarget(), "/next");
    EXPECT_EQ(abandoned->calls, 1);
    EXPECT_EQ(abandoned->outcome, Outcome::Overloaded);
}

TEST_F(WorkerPoolTest, RequestsThatNobodyWaitsForMakeRoom)
{
    const FakeWorker worker = startWithOne();
    const auto held = submit("/held");
    for (size_t i = 0; i < host::kMaxWaiting; ++i) {
        (void)submitTask({host::ReadRequest{"/abandoned"}, {}, false, "", [] {
                              return true;
                          }});
    }
    EXPECT_EQ(submit("/fits")->calls, 0);
}

TEST_F(WorkerPoolTest, StopDropsRequestsAndEndsTheWorkersThatHaveThem)
{
    start(2);
    FakeWorker busy = readyWorker();
    FakeWorker idle = readyWorker();
    ASSERT_TRUE(runUntil(mContext, [&] { return mReady == 1; }));
    const auto dropped = submit("/a");
    EXPECT_EQ(busy.readTarget(), "/a");
    mPool->stop();
    expectKilled(busy.id());
    EXPECT_TRUE(busy.isClosedByFront());
    EXPECT_TRUE(idle.isClosedByFront());
    settle();
    EXPECT_FALSE(mSpawner.hasMessage());
    EXPECT_EQ(dropped->calls, 0);
    EXPECT_EQ(dropped.use_count(), 1); // what waits for it is let go
    EXPECT_THAT(mFailures, IsEmpty());
}

TEST_F(WorkerPoolTest, NothingIsStartedAfterStop)
{
    FakeWorker worker = startWithOne();
    const auto lost = submit("/a");
    (void)worker.readTarget();
    worker.answer({200, {}, ""});
    worker.close();
    mSpawner.close();
    mLink->stop(); // with news from the worker and the spawner on their way
    mPool->stop();
    settle();
    EXPECT_EQ(lost->calls, 0);
    EXPECT_THAT(mFailures, IsEmpty());
}

TEST_F(WorkerPoolTest, BodiesThatWaitAreLimitedTogether)
{
    FakeWorker worker = startWithOne();
    const auto begun = submitAction("/begun", std::string(host::kMaxWaitingBodyBytes, 'x'));
    const auto waiting = submitAction("/waiting", std::string(host::kMaxWaitingBodyBytes - 1, 'x'));
    const auto fits = submitAction("/fits", "x");
    EXPECT_EQ(begun->calls + waiting->calls + fits->calls, 0);
    EXPECT_EQ(submitAction("/refused", "x")->outcome, Outcome::Overloaded);
    EXPECT_EQ(submit("/without a body")->calls, 0);
}

} // namespace
