#include "front/quarantine.h"

#include "host_limits.h"

#include <algorithm>

namespace host {

bool Quarantine::admits(const std::string& target, TimePoint now)
{
    Watched* const watched = find(target);
    if (watched == nullptr || watched->ends < kMaxWorkerEnds) {
        return true;
    }
    if (watched->until > now || watched->isBeingTried) {
        return false;
    }
    watched->isBeingTried = true;
    return true;
}

bool Quarantine::workerEnded(const std::string& target, TimePoint now)
{
    Watched& watched = watch(target);
    watched.isBeingTried = false;
    watched.ends = std::min(watched.ends + 1, kMaxWorkerEnds);
    if (watched.ends < kMaxWorkerEnds) {
        return false;
    }
    watched.until = now + kQuarantineTime;
    return true;
}

void Quarantine::answered(const std::string& target)
{
    std::erase_if(mWatched, [&](const Watched& watched) { return watched.target == target; });
}

void Quarantine::withdrawn(const std::string& target)
{
    if (Watched* const watched = find(target)) {
        watched->isBeingTried = false;
    }
}

Quarantine::Watched* Quarantine::find(const std::string& target)
{
    const auto found = std::find_if(mWatched.begin(), mWatched.end(), [&](const Watched& watched) {
        return watched.target == target;
    });
    return found == mWatched.end() ? nullptr : &*found;
}

Quarantine::Watched& Quarantine::watch(const std::string& target)
{
    if (Watched* const known = find(target)) {
        return *known;
    }
    if (mWatched.size() == kMaxWatchedTargets) {
        mWatched.pop_front();
    }
    mWatched.emplace_back().target = target;
    return mWatched.back();
}

} // namespace host
