// Targets at which workers keep ending, so that they are refused for a while.
#ifndef HOST_FRONT_QUARANTINE_H_
#define HOST_FRONT_QUARANTINE_H_

#include <chrono>
#include <deque>
#include <string>

namespace host {

// Works on targets as they came, query included, those of actions with "POST " in front: a page
// that ends workers says nothing of the others. Of the message queue a target is "OEM ", container
// and id. For one thread.
class Quarantine
{
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    // Whether requests for the target are refused now.
    bool holds(const std::string& target, TimePoint now) const;

    // A worker has ended at the target. True when it is refused from now on, for kQuarantineTime;
    // then one more worker that ends is enough for the next time.
    bool workerEnded(const std::string& target, TimePoint now);

    // The target has been answered: forgets it.
    void answered(const std::string& target);

private:
    struct Watched
    {
        std::string target;
        unsigned int ends = 0; // workers in a row
        TimePoint until{};
    };

    Watched& watch(const std::string& target);

    std::deque<Watched> mWatched; // at most kMaxWatchedTargets, in the order of their first ends
};

} // namespace host

#endif
