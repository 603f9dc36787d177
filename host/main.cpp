#include "front/front.h"
#include "options.h"
#include "spawner/spawner.h"
#include "worker/cim_session.h"

#include <ExtendedErrorInfoHandling.h>
#include <ResourceMapper.h>
#include <vexodlog.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace {

constexpr int kWrongOptions = 2;

int complain(const std::string& problem, int status)
{
    (void)std::fprintf(stderr, "cimgated: %s\n", problem.c_str());
    return status;
}

void applyOptions(const host::Options& options)
{
    vexoSetThreshold(options.logLevel + 1);
    ResourceMapper::RmfPath = options.rmfPath;
    SQLInterface::DataCachePath = options.cachePath;
    if (!options.registryDirectory.empty()) {
        ExtendedErrorInfoHandling::SetRegistryDirectory(options.registryDirectory);
    }
}

} // namespace

int main(int argc, char** argv)
{
    host::Options options;
    std::string problem;
    if (!host::parseOptions({argv + 1, argv + argc}, options, problem)) {
        return complain(problem, kWrongOptions);
    }
    if (options.help) {
        (void)std::fputs(host::helpText().c_str(), stdout);
        return EXIT_SUCCESS;
    }
    applyOptions(options);
    if (!options.cimUrl.empty() && !host::directCimTo(options.cimUrl, problem)) {
        return complain(problem, kWrongOptions);
    }
    (void)std::signal(SIGPIPE, SIG_IGN);
    if (!ExtendedErrorInfoHandling::LoadRegistries(problem)) {
        return complain(problem +
                            "; name the directory of the message registries with --registries",
                        EXIT_FAILURE);
    }
    host::Spawner spawner;
    if (!host::startSpawner(spawner, problem)) {
        host::awaitSpawner(spawner);
        return complain(problem, EXIT_FAILURE);
    }
    const int status = host::runFront(options, spawner);
    host::awaitSpawner(spawner);
    return status;
}
