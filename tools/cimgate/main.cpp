// cimgate: the command line of who develops and operates.
#include "oem.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

constexpr const char* kUsage = "usage: cimgate COMMAND [ARGUMENT]...\n"
                               "\n"
                               "  oem     asks a running cimgated for the data that a container "
                               "embeds\n"
                               "\n"
                               "cimgate COMMAND --help tells more of each.\n";

} // namespace

int main(int argc, char** argv)
{
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    const std::string command = arguments.empty() ? "" : arguments.front();
    if (command == "--help") {
        (void)std::fputs(kUsage, stdout);
        return EXIT_SUCCESS;
    }
    if (command == "oem") {
        return oem::run({arguments.begin() + 1, arguments.end()});
    }
    (void)std::fputs(kUsage, stderr);
    return oem::kWrongUsage;
}
