// Targets at which workers keep ending, so that they are closed for a while.
#ifndef HOST_FRONT_QUARANTINE_H_
#define HOST_FRONT_QUARANTINE_H_

#include <chrono>
#include <deque>
#include <string>

namespace host {

// Works on targets as they came, query included, those of actions with "POST " in front: a page
// that ends workers says nothing of the others. Of the message queue a target is "OEM ", container
// and id. For one thread.
//
// Each request that is admitted ends with answered(), workerEnded() or withdrawn().
class Quarantine
{
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    // Whether a request for the target may go to a worker now. Of a target that has been closed for
    // kQuarantineTime one request at a time is admitted, to try it.
    bool admits(const std::string& target, TimePoint now);

    // A worker has ended at the target. True when it is closed from now on, for kQuarantineTime;
    // then one more worker that ends is enough for the next time.
    bool workerEnded(const std::string& target, TimePoint now);

    // The target has been answered: forgets it.
    void answered(const std::string& target);

    // The request has come to nothing that says anything of its target.
    void withdrawn(const std::string& target);

private:
    struct Watched
    {
        std::string target;
        unsigned int ends = 0; // workers in a row
        TimePoint until{};     // closed till then
        bool isBeingTried = false;
    };

    Watched* find(const std::string& target);
    Watched& watch(const std::string& target);

    std::deque<Watched> mWatched; // at most kMaxWatchedTargets, in the order of their first ends
};

} // namespace host

#endif
