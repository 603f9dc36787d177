#include "record.h"

#include "cache_files.h"
#include "log.h"
#include "losses.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <map>

namespace filler {

namespace {

constexpr std::chrono::milliseconds kWritePause{1000};

std::string counted(int64_t number, const char* one, const char* more)
{
    return std::to_string(number) + ' ' + (number == 1 ? one : more);
}

std::string rowsText(int64_t rows)
{
    return counted(rows, "row", "rows");
}

std::string ageOf(const std::optional<Time>& refreshed)
{
    if (!refreshed) {
        return "of an earlier run";
    }
    const auto age = std::chrono::duration_cast<std::chrono::seconds>(
        std::chrono::system_clock::now() - *refreshed);
    return "of " + std::to_string(age.count()) + " s ago";
}

// What the class had stays; the log says how old that is.
std::string failureText(const ClassStatus& status, const std::string& entry,
                        const std::string& error)
{
    const std::string keeps =
        status.isReady ? "its " + rowsText(status.rows) + ' ' + ageOf(status.refreshed) + " stay"
                       : "it is not ready";
    return status.name + " (entry " + entry + "): " + error + "; " + keeps;
}

} // namespace

Record::Record(const Options& options)
    : mPath(statusFileOf(options.cachePath)),
      mIsTerminal(isatty(STDERR_FILENO) == 1),
      mIsQuiet(options.isOnce)
{
    mStatus.pid = getpid();
    mStatus.started = std::chrono::system_clock::now();
    mStatus.mapping = options.rmfPath;
    mStatus.cache = options.cachePath;
    mStatus.objectManager = options.cim.url;
}

void Record::begin(const Plan& plan, TimePoint now)
{
    std::map<std::string, ClassStatus> known;
    for (ClassStatus& status : mStatus.classes) {
        known.emplace(status.name, std::move(status));
    }
    mStatus.classes.clear();
    mEntries.clear();
    for (const WantedClass& wanted : plan.classes) {
        ClassStatus status = known[wanted.name];
        status.name = wanted.name;
        status.intervalS = wanted.intervalS;
        mStatus.classes.push_back(std::move(status));
        mEntries.push_back(wanted.entry);
    }
    mIsTried.assign(plan.classes.size(), false);
    mIsLoaded.assign(plan.classes.size(), false);
    mBegan = now;
    mIsShown = plan.classes.empty();
    setState(now);
}

void Record::note(const Greeting& greeting, TimePoint now)
{
    for (size_t i = 0; i < mStatus.classes.size() && i < greeting.classes.size(); ++i) {
        mStatus.classes[i].rows = greeting.classes[i].rows;
        mStatus.classes[i].isReady = greeting.classes[i].isReady;
    }
    mHindrance.clear();
    setState(now);
}

void Record::hindered(const std::string& problem, TimePoint now)
{
    mHindrance = problem;
    setState(now);
}

void Record::refreshed(size_t index, const Report& report, TimePoint now)
{
    reached();
    ClassStatus& status = mStatus.classes[index];
    if (status.failures > 0) {
        logInfo(status.name + ": refreshed again after " +
                counted(status.failures, "failure", "failures"));
    }
    tellLosses(index, report);
    status.rows = report.rows;
    status.isReady = true;
    status.refreshed = std::chrono::system_clock::now();
    status.durationMs = report.durationMs;
    status.changed = report.changed;
    status.failures = 0;
    status.error.clear();
    status.losses = report.losses;
    mIsTried[index] = true;
    tellLoaded(status);
    mIsLoaded[index] = true;
    setState(now);
}

void Record::tellLosses(size_t index, const Report& report)
{
    const std::vector<std::string>& known = mStatus.classes[index].losses;
    for (const std::string& loss : report.losses) {
        const bool isKnown = std::any_of(known.begin(), known.end(), [&](const std::string& one) {
            return kindOfLoss(one) == kindOfLoss(loss);
        });
        if (!isKnown) {
            logError(mStatus.classes[index].name + " (entry " + mEntries[index] + "): " + loss);
        }
    }
}

void Record::tellLoaded(const ClassStatus& status)
{
    const size_t index = static_cast<size_t>(&status - mStatus.classes.data());
    const std::string text = status.name + ": " + rowsText(status.rows) + " in " +
                             std::to_string(status.durationMs) + " ms, " +
                             std::to_string(status.changed) + " written";
    if (!mIsLoaded[index] && !mIsTerminal && !mIsQuiet) {
        logInfo(text);
    } else {
        logDetail(text);
    }
}

void Record::failed(size_t index, const std::string& error, TimePoint now)
{
    reached();
    ClassStatus& status = mStatus.classes[index];
    if (status.error != error) {
        logError(failureText(status, mEntries[index], error));
    }
    status.error = error;
    ++status.failures;
    mIsTried[index] = true;
    setState(now);
}

void Record::unreachable(const std::string& error, TimePoint now)
{
    if (mUnreachable.empty()) {
        logError("the CIM object manager cannot be reached: " + error +
                 "; what the data cache has stays");
    }
    mUnreachable = error;
    setState(now);
}

void Record::reached()
{
    if (!mUnreachable.empty()) {
        logInfo("the CIM object manager can be reached again");
    }
    mUnreachable.clear();
}

size_t Record::tried() const
{
    return static_cast<size_t>(std::count(mIsTried.begin(), mIsTried.end(), true));
}

bool Record::isLoaded() const
{
    return tried() == mIsTried.size();
}

void Record::setState(TimePoint now)
{
    const auto failing = std::count_if(mStatus.classes.begin(), mStatus.classes.end(),
                                       [](const ClassStatus& one) { return one.failures > 0; });
    std::string state = "up to date";
    if (!mHindrance.empty()) {
        state = mHindrance;
    } else if (!mUnreachable.empty()) {
        state = "the CIM object manager cannot be reached: " + mUnreachable;
    } else if (!isLoaded()) {
        state = "loading, " + std::to_string(tried()) + " of " + std::to_string(mIsTried.size()) +
                " classes done";
    } else if (failing > 0) {
        state = counted(failing, "class cannot", "classes cannot") + " be refreshed";
    }
    if (state != mStatus.state) {
        mServiceManager.tellStatus(state);
    }
    mStatus.state = state;
    mIsNew = true;
    tellProgress(now);
}

// One line that is written over and over, and stays when all is there.
void Record::tellProgress(TimePoint now)
{
    if (!mIsTerminal || mIsShown) {
        return;
    }
    int64_t rows = 0;
    for (const ClassStatus& status : mStatus.classes) {
        rows += status.rows;
    }
    const auto passed = std::chrono::duration<double>(now - mBegan).count();
    std::array<char, 32> time{};
    (void)std::snprintf(time.data(), time.size(), "%.1f s", passed);
    showProgress('\r' + std::to_string(tried()) + " of " + std::to_string(mIsTried.size()) +
                 " classes, " + rowsText(rows) + ", " + time.data() + (isLoaded() ? "\n" : ""));
    mIsShown = isLoaded();
}

void Record::stopped()
{
    mServiceManager.tellStopping();
    mStatus.state = "stopped";
    mIsNew = true;
    write(mWrittenAt, true);
}

void Record::write(TimePoint now, bool isIdle)
{
    if (!mIsNew || (!isIdle && now - mWrittenAt < kWritePause)) {
        return;
    }
    mStatus.written = std::chrono::system_clock::now();
    std::string problem;
    const bool isDone = writeStatus(mPath, mStatus, problem);
    if (!isDone && problem != mWriteProblem) {
        logError("cannot write " + mPath + ": " + problem);
    }
    mWriteProblem = isDone ? "" : problem;
    mWrittenAt = now;
    mIsNew = false;
}

std::string Record::summary() const
{
    if (mStatus.classes.empty()) {
        return "there is nothing to fill: no entry of the mapping file is cached\n";
    }
    std::string text;
    for (const ClassStatus& status : mStatus.classes) {
        text += status.name + ": ";
        text += status.error.empty()
                    ? rowsText(status.rows) + ", " + std::to_string(status.changed) +
                          " written, in " + std::to_string(status.durationMs) + " ms"
                    : "failed: " + status.error;
        text += '\n';
    }
    return text;
}

} // namespace filler
