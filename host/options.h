// The command line of cimgated.
#ifndef HOST_OPTIONS_H_
#define HOST_OPTIONS_H_

#include "host_limits.h"
#include "process_rights.h"

#include <cli/command_line.h>
#include <service/cim_access.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace host {

struct Options
{
    std::string address = "127.0.0.1"; // numeric
    uint16_t port = 8000;              // 0 picks a free one
    std::string rmfPath;               // mapping file
    std::string servicePath;           // service file; empty for none
    std::string cachePath;             // data cache
    service::CimAccess cim;            // CIM object manager
    std::string registryDirectory;     // message registries; empty for the installed ones
    std::string oemEndpoint;           // "ipc:///PATH" of the message queue; empty for none
    std::string accessLog;    // file of the access log, "-" for standard output; empty for none
    std::optional<User> user; // whom the processes become
    unsigned int workers = 0; // worker processes
    int logLevel = 1;         // 0 to 4, as LogMessage.h describes them
    unsigned int requestTimeoutS = 30;
    bool isVerbatim = false;        // workers leave answers as the library makes them
    bool isCheck = false;           // look at mapping file and data cache, and serve nothing
    std::vector<std::string> hosts; // names that it goes by, beside its addresses
    size_t clientMemoryBytes = 32UL * 1024UL * 1024; // what clients can make the front hold
    size_t keptAnswersBytes = kKeptAnswersBytes;     // 0: no answer is kept
};

// What cimgated takes. Gives the options their defaults; reading the command line changes them.
cli::Command commandLine(Options& options);

} // namespace host

#endif
