#include "schedule.h"

#include <algorithm>

namespace filler {

namespace {

using std::chrono::milliseconds;

// The first pause after a failure; each further one is twice as long.
constexpr milliseconds kFirstPause{1000};
// The longest one while the object manager cannot be reached.
constexpr milliseconds kMaxPause{60000};
constexpr unsigned int kMaxDoublings = 16;

milliseconds pauseAfter(unsigned int failures, milliseconds longest)
{
    const unsigned int doublings = std::min(failures - 1, kMaxDoublings);
    return std::min(kFirstPause * (1U << doublings), longest);
}

} // namespace

Schedule::Schedule(const std::vector<unsigned int>& intervalsS, TimePoint now, unsigned int seed)
    : mPausedUntil(now), mRandom(seed)
{
    for (const unsigned int interval : intervalsS) {
        mClasses.push_back({.interval = Seconds(interval), .due = now});
    }
}

std::optional<size_t> Schedule::unknown() const
{
    const auto found =
        std::find_if(mClasses.begin(), mClasses.end(), [](const Class& one) { return !one.rows; });
    return found == mClasses.end() ? std::nullopt
                                   : std::optional(static_cast<size_t>(found - mClasses.begin()));
}

// Before all is there, what is small: most resources are there early so. Then what has waited
// longest.
bool Schedule::goesBefore(const Class& one, const Class& other) const
{
    if (one.isLoaded != other.isLoaded) {
        return !one.isLoaded;
    }
    if (!one.isLoaded && one.rows != other.rows) {
        return one.rows.value_or(0) < other.rows.value_or(0);
    }
    return one.due < other.due;
}

std::optional<size_t> Schedule::due(TimePoint now) const
{
    std::optional<size_t> first;
    for (size_t i = 0; now >= mPausedUntil && i < mClasses.size(); ++i) {
        if (mClasses[i].due <= now && (!first || goesBefore(mClasses[i], mClasses[*first]))) {
            first = i;
        }
    }
    return first;
}

Schedule::TimePoint Schedule::nextDue() const
{
    TimePoint first = TimePoint::max();
    for (const Class& one : mClasses) {
        first = std::min(first, one.due);
    }
    return std::max(first, mPausedUntil);
}

void Schedule::succeed(size_t index, TimePoint began, int64_t rows)
{
    Class& one = mClasses[index];
    one.rows = rows;
    one.failures = 0;
    one.isLoaded = true;
    one.due = began + one.interval;
    mPauses = 0;
}

void Schedule::fail(size_t index, TimePoint now)
{
    Class& one = mClasses[index];
    ++one.failures;
    one.rows = one.rows.value_or(0);
    one.due = now + withJitter(pauseAfter(one.failures, one.interval));
    mPauses = 0;
}

void Schedule::pause(TimePoint now)
{
    ++mPauses;
    mPausedUntil = now + withJitter(pauseAfter(mPauses, kMaxPause));
}

// Many controllers that lost one object manager must not all come back at one time.
milliseconds Schedule::withJitter(milliseconds pause)
{
    std::uniform_int_distribution<int64_t> part(pause.count() * 3 / 4, pause.count() * 5 / 4);
    return milliseconds(part(mRandom));
}

} // namespace filler
