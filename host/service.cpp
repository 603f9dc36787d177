#include "service.h"

#include "check/at_start.h"
#include "front/front.h"
#include "log_filter.h"
#include "process_name.h"
#include "spawner/spawner.h"
#include "tell.h"
#include "worker/data_cache.h"

#include <ExtendedErrorInfoHandling.h>
#include <ResourceMapper.h>
#include <service/cim_access.h>

#include <csignal>
#include <cstdlib>

namespace host {

namespace {

int complain(const std::string& problem, int status)
{
    tellLastWords(problem);
    return status;
}

// None of them has a meaning but SIGUSR1, which the front reads; by default they end a process.
void ignoreSignals()
{
    for (const int signal : {SIGPIPE, SIGUSR1, SIGUSR2, SIGQUIT, SIGALRM}) {
        (void)std::signal(signal, SIG_IGN);
    }
}

void applyOptions(const Options& options)
{
    startLog(options.logLevel);
    ResourceMapper::RmfPath = options.rmfPath;
    SQLInterface::DataCachePath = options.cachePath;
    if (!options.registryDirectory.empty()) {
        ExtendedErrorInfoHandling::SetRegistryDirectory(options.registryDirectory);
    }
}

// A data cache that is not there yet comes with its writer, which may start later. One that cannot
// be opened is the operator's to mend; what one lacks costs only those who read it.
bool canOpenCache(const MappingSummary& mapping, std::string& problem)
{
    const std::string& path = SQLInterface::DataCachePath;
    const std::string cause = mapping.usesCache ? problemOfCacheFile(path) : "";
    if (cause.empty() || cause == kCacheIsMissing) {
        return true;
    }
    problem = "cannot open the data cache " + path + ": " + cause +
              "; mend it or name another file with --cache";
    return false;
}

} // namespace

int runService(const Options& options, const httpd::Limits& limits)
{
    std::string problem;
    ignoreSignals();
    nameProcess(ProcessKind::Front);
    // Before the log starts, whose lines have their time: a wrong option is told like any other.
    if (!service::prepareCim(options.cim, problem)) {
        return complain(problem, cli::kWrongUsage);
    }
    applyOptions(options);
    if (!ExtendedErrorInfoHandling::LoadRegistries(problem)) {
        return complain(problem +
                            "; name the directory of the message registries with --registries",
                        EXIT_FAILURE);
    }
    // Beside the spawner's load, and before the front, whose log lines tell less.
    const pid_t check = check::startCheck(options);
    Spawner spawner;
    bool isStarted = startSpawner(spawner, problem, options.user);
    check::awaitCheck(check);
    isStarted = isStarted && canOpenCache(spawner.mapping, problem);
    const int status =
        isStarted ? runFront(options, spawner, limits) : complain(problem, EXIT_FAILURE);
    awaitSpawner(spawner);
    tellAllRepeats(); // of its processes too
    return status;
}

} // namespace host
