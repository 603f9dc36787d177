#include "options.h"

#include "cache_files.h"

#include <service/installed_data.h>

#include <algorithm>

namespace filler {

namespace {

constexpr int kMaxLogLevel = 4;
constexpr unsigned int kMaxSeconds = 86400;
// Where the library looks for it.
constexpr const char* kDefaultMapping = "/usr/share/cimgate/resourcemapping.json";

} // namespace

cli::Command commandLine(Options& options)
{
    options.rmfPath = service::installedData("resourcemapping.json").value_or(kDefaultMapping);
    options.cachePath = kDefaultCache;
    cli::Command command = {
        .name = "cimgate-cached",
        .summary = "Keeps the data cache that cimgated reads: what the object manager knows of the "
                   "classes that the mapping file caches.",
        .options =
            {
                {"--rmf", "FILE", "mapping file", cli::text(options.rmfPath)},
                {"--cache", "FILE", "data cache, an SQLite file; made where there is none",
                 cli::text(options.cachePath)},
                {"--interval", "SECONDS",
                 "time between two refreshes of a class, 1 to 86400, unless the mapping has a "
                 "\"refresh_interval\" for it",
                 cli::number(options.intervalS, 1, kMaxSeconds)},
                {"--refresh-timeout", "SECONDS", "what a refresh of one class may take, 1 to 86400",
                 cli::number(options.refreshTimeoutS, 1, kMaxSeconds)},
                {"--once", "", "fill, tell what was done, and end", cli::flag(options.isOnce)},
                {"--compact", "",
                 "with --once: first remove tables and columns that the mapping does not want any "
                 "more; no service may have the file open",
                 cli::flag(options.isCompact)},
                {"--log-level", "N", "0 (errors) to 4; logs go to standard error",
                 cli::number(options.logLevel, 0, kMaxLogLevel)},
            },
        .notes = "SIGHUP reads the mapping file anew and refreshes all; SIGTERM and SIGINT stop. "
                 "FILE.status tells how each class stands (cimgate cache). Exit status: 0 stopped, "
                 "or all filled; 1 could not start, or with --once a class failed; 2 wrong "
                 "options.",
    };
    const auto cim = service::cimOptions(options.cim, "CIM object manager that is asked");
    command.options.insert(command.options.begin() + 2, cim.begin(), cim.end());
    return command;
}

} // namespace filler
