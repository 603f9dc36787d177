// A pool of workers whose spawner and workers the test plays.
#ifndef WORKER_POOL_TEST_H_
#define WORKER_POOL_TEST_H_

#include "front/FakeSpawner.h"
#include "front/worker_pool.h"
#include "wire/frame.h"

#include <RunUntil.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

class WorkerPoolTest : public testing::Test
{
protected:
    static constexpr std::chrono::seconds kLongTimeout{600};

    // What became of one request.
    struct Result
    {
        int calls = 0;
        std::optional<host::Outcome> outcome;
        std::string body;
    };

    void start(unsigned int workers, std::chrono::seconds requestTimeout = kLongTimeout)
    {
        mLink = std::make_unique<host::SpawnerLink>(
            mContext, mSpawner.frontEnd(),
            [this](const std::string& cause) { mFailures.push_back(cause); });
        mPool = std::make_unique<host::WorkerPool>(
            mContext, *mLink, workers, requestTimeout,
            host::WorkerPool::Events{[this] { ++mReady; }, [this] { ++mNotReady; },
                                     [this](const std::string& cause) {
                                         mFailures.push_back(cause);
                                     }});
        mPool->start();
    }

    // Announces a worker that has been asked for, and lets it get ready.
    FakeWorker readyWorker()
    {
        EXPECT_TRUE(mSpawner.nextIs(host::ControlKind::SpawnWorker));
        FakeWorker worker = mSpawner.announceWorker();
        worker.sendReady();
        return worker;
    }

    // A pool with one worker that is ready.
    FakeWorker startWithOne(std::chrono::seconds requestTimeout = kLongTimeout)
    {
        start(1, requestTimeout);
        FakeWorker worker = readyWorker();
        EXPECT_TRUE(runUntil(mContext, [&] { return mReady == 1; }));
        return worker;
    }

    // A read that the data cache answers, as far as the front knows.
    std::shared_ptr<Result> submit(const std::string& target)
    {
        return submitRequest(host::ReadRequest{target}, false);
    }

    std::shared_ptr<Result> submitLive(const std::string& target)
    {
        return submitRequest(host::ReadRequest{target}, true);
    }

    std::shared_ptr<Result> submitAction(const std::string& target, const std::string& body)
    {
        return submitRequest(host::ActionRequest{target, body}, true);
    }

    std::shared_ptr<Result> submitRequest(const host::WorkerRequest& request, bool needsCim)
    {
        return submitTask({request, {}, needsCim});
    }

    std::shared_ptr<Result> submitTask(host::Task task)
    {
        auto result = std::make_shared<Result>();
        task.done = [result](host::Outcome outcome, const httpd::Response& response) {
            ++result->calls;
            result->outcome = outcome;
            result->body = response.body;
        };
        mPool->submit(std::move(task));
        return result;
    }

    // Two workers that are ready.
    std::pair<FakeWorker, FakeWorker>
    startWithTwo(std::chrono::seconds requestTimeout = kLongTimeout)
    {
        start(2, requestTimeout);
        FakeWorker first = readyWorker();
        FakeWorker second = readyWorker();
        EXPECT_TRUE(runUntil(mContext, [&] { return mReady == 1; }));
        return {std::move(first), std::move(second)};
    }

    bool ends(const std::shared_ptr<Result>& result)
    {
        return runUntil(mContext, [&] { return result->outcome.has_value(); });
    }

    void expectKilled(uint32_t id)
    {
        const host::ControlMessage message = mSpawner.next();
        EXPECT_EQ(message.kind, host::ControlKind::Kill);
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
    std::vector<std::string> mFailures;
};

#endif
