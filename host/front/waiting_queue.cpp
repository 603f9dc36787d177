#include "front/waiting_queue.h"

#include "host_limits.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <string_view>
#include <utility>

namespace host {

namespace {

size_t one(const Task& /*task*/)
{
    return 1;
}

size_t bodyBytes(const Task& task)
{
    const auto* const action = std::get_if<ActionRequest>(&task.request);
    return action == nullptr ? 0 : action->body.size();
}

} // namespace

std::vector<Task> WaitingQueue::push(Task task)
{
    const TimePoint now = task.since;
    mTasks.push_back(std::move(task));
    std::vector<Task> refused;
    const bool isFull = isAbove(kMaxWaiting, one) || isAbove(kMaxWaitingBodyBytes, bodyBytes);
    if (isFull && (!mAskedAt || now - *mAskedAt >= kAskWhoHasGonePause)) {
        refused = takeIf(isAbandoned);
        mAskedAt = now;
    }
    const std::pair<size_t, Weight> limits[] = {{kMaxWaiting, one},
                                                {kMaxWaitingBodyBytes, bodyBytes}};
    for (const auto& [limit, weight] : limits) {
        while (isAbove(limit, weight)) {
            refused.push_back(takeNewestOfHeaviest(weight));
        }
    }
    return refused;
}

bool WaitingQueue::isAbove(size_t limit, const Weight& weight) const
{
    size_t sum = 0;
    for (const Task& task : mTasks) {
        sum += weight(task);
    }
    return sum > limit;
}

Task WaitingQueue::takeNewestOfHeaviest(const Weight& weight)
{
    std::map<std::string_view, size_t> weights;
    for (const Task& task : mTasks) {
        weights[task.client] += weight(task);
    }
    const auto heaviest =
        std::max_element(weights.begin(), weights.end(), [](const auto& left, const auto& right) {
            return left.second < right.second;
        });
    const auto isNewest = [&](const Task& task) {
        return weights[task.client] == heaviest->second && weight(task) > 0;
    };
    const auto newest = std::prev(std::find_if(mTasks.rbegin(), mTasks.rend(), isNewest).base());
    Task taken = std::move(*newest);
    mTasks.erase(newest);
    return taken;
}

std::deque<Task>::const_iterator WaitingQueue::firstFree() const
{
    return std::find_if(mTasks.begin(), mTasks.end(),
                        [](const Task& task) { return task.read == 0; });
}

const Task* WaitingQueue::next() const
{
    const auto found = firstFree();
    return found == mTasks.end() ? nullptr : &*found;
}

Task WaitingQueue::pop()
{
    const auto found = mTasks.begin() + (firstFree() - mTasks.begin());
    Task first = std::move(*found);
    mTasks.erase(found);
    return first;
}

void WaitingQueue::join(const std::string& sharedKey, uint64_t read)
{
    for (Task& task : mTasks) {
        if (task.read == 0 && task.sharedKey == sharedKey) {
            task.read = read;
        }
    }
}

std::vector<Task> WaitingQueue::takeJoined(uint64_t read)
{
    return takeIf([read](const Task& task) { return task.read == read; });
}

void WaitingQueue::release(uint64_t read)
{
    for (Task& task : mTasks) {
        task.read = task.read == read ? 0 : task.read;
    }
}

void WaitingQueue::releaseAll()
{
    for (Task& task : mTasks) {
        task.read = 0;
    }
}

std::vector<Task> WaitingQueue::takeAbandonedAhead()
{
    std::vector<Task> taken;
    while (next() != nullptr && isAbandoned(*next())) {
        taken.push_back(pop());
    }
    return taken;
}

WaitingQueue::TimePoint WaitingQueue::nextExpiry() const
{
    return std::min_element(
               mTasks.begin(), mTasks.end(),
               [](const Task& left, const Task& right) { return left.startsBy < right.startsBy; })
        ->startsBy;
}

std::vector<Task> WaitingQueue::takeExpired(TimePoint now)
{
    return takeIf([now](const Task& task) { return task.startsBy <= now; });
}

std::vector<Task> WaitingQueue::takeIf(const std::function<bool(const Task&)>& condition)
{
    std::vector<Task> taken;
    const auto kept = std::stable_partition(mTasks.begin(), mTasks.end(), std::not_fn(condition));
    taken.reserve(static_cast<size_t>(mTasks.end() - kept)); // before any is moved
    std::move(kept, mTasks.end(), std::back_inserter(taken));
    mTasks.erase(kept, mTasks.end());
    return taken;
}

std::vector<Task> WaitingQueue::takeAll()
{
    return takeIf([](const Task& /*task*/) { return true; });
}

} // namespace host
