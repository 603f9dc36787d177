#include "check/at_start.h"

#include "check/check.h"
#include "host_limits.h"
#include "log.h"
#include "log_filter.h"
#include "process_limits.h"
#include "process_name.h"

#include <ResourceMapper.h>
#include <poll.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <string>

namespace host::check {

namespace {

// A cache that cannot be read is told by the workers, who tell too when it can be again.
void logFaults(Report report, const std::string& cachePath)
{
    std::erase_if(report.faults, [&](const Fault& fault) { return fault.file == cachePath; });
    const size_t told = std::min(report.faults.size(), kMaxFaultsTold);
    for (size_t i = 0; i < told; ++i) {
        log(Severity::Error, logLine(report.faults[i]));
    }
    if (report.faults.size() > told) {
        log(Severity::Error, "and " + std::to_string(report.faults.size() - told) +
                                 " more: cimgated --check tells all");
    }
}

// For the signal's handler.
int longCheck = -1; // NOLINT(cppcoreguidelines-avoid-non-const-global-variables)

void stepBack(int /*signal*/)
{
    const int interrupted = errno;
    (void)!write(longCheck, "", 1);
    (void)!nice(kCheckNiceness);
    errno = interrupted;
}

// In processor time: however busy the machine is, the check of a small mapping is waited for.
void stepBackLater(int takesLonger)
{
    longCheck = takesLonger;
    (void)std::signal(SIGPROF, stepBack);
    const itimerval timer{{}, {0, std::chrono::microseconds(kCheckHeadStart).count()}};
    (void)setitimer(ITIMER_PROF, &timer, nullptr);
}

} // namespace

void runAtStart(int takesLonger, const std::string& servicePath, const Json::Value& serviceFile)
{
    nameProcess(ProcessKind::Check);
    limitResources();
    stepBackLater(takesLonger);
    (void)std::signal(SIGALRM, SIG_DFL);
    (void)alarm(kMaxCheckS);
    const std::string& cachePath = SQLInterface::DataCachePath;
    Report report =
        checkMapping(ResourceMapper::RmfObj, ResourceMapper::RmfPath, cachePath, Depth::Tables);
    if (!servicePath.empty()) {
        addFaults(report, checkServiceFile(serviceFile, servicePath, ResourceMapper::RmfObj));
    }
    logFaults(std::move(report), cachePath);
    tellAllRepeats();
    _exit(EXIT_SUCCESS);
}

void awaitCheck(int checked)
{
    pollfd wait{checked, POLLIN, 0};
    (void)poll(&wait, 1, static_cast<int>(kMaxCheckWait.count()));
}

} // namespace host::check
