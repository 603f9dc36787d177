#include "check/at_start.h"

#include "check/check.h"
#include "host_limits.h"
#include "log.h"
#include "log_filter.h"
#include "process_limits.h"
#include "process_rights.h"

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <string>

namespace host::check {

namespace {

// A mapping that cannot be used is told by who cannot use it; a cache that cannot be read by the
// workers, who tell too when it can be again.
void logFaults(Report report, const std::string& cachePath)
{
    if (!report.isMappingUsable) {
        return;
    }
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

[[noreturn]] void runAtStart(const Options& options)
{
    (void)prctl(PR_SET_NAME, "cimgated-check");
    limitResources();
    (void)std::signal(SIGALRM, SIG_DFL);
    (void)alarm(kMaxCheckS);
    logFaults(checkFiles(options.rmfPath, options.cachePath, Depth::Tables), options.cachePath);
    tellAllRepeats();
    _exit(EXIT_SUCCESS);
}

} // namespace

pid_t startCheck(const Options& options)
{
    const pid_t parent = getpid();
    const pid_t check = fork();
    if (check == 0) {
        std::string problem;
        if (!giveUpRights(options.user, problem)) {
            _exit(EXIT_SUCCESS); // the spawner cannot either, and says so
        }
        (void)prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() != parent) {
            _exit(EXIT_FAILURE);
        }
        runAtStart(options);
    }
    return check;
}

void awaitCheck(pid_t check)
{
    int status = 0;
    if (check > 0 && waitpid(check, &status, 0) == check && WIFSIGNALED(status)) {
        log(Severity::Error,
            WTERMSIG(status) == SIGALRM
                ? std::string("mapping and data cache were not checked: it took too long")
                : "mapping and data cache were not checked: the check ended by signal " +
                      std::to_string(WTERMSIG(status)));
    }
}

} // namespace host::check
