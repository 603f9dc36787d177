#include "front/quarantine.h"

#include "host_limits.h"

#include <algorithm>

namespace host {

bool Quarantine::holds(const std::string& target, TimePoint now) const
{
    return std::any_of(mWatched.begin(), mWatched.end(), [&](const Watched& watched) {
        return watched.until > now && watched.target == target;
    });
}

bool Quarantine::workerEnded(const std::string& target, TimePoint now)
{
    Watched& watched = watch(target);
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

Quarantine::Watched& Quarantine::watch(const std::string& target)
{
    const auto known = std::find_if(mWatched.begin(), mWatched.end(), [&](const Watched& watched) {
        return watched.target == target;
    });
    if (known != mWatched.end()) {
        return *known;
    }
    if (mWatched.size() == kMaxWatchedTargets) {
        mWatched.pop_front();
    }
    mWatched.emplace_back().target = target;
    return mWatched.back();
}

} // namespace host
