// Writes the measured system into a directory, for the service:  write_bench_system DIRECTORY
//
// Prints the paths of the instance and the page that are measured.
#include "bench_system.h"

#include <cstdio>
#include <cstdlib>
#include <exception>

int main(int argc, char** argv)
{
    constexpr unsigned int kResourcePairs = 12; // as many as in the mapping of the sample system
    if (argc != 2) {
        (void)std::fprintf(stderr, "usage: %s DIRECTORY\n", argv[0]);
        return 2;
    }
    try {
        bench::writeSystem(argv[1], kResourcePairs);
    } catch (const std::exception& error) {
        (void)std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
        return EXIT_FAILURE;
    }
    (void)std::printf("%s\n%s\n", bench::kInstanceUrl, bench::kPageUrl);
    return EXIT_SUCCESS;
}
