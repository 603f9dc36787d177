#include "service.h"

#include "check/at_start.h"
#include "cim_access.h"
#include "front/front.h"
#include "log_filter.h"
#include "spawner/spawner.h"
#include "tell.h"
#include "worker/data_cache.h"

#include <ExtendedErrorInfoHandling.h>
#include <ResourceMapper.h>

#include <csignal>
#include <cstdlib>

namespace host {

namespace {

int complain(const std::string& problem, int status)
{
    tellLastWords(problem);
    return status;
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
    // Before the log starts, whose lines have their time: a wrong option is told like any other.
    if (!prepareCim(options.cim, problem)) {
        return complain(problem, cli::kWrongUsage);
    }
    applyOptions(options);
    (void)std::signal(SIGPIPE, SIG_IGN);
    if (!ExtendedErrorInfoHandling::LoadRegistries(problem)) {
        return complain(problem +
                            "; name the directory of the message registries with --registries",
                        EXIT_FAILURE);
    }
    // Beside the spawner's load, and before the front, whose log lines tell less.
    const pid_t check = check::startCheck(options);
    Spawner spawner;
    bool isStarted = startSpawner(spawner, problem);
    check::awaitCheck(check);
    isStarted = isStarted && canOpenCache(spawner.mapping, problem);
    const int status =
        isStarted ? runFront(options, spawner, limits) : complain(problem, EXIT_FAILURE);
    awaitSpawner(spawner);
    return status;
}

} // namespace host
