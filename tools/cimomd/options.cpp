#include "options.h"

#include <cli/listen.h>

namespace cimomd {

cli::Command commandLine(Options& options)
{
    return {
        .name = "cimgate-cimomd",
        .summary =
            "A CIM object manager for development: serves the classes and instances of a directory "
            "over CIM-XML and keeps changes in memory.",
        .options =
            {
                {"--repository", "DIR",
                 "directory of CIM-XML declaration files (*.xml), read in the order of their "
                 "names, "
                 "and of method descriptions (*.methods.json)",
                 cli::text(options.repositoryDirectory), "",
                 "it names the directory of the CIM-XML declarations"},
                cli::listen(options.address, options.port, "it asks nobody for a password, so"),
                {"--strict-types", "",
                 "refuse keys, parameters and properties that come with another type than the "
                 "declared one, instead of converting them",
                 cli::flag(options.hasStrictTypes)},
            },
        .notes = "Prints \"cimgate-cimomd: listening on URL\" to standard output when it is ready "
                 "and stops on SIGTERM or SIGINT. Exit status: 0 stopped, 1 could not start, 2 "
                 "wrong options.",
    };
}

} // namespace cimomd
