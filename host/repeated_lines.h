// Lines that come again and again: told once, and then how many more there were.
#ifndef HOST_REPEATED_LINES_H_
#define HOST_REPEATED_LINES_H_

#include <chrono>
#include <cstddef>
#include <deque>
#include <optional>
#include <string>
#include <vector>

namespace host {

struct LogLine
{
    int severity;
    int module;
    std::string text; // without what differs from time to time

    bool operator==(const LogLine&) const = default;
};

// Of kRememberedLines different lines (host_limits.h); the one that was first gives way to another.
class RepeatedLines
{
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    struct HeldBack
    {
        LogLine line;
        size_t times = 0;
    };

    // Whether a line has been written within kRepeatWindow; then it is counted.
    bool holdsBack(const LogLine& line, TimePoint now);

    // Takes note of a line that is written now.
    void written(const LogLine& line, TimePoint now);

    // What was held back, of windows that are over, or that have given way; of all.
    std::vector<HeldBack> takeDue(TimePoint now);
    std::vector<HeldBack> takeAll() { return takeDue(TimePoint::max()); }

    // When takeDue() will have something; nothing while nothing is held back.
    std::optional<TimePoint> nextDue() const;

private:
    struct Known
    {
        LogLine line;
        TimePoint until; // when its window is over
        size_t held = 0;
    };

    std::deque<Known> mKnown; // in the order of their first time
    std::vector<HeldBack> mGaveWay;
};

} // namespace host

#endif
