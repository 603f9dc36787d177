#include "methods.h"
#include "object_manager.h"
#include "options.h"
#include "repository.h"
#include "server.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace {

int complain(const std::string& problem)
{
    (void)std::fprintf(stderr, "cimgate-cimomd: %s\n", problem.c_str());
    return EXIT_FAILURE;
}

int serve(const cimomd::Options& options)
{
    (void)std::signal(SIGPIPE, SIG_IGN);
    std::string problem;
    cimomd::Repository repository;
    cimomd::Methods methods;
    if (!repository.load(options.repositoryDirectory, problem) ||
        !methods.load(options.repositoryDirectory, repository, problem)) {
        return complain(problem);
    }
    cimomd::ObjectManager manager(repository, methods, options.address, options.hasStrictTypes);
    return cimomd::serve(manager, options, problem) ? EXIT_SUCCESS : complain(problem);
}

} // namespace

int main(int argc, char** argv)
{
    cimomd::Options options;
    cli::Command program = cimomd::commandLine(options);
    program.run = [&options] {
        return serve(options);
    };
    return cli::run(program, {argv + 1, argv + argc});
}
