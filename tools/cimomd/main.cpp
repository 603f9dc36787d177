#include "described_behaviour.h"
#include "object_manager.h"
#include "options.h"
#include "repository.h"
#include "server.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace {

constexpr int kWrongOptions = 2;

int complain(const std::string& problem, int status)
{
    (void)std::fprintf(stderr, "cimgate-cimomd: %s\n", problem.c_str());
    return status;
}

} // namespace

int main(int argc, char** argv)
{
    cimomd::Options options;
    std::string problem;
    if (!cimomd::parseOptions({argv + 1, argv + argc}, options, problem)) {
        return complain(problem, kWrongOptions);
    }
    if (options.help) {
        (void)std::fputs(cimomd::helpText().c_str(), stdout);
        return EXIT_SUCCESS;
    }
    (void)std::signal(SIGPIPE, SIG_IGN);
    cimomd::Repository repository;
    cimomd::DescribedBehaviour methods;
    if (!repository.load(options.repositoryDirectory, problem) ||
        !methods.load(options.repositoryDirectory, repository, problem)) {
        return complain(problem, EXIT_FAILURE);
    }
    cimomd::ObjectManager manager(repository, methods, options.address);
    if (!cimomd::serve(manager, options, problem)) {
        return complain(problem, EXIT_FAILURE);
    }
    return EXIT_SUCCESS;
}
