// A pool whose allocations fail: whatever that costs, the next request is served.
#include "front/WorkerPoolTest.h"

#include <ExhaustedMemory.h>
#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <optional>
#include <ostream>
#include <string>
#include <utility>

namespace {

using host::ControlKind;
using host::Outcome;

enum class Moment { RequestComes, AnswerComes, WorkerEnds, WorkerIsForked };

std::ostream& operator<<(std::ostream& out, Moment moment)
{
    constexpr const char* kNames[] = {"RequestComes", "AnswerComes", "WorkerEnds",
                                      "WorkerIsForked"};
    return out << kNames[static_cast<size_t>(moment)];
}

class StarvedWorkerPoolTest : public WorkerPoolTest, public testing::WithParamInterface<Moment>
{
protected:
    // Lets the moment come with this many allocations left. False when they were enough.
    bool isTooFew(int allowed)
    {
        switch (GetParam()) {
        case Moment::RequestComes:
            return submitStarved(allowed);
        case Moment::AnswerComes:
            holdRequest();
            mWorker->answer({200, {}, std::string(200'000, 'x')});
            break;
        case Moment::WorkerEnds:
            holdRequest();
            mWorker->close();
            break;
        case Moment::WorkerIsForked:
            holdRequest();
            mWorker->close();
            EXPECT_TRUE(mSpawner.nextIs(ControlKind::Kill));
            mWorker.emplace(readyWorker());
            break;
        }
        return runStarved(allowed);
    }

    // Serves like a spawner and a worker that are well.
    void play()
    {
        while (mSpawner.hasMessage()) {
            const host::ControlMessage message = mSpawner.next();
            if (message.kind == ControlKind::SpawnWorker) {
                mWorker.emplace(mSpawner.announceWorker());
                mWorker->sendReady();
            } else if (message.id == mWorker->id()) {
                mWorker->close();
            }
        }
        while (mWorker->hasRequest()) {
            mWorker->answer({200, {}, mWorker->readTarget()});
        }
    }

    std::optional<FakeWorker> mWorker;

private:
    // One request is with the worker, another one waits.
    void holdRequest()
    {
        (void)submit("/held");
        (void)submit("/waits");
        EXPECT_EQ(mWorker->readTarget(), "/held");
    }

    bool submitStarved(int allowed)
    {
        host::Task task{host::ReadRequest{"/held"}, [](auto, const auto&) {}, false};
        const ExhaustedMemory exhausted(allowed);
        try {
            mPool->submit(std::move(task));
        } catch (const std::bad_alloc&) {
            return true;
        }
        return ExhaustedMemory::hasFailed();
    }

    bool runStarved(int allowed)
    {
        mContext.restart();
        const ExhaustedMemory exhausted(allowed);
        for (bool isGoingOn = true; isGoingOn;) {
            try {
                isGoingOn = mContext.poll_one() > 0;
            } catch (const std::bad_alloc&) {
                isGoingOn = true;
            }
        }
        return ExhaustedMemory::hasFailed();
    }
};

TEST_P(StarvedWorkerPoolTest, ServesTheNextRequest)
{
    mWorker.emplace(startWithOne());
    bool wasTooFew = true;
    for (int allowed = 0; wasTooFew; ++allowed) {
        SCOPED_TRACE(allowed);
        wasTooFew = isTooFew(allowed);
        mLink->recover();
        mPool->recover();
        const auto next = submit("/next");
        ASSERT_TRUE(runUntil(mContext, [&] {
            play();
            return next->calls == 1;
        }));
        ASSERT_EQ(next->outcome, Outcome::Answered);
        ASSERT_EQ(next->body, "/next");
    }
    EXPECT_TRUE(mFailures.empty());
}

INSTANTIATE_TEST_SUITE_P(, StarvedWorkerPoolTest,
                         testing::Values(Moment::RequestComes, Moment::AnswerComes,
                                         Moment::WorkerEnds, Moment::WorkerIsForked),
                         testing::PrintToStringParamName());

} // namespace
