// How the front keeps the message-queue endpoint open, takes its requests and answers them.
#include "StderrFile.h"
#include "host_limits.h"
#include "queue/QueueFrontEndTest.h"

#include <TempDirectory.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

namespace {

using host::ControlKind;
using host::ControlMessage;
using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// ---- The start

TEST_F(QueueFrontEndTest, NothingIsAskedForBeforeTheStart)
{
    settle();
    EXPECT_FALSE(mSpawner.hasMessage());
}

TEST_F(QueueFrontEndTest, IsReadyWhenTheProcessSaysSo)
{
    mServer->start();
    FakeWorker process = forked();
    settle();
    EXPECT_EQ(mReady, 0);
    process.sendReady();
    EXPECT_TRUE(runUntil(mContext, [&] { return mReady == 1; }));
    EXPECT_THAT(mFailures, IsEmpty());
    EXPECT_FALSE(mSpawner.hasMessage());
}

constexpr const char* kCannotOpen =
    "cannot open ipc:///run/oem.sock, as said above; name another endpoint with --oem-endpoint";

TEST_F(QueueFrontEndTest, FirstProcessThatEndsUnreadyStopsTheStart)
{
    mServer->start();
    FakeWorker process = forked();
    end(process);
    settle();
    EXPECT_THAT(mFailures, ElementsAre(kCannotOpen));
    EXPECT_EQ(mReady, 0);
}

TEST_F(QueueFrontEndTest, FirstProcessThatSaysSomethingElseStopsTheStart)
{
    mServer->start();
    FakeWorker process = forked();
    ask(process, 1, "too early");
    expectKilled(process);
    EXPECT_TRUE(process.isClosedByFront());
    EXPECT_THAT(mFailures, ElementsAre(kCannotOpen));
    EXPECT_THAT(mRequests, IsEmpty());
}

TEST_F(QueueFrontEndTest, FirstForkThatFailsStopsTheStart)
{
    mServer->start();
    ASSERT_TRUE(mSpawner.nextIs(ControlKind::SpawnQueueProcess));
    ControlMessage message;
    message.kind = ControlKind::NotForked;
    message.text = "Cannot allocate memory";
    mSpawner.send(message);
    EXPECT_TRUE(runUntil(mContext, [&] { return !mFailures.empty(); }));
    EXPECT_THAT(mFailures, ElementsAre("cannot fork a process for ipc:///run/oem.sock: "
                                       "Cannot allocate memory"));
}

// ---- Requests and answers

TEST_F(QueueFrontEndTest, RequestsReachTheHandlerAsTheyCame)
{
    FakeWorker process = startReady();
    const std::string bytes("{\0\xff\n}", 5);
    ask(process, 1, bytes);
    ask(process, 2, "");
    ASSERT_TRUE(hasRequests(2));
    EXPECT_THAT(mRequests, ElementsAre(bytes, ""));
}

TEST_F(QueueFrontEndTest, RequestMayComeByteByByte)
{
    FakeWorker process = startReady();
    for (const char byte : host::encodeNumbered(7, "request")) {
        EXPECT_THAT(mRequests, IsEmpty());
        process.send({&byte, 1});
        settle();
    }
    ASSERT_TRUE(hasRequests(1));
    EXPECT_THAT(mRequests, ElementsAre("request"));
}

TEST_F(QueueFrontEndTest, AnswersCarryTheNumbersOfTheirRequestsInAnyOrder)
{
    FakeWorker process = startReady();
    process.send(host::encodeNumbered(7, "a") + host::encodeNumbered(UINT32_MAX, "b") +
                 host::encodeNumbered(0, "c"));
    ASSERT_TRUE(hasRequests(3));
    mReplies[2]("to c");
    EXPECT_EQ(answerTo(process), Numbered(0, "to c"));
    mReplies[0]("to a");
    EXPECT_EQ(answerTo(process), Numbered(7, "to a"));
    mReplies[1]("to b");
    EXPECT_EQ(answerTo(process), Numbered(UINT32_MAX, "to b"));
}

TEST_F(QueueFrontEndTest, HandlerMayAnswerAtOnce)
{
    mAnswersAtOnce = true;
    FakeWorker process = startReady();
    process.send(host::encodeNumbered(1, "a") + host::encodeNumbered(2, "b"));
    EXPECT_EQ(answerTo(process), Numbered(1, "answer to a"));
    EXPECT_EQ(answerTo(process), Numbered(2, "answer to b"));
}

TEST_F(QueueFrontEndTest, AnswersThatAreGivenAtOnceAllArrive)
{
    FakeWorker process = startReady();
    constexpr uint32_t kCount = 16;
    for (uint32_t number = 1; number <= kCount; ++number) {
        ask(process, number, "request");
    }
    ASSERT_TRUE(hasRequests(kCount));
    for (uint32_t number = 1; number <= kCount; ++number) {
        mReplies[number - 1](std::to_string(number));
    }
    for (uint32_t number = 1; number <= kCount; ++number) {
        EXPECT_EQ(answerTo(process), Numbered(number, std::to_string(number)));
    }
}

// What it does not wait for would pile up in the front.
TEST_F(QueueFrontEndTest, ProcessThatSendsMoreThanItMayHaveAtOnceIsEnded)
{
    FakeWorker process = startReady();
    for (uint32_t number = 1; number <= host::kMaxQueueRequestsAtOnce; ++number) {
        ask(process, number, "request");
    }
    ASSERT_TRUE(hasRequests(host::kMaxQueueRequestsAtOnce));
    EXPECT_FALSE(mSpawner.hasMessage());
    ask(process, host::kMaxQueueRequestsAtOnce + 1, "one more");
    EXPECT_TRUE(mSpawner.nextIs(ControlKind::Kill));
    EXPECT_EQ(mRequests.size(), host::kMaxQueueRequestsAtOnce);
}

TEST_F(QueueFrontEndTest, LargeAnswersArriveWhole)
{
    FakeWorker process = startReady();
    ask(process, 1, "a");
    ask(process, 2, "b");
    ASSERT_TRUE(hasRequests(2));
    const std::string large(3UL * 1024 * 1024, 'x');
    mReplies[0](large + "1");
    mReplies[1](large + "2");
    EXPECT_TRUE(answerTo(process) == Numbered(1, large + "1"));
    EXPECT_TRUE(answerTo(process) == Numbered(2, large + "2"));
}

// ---- Processes that end

TEST_F(QueueFrontEndTest, ProcessThatEndsIsReplacedAfterAPause)
{
    FakeWorker first = startReady();
    const support::TempDirectory directory;
    const StderrFile log(directory.File("log"));
    end(first);
    EXPECT_THAT(log.text(),
                HasSubstr("cimgated: the process that holds ipc:///run/oem.sock has ended\n"));
    EXPECT_FALSE(mSpawner.hasMessage());
    FakeWorker second = forked();
    second.sendReady();
    ask(second, 1, "for the second");
    ASSERT_TRUE(hasRequests(1));
    mReplies[0]("answer");
    EXPECT_EQ(answerTo(second), Numbered(1, "answer"));
    EXPECT_EQ(mReady, 1); // the first time only
    EXPECT_THAT(mFailures, IsEmpty());
}

TEST_F(QueueFrontEndTest, LaterForkThatFailsIsTriedAgain)
{
    FakeWorker first = startReady();
    end(first);
    ASSERT_TRUE(mSpawner.nextIs(ControlKind::SpawnQueueProcess));
    ControlMessage message;
    message.kind = ControlKind::NotForked;
    mSpawner.send(message);
    FakeWorker second = forked();
    second.sendReady();
    ask(second, 1, "request");
    EXPECT_TRUE(hasRequests(1));
    EXPECT_THAT(mFailures, IsEmpty());
}

TEST_F(QueueFrontEndTest, PausesGrowUntilARequestIsAnswered)
{
    std::vector<FakeWorker> processes;
    processes.push_back(startReady());
    for (const milliseconds pause :
         {host::kFirstBackOff, 2 * host::kFirstBackOff, 4 * host::kFirstBackOff}) {
        beginPause(pause); // before the server can notice
        end(processes.back());
        EXPECT_FALSE(hasAskedInPause()) << pause.count();
        processes.push_back(forked());
        processes.back().sendReady(); // which does not count yet
    }
    FakeWorker& last = processes.back();
    ask(last, 1, "request");
    ASSERT_TRUE(hasRequests(1));
    mReplies[0]("answer");
    EXPECT_EQ(answerTo(last), Numbered(1, "answer"));
    end(last);
    beginPause(2 * host::kFirstBackOff); // after the server's own
    EXPECT_TRUE(hasAskedInPause());
}

TEST_F(QueueFrontEndTest, AnswersForAProcessOfThePastReachNobody)
{
    FakeWorker first = startReady();
    ask(first, 1, "for the first");
    ASSERT_TRUE(hasRequests(1));
    end(first);
    mReplies[0]("while there is none");
    FakeWorker second = forked();
    second.sendReady();
    mReplies[0]("while there is another one");
    ask(second, 1, "for the second");
    ASSERT_TRUE(hasRequests(2));
    mReplies[1]("answer");
    EXPECT_EQ(answerTo(second), Numbered(1, "answer"));
}

TEST_F(QueueFrontEndTest, ProcessThatEndsInTheMiddleOfAnAnswerIsReplaced)
{
    FakeWorker first = startReady();
    ask(first, 1, "a");
    ask(first, 2, "b");
    ASSERT_TRUE(hasRequests(2));
    mReplies[0](std::string(3UL * 1024 * 1024, 'x'));
    mReplies[1]("behind it");
    settle();
    EXPECT_TRUE(first.discard(1));
    end(first);
    FakeWorker second = forked();
    second.sendReady();
    ask(second, 1, "c");
    ASSERT_TRUE(hasRequests(3));
    mReplies[2]("answer");
    EXPECT_EQ(answerTo(second), Numbered(1, "answer"));
}

// Frames that no process sends unless its memory is damaged.
class DamagedOemRequest : public QueueFrontEndTest, public testing::WithParamInterface<std::string>
{};

TEST_P(DamagedOemRequest, EndsTheProcess)
{
    FakeWorker process = startReady();
    process.send(GetParam());
    expectKilled(process);
    EXPECT_TRUE(process.isClosedByFront());
    EXPECT_THAT(mRequests, IsEmpty());
    FakeWorker next = forked();
    next.sendReady();
    ask(next, 1, "request");
    EXPECT_TRUE(hasRequests(1));
    EXPECT_THAT(mFailures, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(, DamagedOemRequest,
                         testing::Values(host::encodeReady(), std::string(4, '\0'),
                                         std::string(4, '\xff'),
                                         host::encodeNumbered(1, "request").replace(0, 1, "\x0e"),
                                         host::encodeRequest(host::ReadRequest{"/a"}),
                                         host::encodeResponse({200, {}, "{}"})));

} // namespace
