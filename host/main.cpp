#include "options.h"
#include "service.h"

#include <cstdio>
#include <cstdlib>

namespace {

constexpr int kWrongOptions = 2;

} // namespace

int main(int argc, char** argv)
{
    host::Options options;
    std::string problem;
    if (!host::parseOptions({argv + 1, argv + argc}, options, problem)) {
        (void)std::fprintf(stderr, "cimgated: %s\n", problem.c_str());
        return kWrongOptions;
    }
    if (options.help) {
        (void)std::fputs(host::helpText().c_str(), stdout);
        return EXIT_SUCCESS;
    }
    return host::runService(options);
}
