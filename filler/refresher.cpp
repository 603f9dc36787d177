#include "refresher.h"

#include "class_refresh.h"
#include "messages.h"
#include "status_file.h"

#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <memory>

namespace filler {

namespace {

using Clock = std::chrono::steady_clock;

// Opens the file and fills the greeting; null, with the greeting's problem, where it cannot be
// used.
std::unique_ptr<CacheFile> openFile(const std::string& path, const Plan& plan, Greeting& greeting)
{
    try {
        auto file = std::make_unique<CacheFile>(path);
        file->prepare(plan);
        for (const WantedClass& wanted : plan.classes) {
            const bool hasTable = wanted.columns.empty() || file->hasTable(wanted.name);
            greeting.classes.push_back(
                {file->rowsOf(wanted.name), hasTable, file->isReady(wanted.name)});
        }
        return file;
    } catch (const std::exception& error) {
        greeting.problem = "cannot keep the data cache " + path + ": " + error.what() +
                           "; mend that or name another file with --cache";
        return nullptr;
    }
}

class Refresher
{
public:
    Refresher(CacheFile& file, const Plan& plan)
        : mFile(file), mPlan(plan), mRefresh(file, mManager, plan)
    {}

    Report answer(const Order& order)
    {
        Report report;
        if (!mFile.isInPlace()) {
            report.result = Report::Result::FileGone;
            return report;
        }
        const auto began = Clock::now();
        try {
            carryOut(order, report);
        } catch (const CimError& error) {
            fail(report, error);
        } catch (const std::exception& error) {
            report.result = Report::Result::Failed;
            report.error = std::string("the data cache cannot be written: ") + error.what();
        }
        report.error = cutSentence(report.error);
        report.durationMs =
            std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - began).count();
        return report;
    }

private:
    void carryOut(const Order& order, Report& report)
    {
        const WantedClass& wanted = mPlan.classes.at(order.index);
        if (order.kind == Order::Kind::Count) {
            report.rows = static_cast<int64_t>(mManager.countOf(wanted.name));
            return;
        }
        ClassRefresh::Outcome outcome = mRefresh.run(wanted);
        report.rows = outcome.rows;
        report.changed = outcome.changed;
        report.losses = std::move(outcome.losses);
    }

    // An object manager that has gone looks like one that refuses, until somebody connects.
    void fail(Report& report, const CimError& refusal)
    {
        mRefresh.forgetDeclarations();
        try {
            mManager.reconnect();
            report.result = Report::Result::Failed;
            report.error = refusal.what();
        } catch (const CimError& error) {
            report.result = Report::Result::Unreachable;
            report.error = error.what();
        }
    }

    const CacheFile& mFile;
    const Plan& mPlan;
    ObjectManager mManager;
    ClassRefresh mRefresh;
};

} // namespace

// Nothing is closed at the end: the file is left as it is when this process is killed, which
// readers can read, whatever user they are.
void runRefresher(service::FileDescriptor supervisor, const std::string& cache, const Plan& plan)
{
    Greeting greeting;
    const std::unique_ptr<CacheFile> file = openFile(cache, plan, greeting);
    bool isWanted = sendMessage(supervisor.get(), encode(greeting)) && file != nullptr;
    if (isWanted) {
        Refresher refresher(*file, plan);
        while (isWanted) {
            const auto text = receiveMessage(supervisor.get());
            const auto order = text ? decodeOrder(*text) : std::nullopt;
            isWanted = order && sendMessage(supervisor.get(), encode(refresher.answer(*order)));
        }
        _exit(EXIT_SUCCESS);
    }
    _exit(EXIT_FAILURE);
}

} // namespace filler
