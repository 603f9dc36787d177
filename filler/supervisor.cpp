#include "supervisor.h"

#include "cache_file.h"
#include "child.h"
#include "log.h"
#include "owner_lock.h"
#include "record.h"
#include "schedule.h"

#include <poll.h>
#include <sys/signalfd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <random>

namespace filler {

namespace {

using Clock = std::chrono::steady_clock;
using TimePoint = Clock::time_point;
using std::chrono::milliseconds;

// Pause before the process that refreshes is started again when it has ended without an order.
constexpr milliseconds kRestartPause{1000};

int complain(const std::string& problem, int status)
{
    logError(problem);
    return status;
}

// SIGHUP, and those that stop; the others mean nothing.
service::FileDescriptor takeSignals()
{
    for (const int signal : {SIGPIPE, SIGUSR1, SIGUSR2, SIGQUIT, SIGALRM}) {
        (void)std::signal(signal, SIG_IGN);
    }
    sigset_t taken;
    sigemptyset(&taken);
    for (const int signal : {SIGHUP, SIGTERM, SIGINT}) {
        sigaddset(&taken, signal);
    }
    sigprocmask(SIG_BLOCK, &taken, nullptr);
    return service::FileDescriptor(signalfd(-1, &taken, SFD_CLOEXEC | SFD_NONBLOCK));
}

std::vector<unsigned int> intervalsOf(const Plan& plan)
{
    std::vector<unsigned int> intervals;
    for (const WantedClass& wanted : plan.classes) {
        intervals.push_back(wanted.intervalS);
    }
    return intervals;
}

class Supervisor
{
public:
    Supervisor(const Options& options, Plan plan)
        : mOptions(options),
          mRefreshTime(options.refreshTimeoutS),
          mPlan(std::move(plan)),
          mSignals(takeSignals()),
          mRecord(options),
          mSchedule(intervalsOf(mPlan), Clock::now(), std::random_device()())
    {
        mRecord.begin(mPlan, Clock::now());
    }

    int run();

private:
    void keepChild(TimePoint now);
    void giveUpChild(const std::string& problem, TimePoint now);
    void begin();
    void takeGreeting(const std::string& text);
    void giveOrder(TimePoint now);
    void wait(TimePoint until);
    milliseconds patience(TimePoint now) const;
    void takeSignal();
    void reload();
    void startOver();
    void takeMessage();
    void take(const Order& order, const Report& report);
    void loseChild();
    void endHanging(TimePoint now);
    bool isDone() const;
    int finish();

