// The command line of cimgate-cached.
#ifndef FILLER_OPTIONS_H_
#define FILLER_OPTIONS_H_

#include <cli/command_line.h>
#include <service/cim_access.h>

#include <string>

namespace filler {

struct Options
{
    std::string rmfPath;   // mapping file
    std::string cachePath; // data cache
    service::CimAccess cim;
    unsigned int intervalS = 60;        // between two refreshes of a class, unless the mapping says
    unsigned int refreshTimeoutS = 300; // what a refresh of one class may take
    bool isOnce = false;
    bool isCompact = false;
    int logLevel = 1; // 0 to 4
};

cli::Command commandLine(Options& options);

} // namespace filler

#endif
