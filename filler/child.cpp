#include "child.h"

#include "refresher.h"

#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <utility>

namespace filler {

namespace {

// With 28 KB lost each time, as has been seen of one client library, some 30 MB.
constexpr unsigned int kMaxOrders = 1000;

// A terminal sends its signals to both: the supervisor takes them and ends this process.
void leaveSignalsToSupervisor()
{
    for (const int signal : {SIGHUP, SIGINT, SIGTERM}) {
        (void)std::signal(signal, SIG_IGN);
    }
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

} // namespace

bool Child::start(const std::string& cache, const Plan& plan)
{
    int ends[2] = {-1, -1};
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) {
        return false;
    }
    service::FileDescriptor ours(ends[0]);
    service::FileDescriptor its(ends[1]);
    const pid_t supervisor = getpid();
    mPid = fork();
    if (mPid == 0) {
        ours.reset();
        (void)prctl(PR_SET_PDEATHSIG, SIGKILL);
        (void)prctl(PR_SET_NAME, "cimgate-refresh");
        if (getppid() != supervisor) {
            _exit(EXIT_FAILURE);
        }
        leaveSignalsToSupervisor();
        runRefresher(std::move(its), cache, plan);
    }
    if (!isThere()) {
        return false;
    }
    mSocket = std::move(ours);
    mHasGreeted = false;
    mOrder.reset();
    mOrders = 0;
    mOrderedAt = std::chrono::steady_clock::now();
    return true;
}

void Child::end()
{
    if (isThere()) {
        (void)kill(mPid, SIGKILL);
        (void)awaitEnd();
    }
}

std::optional<Child::TimePoint> Child::owesSince() const
{
    return isThere() && !isIdle() ? std::optional(mOrderedAt) : std::nullopt;
}

bool Child::give(const Order& order, TimePoint now)
{
    mOrder = order;
    mOrderedAt = now;
    ++mOrders;
    return sendMessage(mSocket.get(), encode(order));
}

std::optional<std::string> Child::receive()
{
    return receiveMessage(mSocket.get());
}

Order Child::takeOrder()
{
    const Order order = mOrder.value_or(Order{});
    mOrder.reset();
    return order;
}

bool Child::isWorn() const
{
    return mOrders >= kMaxOrders;
}

std::string Child::awaitEnd()
{
    int status = 0;
    (void)waitpid(std::exchange(mPid, -1), &status, 0);
    mSocket.reset();
    if (WIFSIGNALED(status)) {
        const int signal = WTERMSIG(status);
        return "signal " + std::to_string(signal) + " (" + strsignal(signal) + ")";
    }
    return "status " + std::to_string(WEXITSTATUS(status));
}

} // namespace filler
