#include "service.h"

#include "front/front.h"
#include "log_filter.h"
#include "native/registry_files.h"
#include "native/service_uuid.h"
#include "process_name.h"
#include "spawner/spawner.h"
#include "tell.h"

#include <ExtendedErrorInfoHandling.h>
#include <ResourceMapper.h>
#include <service/cim_access.h>

#include <csignal>
#include <cstdlib>

namespace host {

namespace {

// Where the message registries are unless another place is named.
constexpr const char* kRegistryDirectory = "/usr/share/cimgate/registries";

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

// What only who starts the service may be allowed to read is read before it gives up its rights.
native::Service about(const Options& options)
{
    const std::string& directory = options.registryDirectory;
    return {native::uuidOfThisMachine(),
            native::readRegistryFiles(directory.empty() ? kRegistryDirectory : directory),
            options.servicePath};
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
    Spawner spawner;
    const int status =
        startSpawner(spawner, problem, options.user, about(options), options.isVerbatim)
            ? runFront(options, spawner, limits)
            : complain(problem, EXIT_FAILURE);
    awaitSpawner(spawner);
    tellAllRepeats(); // of its processes too
    return status;
}

} // namespace host