    const Options& mOptions;
    std::chrono::seconds mRefreshTime; // a client library that waits for ever is ended so
    Plan mPlan;
    service::FileDescriptor mSignals;
    Record mRecord;
    Schedule mSchedule;
    Child mChild;
    TimePoint mRestartAt;
    std::string mUnreachable;  // of --once
    std::string mStartProblem; // why it cannot begin
    std::string mLastProblem;  // of the process that refreshes
    bool mHasBegun = false;
    bool mIsStopped = false;
};

int Supervisor::run()
{
    while (!isDone()) {
        const TimePoint now = Clock::now();
        keepChild(now);
        giveOrder(now);
        if (mHasBegun) {
            mRecord.write(now, mChild.isIdle());
        }
        wait(now + patience(now));
        endHanging(Clock::now());
    }
    return finish();
}

// A process that has had its number of orders is replaced at once, one that has ended after a
// pause.
void Supervisor::keepChild(TimePoint now)
{
    if (mChild.isIdle() && mChild.isWorn()) {
        mChild.end();
    }
    if (!mChild.isThere() && now >= mRestartAt && !mChild.start(mOptions.cachePath, mPlan)) {
        giveUpChild("cannot start the process that refreshes", now);
    }
}

// It ends the filler where it could not begin, as for a file that is another program's.
void Supervisor::giveUpChild(const std::string& problem, TimePoint now)
{
    mChild.end();
    if (!mHasBegun) {
        mStartProblem = problem;
    } else {
        mRecord.hindered(problem, now);
        if (problem != mLastProblem) {
            logError(problem + "; it is tried again and again");
        }
    }
    mLastProblem = problem;
    mRestartAt = now + kRestartPause;
}

void Supervisor::begin()
{
    mLastProblem.clear();
    if (mHasBegun) {
        return;
    }
    mHasBegun = true;
    mRecord.ready();
    if (!mOptions.isOnce) {
        (void)std::printf("cimgate-cached: keeps %s\n", mOptions.cachePath.c_str());
        (void)std::fflush(stdout);
    }
}

void Supervisor::takeGreeting(const std::string& text)
{
    const auto greeting = decodeGreeting(text);
    if (!greeting || !greeting->problem.empty()) {
        giveUpChild(greeting ? greeting->problem
                             : "the process that refreshes cannot be understood",
                    Clock::now());
        return;
    }
    mChild.noteGreeting();
    begin();
    mRecord.note(*greeting, Clock::now());
    for (size_t i = 0; i < greeting->classes.size() && i < mPlan.classes.size(); ++i) {
        if (greeting->classes[i].hasTable) {
            mSchedule.setRows(i, greeting->classes[i].rows);
        }
    }
}

void Supervisor::giveOrder(TimePoint now)
{
    if (!mChild.isIdle()) {
        return;
    }
    const auto next = mSchedule.due(now);
    if (!next) {
        return;
    }
    const auto unknown = mSchedule.unknown();
    const Order order =
        unknown ? Order{Order::Kind::Count, *unknown} : Order{Order::Kind::Refresh, *next};
    (void)mChild.give(order, now); // who has gone is noticed by the socket's end
}

milliseconds Supervisor::patience(TimePoint now) const
{
    TimePoint until = now + std::chrono::hours(1);
    if (mChild.isIdle()) {
        until = std::min(until, mSchedule.nextDue());
    }
    if (const auto since = mChild.owesSince()) {
        until = std::min(until, *since + mRefreshTime);
    }
    if (!mChild.isThere()) {
        until = std::min(until, mRestartAt);
    }
    if (!mRecord.isWritten()) {
        until = std::min(until, now + std::chrono::seconds(1));
    }
    return std::max(std::chrono::ceil<milliseconds>(until - now), milliseconds(0));
}

void Supervisor::wait(TimePoint until)
{
    const auto left = std::chrono::ceil<milliseconds>(until - Clock::now());
    pollfd sources[2] = {{mSignals.get(), POLLIN, 0}, {mChild.socket(), POLLIN, 0}};
    (void)poll(sources, 2, static_cast<int>(std::max(left, milliseconds(0)).count()));
    if (sources[0].revents != 0) {
        takeSignal();
    }
    if (sources[1].revents != 0 && mChild.isThere()) {
        takeMessage();
    }
}

void Supervisor::takeSignal()
{
    signalfd_siginfo signal{};
    if (read(mSignals.get(), &signal, sizeof signal) != sizeof signal) {
        return;
    }
    if (signal.ssi_signo == SIGHUP) {
        reload();
    } else {
        mIsStopped = true;
    }
}

void Supervisor::reload()
{
    std::string problem;
    auto plan = readPlan(mOptions.rmfPath, mOptions.intervalS, problem);
    if (!plan) {
        logError(problem + "; the former mapping holds");
        return;
    }
    mPlan = std::move(*plan);
    startOver();
}

// Another process opens the file, makes in it what is missing, and refreshes all.
void Supervisor::startOver()
{
    mChild.end();
    mSchedule = Schedule(intervalsOf(mPlan), Clock::now(), std::random_device()());
    mRecord.begin(mPlan, Clock::now());
    mRestartAt = TimePoint();
}

void Supervisor::takeMessage()
{
    const auto text = mChild.receive();
    if (!text) {
        loseChild();
    } else if (!mChild.hasGreeted()) {
        takeGreeting(*text);
    } else if (const auto report = decodeReport(*text); report && mChild.order()) {
        take(mChild.takeOrder(), *report);
    }
}

void Supervisor::take(const Order& order, const Report& report)
{
    const TimePoint now = Clock::now();
    if (report.result == Report::Result::FileGone) {
        logError(mOptions.cachePath + " has been removed or replaced: it is made and filled anew");
        startOver();
    } else if (report.result == Report::Result::Unreachable) {
        mUnreachable = report.error;
        mRecord.unreachable(report.error, now);
        mSchedule.pause(now);
    } else if (order.kind == Order::Kind::Count) {
        // A class that cannot be counted is told when it cannot be read.
        mSchedule.setRows(order.index, report.rows);
    } else if (report.result == Report::Result::Failed) {
        mRecord.failed(order.index, report.error, now);
        mSchedule.fail(order.index, now);
    } else {
        mRecord.refreshed(order.index, report, now);
        mSchedule.succeed(order.index, mChild.orderedAt(), report.rows);
    }
}

// The class of its order counts as failed: most likely it is the cause.
void Supervisor::loseChild()
{
    const std::string how = "the process that refreshes ended with " + mChild.awaitEnd();
    if (!mChild.order()) {
        giveUpChild(how, Clock::now());
        return;
    }
    Report report;
    report.result = Report::Result::Failed;
    report.error = how;
    take(mChild.takeOrder(), report);
}

void Supervisor::endHanging(TimePoint now)
{
    const auto since = mChild.owesSince();
    if (since && now - *since >= mRefreshTime) {
        mChild.end();
        if (!mChild.order()) {
            giveUpChild("the data cache cannot be opened in time", now);
            return;
        }
        Report report;
        report.result = Report::Result::Failed;
        report.error = "a refresh took longer than " + std::to_string(mRefreshTime.count()) + " s";
        take(mChild.takeOrder(), report);
    }
}

bool Supervisor::isDone() const
{
    return mIsStopped || !mStartProblem.empty() ||
           (mOptions.isOnce && mHasBegun && (mRecord.isLoaded() || !mUnreachable.empty()));
}

int Supervisor::finish()
{
    mChild.end();
    if (!mStartProblem.empty()) {
        return complain(mStartProblem, EXIT_FAILURE);
    }
    mRecord.stopped();
    if (!mOptions.isOnce) {
        return EXIT_SUCCESS;
    }
    const auto& classes = mRecord.classes();
    const bool isFilled = mUnreachable.empty() && mRecord.isLoaded() &&
                          std::all_of(classes.begin(), classes.end(),
                                      [](const ClassStatus& one) { return one.error.empty(); });
    if (mUnreachable.empty()) {
        (void)std::fputs(mRecord.summary().c_str(), stdout);
    }
    return isFilled ? EXIT_SUCCESS : EXIT_FAILURE;
}

bool compactFile(const Options& options, const Plan& plan, std::string& problem)
{
    try {
        for (const std::string& removed : compact(options.cachePath, plan)) {
            (void)std::printf("removed %s\n", removed.c_str());
        }
        return true;
    } catch (const std::exception& error) {
        problem = "cannot compact the data cache " + options.cachePath + ": " + error.what();
        return false;
    }
}

} // namespace

int runFiller(const Options& options)
{
    std::string problem;
    if (options.isCompact && !options.isOnce) {
        return complain("--compact goes with --once", cli::kWrongUsage);
    }
    if (!service::prepareCim(options.cim, problem)) {
        return complain(problem, cli::kWrongUsage);
    }
    startLog(options.logLevel);
    auto plan = readPlan(options.rmfPath, options.intervalS, problem);
    if (!plan) {
        return complain(problem, EXIT_FAILURE);
    }
    OwnerLock lock;
    if (!lock.take(options.cachePath, problem) ||
        (options.isCompact && !compactFile(options, *plan, problem))) {
        return complain(problem, EXIT_FAILURE);
    }
    return Supervisor(options, std::move(*plan)).run();
}

} // namespace filler
