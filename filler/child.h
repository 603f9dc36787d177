// The process that refreshes, seen from the supervisor.
#ifndef FILLER_CHILD_H_
#define FILLER_CHILD_H_

#include "messages.h"
#include "plan.h"

#include <service/file_descriptor.h>
#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>

namespace filler {

class Child
{
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    Child() = default;
    ~Child() { end(); }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    // Forks it; it inherits no signal handling. False where that cannot be.
    bool start(const std::string& cache, const Plan& plan);
    // Kills it and waits until it has gone.
    void end();

    bool isThere() const { return mPid > 0; }
    int socket() const { return mSocket.get(); }
    bool hasGreeted() const { return mHasGreeted; }
    // Whether it has greeted and has no order.
    bool isIdle() const { return isThere() && mHasGreeted && !mOrder; }
    const std::optional<Order>& order() const { return mOrder; }
    TimePoint orderedAt() const { return mOrderedAt; }
    // Since when it owes an answer; nothing while it does not.
    std::optional<TimePoint> owesSince() const;

    bool give(const Order& order, TimePoint now);
    // Waits for its next message; nothing where it has gone.
    std::optional<std::string> receive();
    void noteGreeting() { mHasGreeted = true; }
    // What it had been told to do.
    Order takeOrder();
    // Whether it has done enough: client libraries may lose memory with each question.
    bool isWorn() const;
    // How it ended, which the end of its socket tells: "signal 11 (Segmentation fault)".
    std::string awaitEnd();

private:
    pid_t mPid = -1;
    service::FileDescriptor mSocket;
    bool mHasGreeted = false;
    std::optional<Order> mOrder;
    TimePoint mOrderedAt;
    unsigned int mOrders = 0;
};

} // namespace filler

#endif
