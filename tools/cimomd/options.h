// The command line of cimgate-cimomd.
#ifndef CIMOMD_OPTIONS_H_
#define CIMOMD_OPTIONS_H_

#include <cstdint>
#include <string>
#include <vector>

namespace cimomd {

struct Options
{
    std::string address = "127.0.0.1"; // numeric
    uint16_t port = 5988;              // 0 picks a free one
    std::string repositoryDirectory;
    bool help = false;
};

// What --help prints.
std::string helpText();

// Reads the arguments (without the program's name) into options, which start from their defaults.
// Returns false with what is wrong, and what to do about it, in problem.
bool parseOptions(const std::vector<std::string>& arguments, Options& options,
                  std::string& problem);

} // namespace cimomd

#endif
