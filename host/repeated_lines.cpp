#include "repeated_lines.h"

#include "host_limits.h"

#include <algorithm>
#include <utility>

namespace host {

bool RepeatedLines::holdsBack(const LogLine& line, TimePoint now)
{
    const auto known = std::find_if(mKnown.begin(), mKnown.end(), [&](const Known& one) {
        return one.until > now && one.line == line;
    });
    if (known == mKnown.end()) {
        return false;
    }
    ++known->held;
    return true;
}

void RepeatedLines::written(const LogLine& line, TimePoint now)
{
    if (mKnown.size() == kRememberedLines) {
        if (mKnown.front().held > 0) {
            mGaveWay.push_back({std::move(mKnown.front().line), mKnown.front().held});
        }
        mKnown.pop_front();
    }
    mKnown.push_back({line, now + kRepeatWindow});
}

std::vector<RepeatedLines::HeldBack> RepeatedLines::takeDue(TimePoint now)
{
    std::vector<HeldBack> due = std::exchange(mGaveWay, {});
    while (!mKnown.empty() && mKnown.front().until <= now) {
        if (mKnown.front().held > 0) {
            due.push_back({std::move(mKnown.front().line), mKnown.front().held});
        }
        mKnown.pop_front();
    }
    return due;
}

std::optional<RepeatedLines::TimePoint> RepeatedLines::nextDue() const
{
    if (!mGaveWay.empty()) {
        return TimePoint::min();
    }
    const auto first = std::find_if(mKnown.begin(), mKnown.end(),
                                    [](const Known& known) { return known.held > 0; });
    return first == mKnown.end() ? std::nullopt : std::optional(first->until);
}

} // namespace host
