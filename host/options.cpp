#include "options.h"

#include "host_limits.h"

#include <ResourceMapper.h>
#include <httpd/listen_address.h>
#include <sys/un.h>

#include <algorithm>
#include <charconv>
#include <iterator>
#include <thread>

namespace host {

namespace {

constexpr unsigned int kMaxLogLevel = 4;
constexpr size_t kMaxSocketPathBytes = sizeof(sockaddr_un::sun_path) - 1;

bool readNumber(const std::string& text, unsigned int low, unsigned int high, unsigned int& value)
{
    const char* const end = text.data() + text.size();
    const auto [parsed, error] = std::from_chars(text.data(), end, value);
    return error == std::errc() && parsed == end && value >= low && value <= high;
}

bool readListen(const std::string& text, Options& options, std::string& problem)
{
    if (!httpd::readListenAddress(text, options.address, options.port)) {
        problem = "--listen " + text +
                  ": give a numeric address and a port, for example 127.0.0.1:8000 or [::1]:8000";
        return false;
    }
    if (!httpd::isLoopback(options.address)) {
        problem = "--listen " + text +
                  ": without authentication (--auth none) only loopback addresses are served; "
                  "give 127.0.0.1:PORT or [::1]:PORT";
        return false;
    }
    return true;
}

bool readOemEndpoint(const std::string& text, Options& options, std::string& problem)
{
    constexpr std::string_view kScheme = "ipc://";
    const bool isIpcPath = text.starts_with("ipc:///");
    if (!isIpcPath || text.size() - kScheme.size() > kMaxSocketPathBytes) {
        problem = "--oem-endpoint " + text + ": give ipc:// and an absolute path of at most " +
                  std::to_string(kMaxSocketPathBytes) +
                  " bytes, for example ipc:///run/cimgate/oem.sock";
        return false;
    }
    options.oemEndpoint = text;
    return true;
}

bool readAuth(const std::string& text, Options& /*options*/, std::string& problem)
{
    if (text == "none") {
        return true;
    }
    problem = "--auth " + text + ": only \"none\" is supported";
    return false;
}

bool readRange(const std::string& name, const std::string& text, unsigned int low,
               unsigned int high, unsigned int& value, std::string& problem)
{
    if (readNumber(text, low, high, value)) {
        return true;
    }
    problem = name + " " + text + ": give a number from " + std::to_string(low) + " to " +
              std::to_string(high);
    return false;
}

bool readWorkers(const std::string& text, Options& options, std::string& problem)
{
    return readRange("--workers", text, 1, kMaxWorkers, options.workers, problem);
}

bool readRequestTimeout(const std::string& text, Options& options, std::string& problem)
{
    return readRange("--request-timeout", text, 1, kMaxRequestTimeoutS, options.requestTimeoutS,
                     problem);
}

bool readLogLevel(const std::string& text, Options& options, std::string& problem)
{
    unsigned int level = 0;
    const bool isLevel = readRange("--log-level", text, 0, kMaxLogLevel, level, problem);
    options.logLevel = static_cast<int>(level);
    return isLevel;
}

// An option and where its value goes: a member as it is, or a function that checks it.
struct OptionEntry
{
    const char* name;
    std::string Options::*text;
    bool (*read)(const std::string& text, Options& options, std::string& problem);
};

constexpr OptionEntry kEntries[] = {
    {"--listen", nullptr, readListen},
    {"--rmf", &Options::rmfPath, nullptr},
    {"--cache", &Options::cachePath, nullptr},
    {"--cim", &Options::cimUrl, nullptr},
    {"--registries", &Options::registryDirectory, nullptr},
    {"--oem-endpoint", nullptr, readOemEndpoint},
    {"--auth", nullptr, readAuth},
    {"--workers", nullptr, readWorkers},
    {"--log-level", nullptr, readLogLevel},
    {"--request-timeout", nullptr, readRequestTimeout},
};

const OptionEntry* findEntry(const std::string& name)
{
    const auto* const found =
        std::find_if(std::begin(kEntries), std::end(kEntries),
                     [&name](const OptionEntry& entry) { return name == entry.name; });
    return found == std::end(kEntries) ? nullptr : found;
}

bool readOption(const OptionEntry& entry, const std::string& value, Options& options,
                std::string& problem)
{
    if (value.empty()) {
        problem = entry.name + std::string(" needs a value; cimgated --help lists the options");
        return false;
    }
    if (entry.text != nullptr) {
        options.*entry.text = value;
        return true;
    }
    return entry.read(value, options, problem);
}

} // namespace

std::string helpText()
{
    return "usage: cimgated [OPTION]...\n"
           "Serves Redfish for the resources of a mapping file, from a data cache and from CIM.\n"
           "\n"
           "  --listen ADDRESS:PORT   address to serve, loopback only; port 0 picks a free one\n"
           "                          (default 127.0.0.1:8000)\n"
           "  --rmf FILE              mapping file\n"
           "                          (default " +
           ResourceMapper::RmfPath +
           ")\n"
           "  --cache FILE            data cache, an SQLite file; read only\n"
           "                          (default " +
           SQLInterface::DataCachePath +
           ")\n"
           "  --cim URL               CIM object manager for classes that are not cached\n"
           "                          (default: the local one, http://127.0.0.1:5988)\n"
           "  --registries DIR        message registries (default: the installed ones)\n"
           "  --oem-endpoint ipc:///PATH\n"
           "                          message queue that hands out OEM data (default: none)\n"
           "  --auth none             no authentication; the only mode\n"
           "  --workers N             worker processes, 1 to 64 (default: one for each core, at "
           "least 2)\n"
           "  --log-level N           0 (least) to 4; logs go to standard error (default 1)\n"
           "  --request-timeout S     seconds a request may take, 1 to 3600 (default 30)\n"
           "  --help                  this text\n"
           "\n"
           "Prints \"cimgated: listening on URL\" to standard output when it is ready and stops on "
           "SIGTERM,\n"
           "SIGINT or SIGHUP. Exit status: 0 stopped, 1 could not start or go on, 2 wrong "
           "options.\n";
}

bool parseOptions(const std::vector<std::string>& arguments, Options& options, std::string& problem)
{
    options.rmfPath = ResourceMapper::RmfPath;
    options.cachePath = SQLInterface::DataCachePath;
    options.workers =
        std::clamp(std::thread::hardware_concurrency(), kMinDefaultWorkers, kMaxWorkers);
    for (size_t i = 0; i < arguments.size(); ++i) {
        std::string name = arguments[i];
        if (name == "--help") {
            options.help = true;
            return true;
        }
        std::string value;
        const size_t equals = name.find('=');
        if (equals != std::string::npos) {
            value = name.substr(equals + 1);
            name.erase(equals);
        }
        const OptionEntry* const entry = findEntry(name);
        if (entry == nullptr) {
            problem = "unknown option " + name + "; cimgated --help lists them";
            return false;
        }
        if (equals == std::string::npos && i + 1 < arguments.size()) {
            value = arguments[++i];
        }
        if (!readOption(*entry, value, options, problem)) {
            return false;
        }
    }
    return true;
}

} // namespace host
