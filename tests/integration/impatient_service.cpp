// cimgated, with less time for clients to send their requests: tests of those that do not send them
// need not wait as long as a service in earnest does.
#include "options.h"
#include "service.h"

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

} // namespace

int main(int argc, char** argv)
{
    host::Options options;
    std::string problem;
    if (!host::parseOptions({argv + 1, argv + argc}, options, problem)) {
        (void)std::fprintf(stderr, "%s\n", problem.c_str());
        return EXIT_FAILURE;
    }
    return host::runService(options, shortLimits());
}
