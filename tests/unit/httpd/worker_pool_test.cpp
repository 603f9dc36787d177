// Workers that answer, fail, stall and talk nonsense, as the front sees them.
#include "FakeSpawner.h"
#include "HttpClient.h"
#include "frame.h"
#include "host_limits.h"
#include "worker_pool.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <optional>

namespace {

using host::ControlKind;
using host::Outcome;
using std::chrono::seconds;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr seconds kLongTimeout{600};

// What became of one request.
struct Result
{
    int calls = 0;
    std::optional<Outcome> outcome;
    std::string body;
};

class WorkerPoolTest : public testing::Test
{
protected:
    void start(unsigned int workers, seconds requestTimeout = kLongTimeout)
    {
        mLink = std::make_unique<host::SpawnerLink>(
            mContext, mSpawner.frontEnd(),
            [this](const std::string& cause) { mFailures.push_back(cause); });
        mPool = std::make_unique<host::WorkerPool>(
            mContext, *mLink, workers, requestTimeout,
            host::WorkerPool::Events{[this] { ++mReady; },
                                     [this] {
                                         ++mNotReady;
                                         return mGoesOn;
                                     },
                                     [this](const std::string& cause) {
                                         mFailures.push_back(cause);
                                     }});
        mPool->start();
    }

    // Announces a worker that has been asked for, and lets it get ready.
    FakeWorker readyWorker()
    {
        EXPECT_TRUE(mSpawner.nextIs(ControlKind::SpawnWorker));
        FakeWorker worker = mSpawner.announceWorker();
        worker.sendReady();
        return worker;
    }

    // A pool with one worker that is ready.
    FakeWorker startWithOne(seconds requestTimeout = kLongTimeout)
    {
        start(1, requestTimeout);
        FakeWorker worker = readyWorker();
        EXPECT_TRUE(runUntil(mContext, [&] { return mReady == 1; }));
        return worker;
    }

    std::shared_ptr<Result> submit(const std::string& target) { return submitRequest({target}); }

    std::shared_ptr<Result> submitAction(const std::string& target, const std::string& body)
    {
        return submitRequest({target, true, host::RequestKind::Action, body});
    }

    std::shared_ptr<Result> submitRequest(const host::WorkerRequest& request)
    {
        auto result = std::make_shared<Result>();
        mPool->submit(request, [result](Outcome outcome, const httpd::Response& response) {
            ++result->calls;
            result->outcome = outcome;
            result->body = response.body;
        });
        return result;
    }

    bool ends(const std::shared_ptr<Result>& result)
    {
        return runUntil(mContext, [&] { return result->outcome.has_value(); });
    }

    void expectKilled(uint32_t id)
    {
        const host::ControlMessage message = mSpawner.next();
        EXPECT_EQ(message.kind, ControlKind::Kill);
        EXPECT_EQ(message.id, id);
    }

    // Lets the pool do what it can do without further input.
    void settle()
    {
        mContext.restart();
        while (mContext.poll_one() > 0) {
        }
    }

    boost::asio::io_context mContext{1};
    FakeSpawner mSpawner{mContext};
    std::unique_ptr<host::SpawnerLink> mLink;
    std::unique_ptr<host::WorkerPool> mPool;
    int mReady = 0;
    int mNotReady = 0;
    bool mGoesOn = false;
    std::vector<std::string> mFailures;
};

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
    EXPECT_TRUE(worker.isClosedByPool());
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

TEST_F(WorkerPoolTest, WorkerThatAnswersWithoutReadingHarmsNobody)
{
    FakeWorker worker = startWithOne();
    const std::string target(8000, 'x');
    constexpr size_t kMoreThanTheSocketTakes = 200;
    for (size_t i = 0; i < kMoreThanTheSocketTakes; ++i) {
        const auto result = submit(target);
        worker.answer({200, {}, std::to_string(i)});
        ASSERT_TRUE(ends(result));
        ASSERT_EQ(result->body, std::to_string(i));
    }
    // What was still to be written goes out.
    EXPECT_TRUE(worker.discard(kMoreThanTheSocketTakes * host::encodeRequest({target}).size()));
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
    EXPECT_TRUE(worker.isClosedByPool());
}

TEST_F(WorkerPoolTest, CompletionMaySubmitTheNextRequest)
{
    FakeWorker worker = startWithOne();
    std::shared_ptr<Result> inner;
    mPool->submit({"/outer"}, [&](Outcome /*outcome*/, const httpd::Response& /*response*/) {
        inner = submit("/inner");
    });
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
    mPool->submit({"/outer"}, [&](Outcome /*outcome*/, const httpd::Response& /*response*/) {
        inner = submit("/inner");
    });
    EXPECT_EQ(first.readTarget(), "/outer");
    first.close();
    expectKilled(first.id());
    FakeWorker second = readyWorker();
    EXPECT_EQ(second.readTarget(), "/inner");
    second.answer({200, {}, "inner"});
    ASSERT_TRUE(ends(inner));
    EXPECT_EQ(inner->outcome, Outcome::Answered);
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
    EXPECT_TRUE(first.isClosedByPool());
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
    EXPECT_TRUE(busy.isClosedByPool());
    EXPECT_TRUE(idle.isClosedByPool());
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
    EXPECT_TRUE(worker.isClosedByPool());
    EXPECT_TRUE(mSpawner.nextIs(ControlKind::SpawnWorker));
}

std::string lengthOnly(uint32_t bytes)
{
    std::string text(sizeof bytes, '\0');
    std::memcpy(text.data(), &bytes, sizeof bytes);
    return text;
}

INSTANTIATE_TEST_SUITE_P(
    , DamagedAnswer,
    testing::Values(host::encodeReady(), lengthOnly(0), lengthOnly(host::kMaxFrameBytes + 1),
                    lengthOnly(UINT32_MAX), lengthOnly(4) + "junk", host::encodeRequest({"/a"}),
                    host::encodeResponse({0, {}, ""}),
                    host::encodeResponse({200, {{"Link", "a\r\nSet-Cookie: b"}}, ""})));

// ---- Live reads, and the worker that is kept from them

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

// ---- Actions

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

// ---- A data cache that is replaced, or not there

TEST_F(WorkerPoolTest, RequestOfAWorkerWhoseCacheIsReplacedGoesToTheNext)
{
    FakeWorker first = startWithOne();
    const auto result = submit("/a");
    EXPECT_EQ(first.readTarget(), "/a");
    first.decline(host::Declined::CacheReplaced);
    EXPECT_TRUE(first.isClosedByPool());
    FakeWorker second = readyWorker(); // asked for without a "Kill" before
    EXPECT_EQ(second.readTarget(), "/a");
    second.answer({200, {}, "new"});
    ASSERT_TRUE(ends(result));
    EXPECT_EQ(result->outcome, Outcome::Answered);
    EXPECT_EQ(result->body, "new");
}

TEST_F(WorkerPoolTest, WhereNoWorkerGetsReadyRequestsAreRefusedSoon)
{
    mGoesOn = true;
    start(1);
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
    EXPECT_EQ(mNotReady, 1);
    EXPECT_EQ(mReady, 1);
    EXPECT_THAT(mFailures, IsEmpty());
    FakeWorker worker = readyWorker();
    const auto served = submit("/served");
    EXPECT_EQ(worker.readTarget(), "/served");
}

} // namespace
