// When which class is refreshed: small ones first, then each at its interval, one at a time.
//
// One at a time: an object manager answers one enumeration after the other of most providers, and a
// second one would take memory for a second class.
#ifndef FILLER_SCHEDULE_H_
#define FILLER_SCHEDULE_H_

#include <chrono>
#include <cstdint>
#include <optional>
#include <random>
#include <vector>

namespace filler {

class Schedule
{
public:
    using TimePoint = std::chrono::steady_clock::time_point;
    using Seconds = std::chrono::seconds;

    // All classes are due at once.
    Schedule(const std::vector<unsigned int>& intervalsS, TimePoint now, unsigned int seed);

    // A class of which nobody knows how large it is; nothing where all are known.
    std::optional<size_t> unknown() const;
    void setRows(size_t index, int64_t rows) { mClasses[index].rows = rows; }

    // The class to be refreshed now; nothing where none is due.
    std::optional<size_t> due(TimePoint now) const;
    // When there will be one.
    TimePoint nextDue() const;

    void succeed(size_t index, TimePoint began, int64_t rows);
    // It comes again after a pause that grows to its interval.
    void fail(size_t index, TimePoint now);
    // Nothing comes before a pause, which grows; the class comes first then.
    void pause(TimePoint now);

private:
    struct Class
    {
        std::chrono::milliseconds interval;
        TimePoint due;
        std::optional<int64_t> rows = {};
        unsigned int failures = 0;
        bool isLoaded = false;
    };

    bool goesBefore(const Class& one, const Class& other) const;
    std::chrono::milliseconds withJitter(std::chrono::milliseconds pause);

    std::vector<Class> mClasses;
    TimePoint mPausedUntil;
    unsigned int mPauses = 0;
    std::minstd_rand mRandom;
};

} // namespace filler

#endif
