#include "options.h"

#include "host_limits.h"

#include <ResourceMapper.h>
#include <cli/listen.h>
#include <httpd/host_field.h>
#include <service/installed_data.h>
#include <sys/un.h>

#include <algorithm>
#include <iterator>
#include <thread>

namespace host {

namespace {

constexpr int kMaxLogLevel = 4;
constexpr size_t kMaxSocketPathBytes = sizeof(sockaddr_un::sun_path) - 1;

cli::Value oemEndpoint(std::string& target)
{
    const auto read = [&target](const std::string& value) -> std::string {
        constexpr std::string_view kScheme = "ipc://";
        const bool isIpcPath = value.starts_with("ipc:///");
        if (!isIpcPath || value.size() - kScheme.size() > kMaxSocketPathBytes) {
            return "give ipc:// and an absolute path of at most " +
                   std::to_string(kMaxSocketPathBytes) +
                   " bytes, for example ipc:///run/cimgate/oem.sock";
        }
        target = value;
        return "";
    };
    return {read, target};
}

cli::Reader userName(std::optional<User>& user)
{
    return [&user](const std::string& value) -> std::string {
        user = findUser(value);
        return user ? "" : "give the name of a user of this machine";
    };
}

std::string readAuth(const std::string& value)
{
    return value == "none" ? "" : "only \"none\" is supported";
}

cli::Reader hostName(std::vector<std::string>& names)
{
    return [&names](const std::string& value) -> std::string {
        const auto field = httpd::parseHostField(value);
        if (!field || field->host != value) {
            return "give a name without a port, for example bmc.example.net";
        }
        names.push_back(value);
        return "";
    };
}

void setDefaults(Options& options)
{
    options.rmfPath =
        service::installedData("resourcemapping.json").value_or(ResourceMapper::RmfPath);
    options.registryDirectory = service::installedData("registries").value_or("");
    options.cachePath = SQLInterface::DataCachePath;
    options.workers =
        std::clamp(std::thread::hardware_concurrency(), kMinDefaultWorkers, kMaxWorkers);
}

// Beside the option of the data cache, the other source of answers.
void addCimOptions(std::vector<cli::Option>& all, service::CimAccess& access)
{
    const auto cache = std::find_if(all.begin(), all.end(),
                                    [](const auto& option) { return option.name == "--cache"; });
    const auto more =
        service::cimOptions(access, "CIM object manager for classes that are not cached");
    all.insert(std::next(cache), more.begin(), more.end());
}

// Switches without a value.
std::vector<cli::Option> modes(Options& options)
{
    return {
        {"--verbatim", "",
         "answers of mapped resources as the library makes them, where that differs from "
         "Redfish",
         cli::flag(options.isVerbatim)},
        {"--check", "",
         "only tell what is wrong with mapping file, service file and data cache; exit "
         "status 0: nothing, 1: something",
         cli::flag(options.isCheck)},
    };
}

} // namespace

cli::Command commandLine(Options& options)
{
    setDefaults(options);
    cli::Command command = {
        .name = "cimgated",
        .summary =
            "Serves Redfish for the resources of a mapping file, from a data cache and from CIM.",
        .options =
            {
                cli::listen(options.address, options.port, "without authentication (--auth none)"),
                {"--rmf", "FILE", "mapping file", cli::text(options.rmfPath)},
                {"--service", "FILE", "service file: resources around those of the mapping file",
                 cli::text(options.servicePath), "none"},
                {"--cache", "FILE", "data cache, an SQLite file; read only",
                 cli::text(options.cachePath)},
                {"--registries", "DIR", "message registries", cli::text(options.registryDirectory),
                 "the installed ones"},
                {"--oem-endpoint", "ipc:///PATH", "message queue that hands out embedded data",
                 oemEndpoint(options.oemEndpoint), "none"},
                {"--access-log", "FILE", "a line for each request; - for standard output",
                 cli::text(options.accessLog), "none"},
                {"--user",
                 "NAME",
                 "the user whose rights it takes once it listens",
                 {userName(options.user)},
                 "whoever starts it"},
                {"--auth", "none", "no authentication; the only mode", {readAuth}},
                {"--workers", "N", "worker processes, 1 to 64",
                 cli::number(options.workers, 1, kMaxWorkers), "one for each core, at least 2"},
                {"--log-level", "N", "0 (least) to 4; logs go to standard error",
                 cli::number(options.logLevel, 0, kMaxLogLevel)},
                {"--host",
                 "NAME",
                 "a name that clients call it by, beside localhost and addresses; may be given "
                 "several times",
                 {hostName(options.hosts)},
                 "none"},
                {"--client-memory", "BYTES",
                 "what clients can make it hold: requests, and answers that they do not take",
                 cli::number(options.clientMemoryBytes, kMinClientMemoryBytes,
                             kMaxClientMemoryBytes)},
                {"--kept-answers", "BYTES",
                 "answers from the data cache that are given again while it is unchanged; 0 for "
                 "none",
                 cli::number(options.keptAnswersBytes, 0, kMaxKeptAnswersBytes)},
                {"--request-timeout", "SECONDS", "what a request may take, 1 to 3600",
                 cli::number(options.requestTimeoutS, 1, kMaxRequestTimeoutS)},
            },
        .notes = "Prints \"cimgated: listening on URL\" to standard output when it is ready and "
                 "stops on SIGTERM, SIGINT or SIGHUP. Exit status: 0 stopped, 1 could not start or "
                 "go on, 2 wrong options.",
    };
    const auto more = modes(options);
    command.options.insert(command.options.end(), more.begin(), more.end());
    addCimOptions(command.options, options.cim);
    return command;
}

} // namespace host
