// The command line of cimgate-cimomd.
#ifndef CIMOMD_OPTIONS_H_
#define CIMOMD_OPTIONS_H_

#include <cli/command_line.h>

#include <cstdint>
#include <string>

namespace cimomd {

struct Options
{
    std::string address = "127.0.0.1"; // numeric
    uint16_t port = 5988;              // 0 picks a free one
    std::string repositoryDirectory;
    bool hasStrictTypes = false;
};

// What cimgate-cimomd takes; reading the command line changes the options.
cli::Command commandLine(Options& options);

} // namespace cimomd

#endif
