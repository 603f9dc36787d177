// cimgated, with less time for clients to send their requests: tests of those that do not send them
// need not wait as long as a service in earnest does.
#include "front/front.h"
#include "options.h"
#include "spawner/spawner.h"

#include <ExtendedErrorInfoHandling.h>
#include <ResourceMapper.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace {

httpd::Limits shortLimits()
{
    httpd::Limits limits;
    limits.headerTimeout = std::chrono::seconds(1);
    limits.bodyTimeout = std::chrono::seconds(2);
    return limits;
}

bool prepare(const host::Options& options, host::Spawner& spawner, std::string& problem)
{
    ResourceMapper::RmfPath = options.rmfPath;
    SQLInterface::DataCachePath = options.cachePath;
    ExtendedErrorInfoHandling::SetRegistryDirectory(options.registryDirectory);
    return ExtendedErrorInfoHandling::LoadRegistries(problem) &&
           host::startSpawner(spawner, problem);
}

} // namespace

int main(int argc, char** argv)
{
    host::Options options;
    host::Spawner spawner;
    std::string problem;
    (void)std::signal(SIGPIPE, SIG_IGN);
    int status = EXIT_FAILURE;
    if (host::parseOptions({argv + 1, argv + argc}, options, problem) &&
        prepare(options, spawner, problem)) {
        status = host::runFront(options, spawner, shortLimits());
    } else {
        (void)std::fprintf(stderr, "%s\n", problem.c_str());
    }
    host::awaitSpawner(spawner);
    return status;
}
