// cimgated, with less time for clients to send their requests: tests of those that do not send them
// need not wait as long as a service in earnest does.
#include "options.h"
#include "service.h"

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
    cli::Command program = host::commandLine(options);
    program.run = [&options] {
        return host::runService(options, shortLimits());
    };
    return cli::run(program, {argv + 1, argv + argc});
}
