// The front's side of the message-queue endpoint; the test plays the spawner and the process that
// holds the endpoint.
#ifndef QUEUE_FRONT_END_TEST_H_
#define QUEUE_FRONT_END_TEST_H_

#include "front/FakeSpawner.h"
#include "queue/front_end.h"
#include "wire/frame.h"

#include <RunUntil.h>
#include <boost/asio/steady_timer.hpp>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <utility>
#include <vector>

class QueueFrontEndTest : public testing::Test
{
protected:
    static constexpr const char* kEndpoint = "ipc:///run/oem.sock";

    // A message to or from the process: the request's number and the text.
    using Numbered = std::pair<uint32_t, std::string>;

    void SetUp() override
    {
        mServer = std::make_unique<host::QueueFrontEnd>(
            mContext, *mLink, kEndpoint,
            [this](const std::string& request, const host::QueueFrontEnd::Reply& reply) {
                mRequests.push_back(request);
                if (mAnswersAtOnce) {
                    reply("answer to " + request);
                } else {
                    mReplies.push_back(reply);
                }
            },
            host::QueueFrontEnd::Events{[this] { ++mReady; },
                                        [this](const std::string& cause) {
                                            mFailures.push_back(cause);
                                        }});
    }

    // The process that is asked for.
    FakeWorker forked()
    {
        const host::ControlMessage message = mSpawner.next();
        EXPECT_EQ(message.kind, host::ControlKind::SpawnQueueProcess);
        EXPECT_EQ(message.text, kEndpoint);
        return mSpawner.announceWorker();
    }

    // A server whose endpoint is open.
    FakeWorker startReady()
    {
        mServer->start();
        FakeWorker process = forked();
        process.sendReady();
        EXPECT_TRUE(runUntil(mContext, [&] { return mReady == 1; }));
        return process;
    }

    static void ask(FakeWorker& process, uint32_t number, const std::string& request)
    {
        process.send(host::encodeNumbered(number, request));
    }

    bool hasRequests(size_t count)
    {
        return runUntil(mContext, [&] { return mRequests.size() >= count; });
    }

    static Numbered answerTo(FakeWorker& process)
    {
        Numbered answer;
        EXPECT_TRUE(host::decodeNumbered(process.readPayload(), answer.first, answer.second));
        return answer;
    }

    void expectKilled(const FakeWorker& process)
    {
        const host::ControlMessage message = mSpawner.next();
        EXPECT_EQ(message.kind, host::ControlKind::Kill);
        EXPECT_EQ(message.id, process.id());
    }

    void end(FakeWorker& process)
    {
        process.close();
        expectKilled(process);
    }

    void drain()
    {
        mServer->drain([this] { ++mDrained; });
    }

    // Begins a pause. Timers of one context end in the order of their times, however late: whether
    // the server's pause is the shorter one does not depend on the machine.
    void beginPause(std::chrono::milliseconds pause)
    {
        mHasPassed = false;
        mTimer.expires_after(pause);
        mTimer.async_wait([this](boost::system::error_code /*error*/) {
            mHasPassed = true;
            mHasAsked = mSpawner.hasMessage();
        });
    }

    // Whether the server had sent the spawner something when the pause was over.
    bool hasAskedInPause()
    {
        EXPECT_TRUE(runUntil(mContext, [&] { return mHasPassed; }));
        return mHasAsked;
    }

    // Lets the server do what it can do without further input.
    void settle()
    {
        mContext.restart();
        while (mContext.poll_one() > 0) {
        }
    }

    boost::asio::io_context mContext{1};
    FakeSpawner mSpawner{mContext};
    std::vector<std::string> mFailures;
    std::unique_ptr<host::SpawnerLink> mLink = std::make_unique<host::SpawnerLink>(
        mContext, mSpawner.frontEnd(),
        [this](const std::string& cause) { mFailures.push_back(cause); });
    std::vector<std::string> mRequests;
    std::vector<host::QueueFrontEnd::Reply> mReplies;
    bool mAnswersAtOnce = false;
    int mReady = 0;
    int mDrained = 0;
    std::unique_ptr<host::QueueFrontEnd> mServer;
    boost::asio::steady_timer mTimer{mContext};
    bool mHasPassed = false;
    bool mHasAsked = false;
};

#endif
