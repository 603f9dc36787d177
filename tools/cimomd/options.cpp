#include "options.h"

#include <httpd/listen_address.h>

namespace cimomd {

namespace {

bool readListen(const std::string& text, Options& options, std::string& problem)
{
    if (!httpd::readListenAddress(text, options.address, options.port)) {
        problem = "--listen " + text +
                  ": give a numeric address and a port, for example 127.0.0.1:5988 or [::1]:5988";
        return false;
    }
    if (!httpd::isLoopback(options.address)) {
        problem = "--listen " + text +
                  ": it asks nobody for a password, so only loopback addresses are served; give "
                  "127.0.0.1:PORT or [::1]:PORT";
        return false;
    }
    return true;
}

bool readOption(const std::string& name, const std::string& value, Options& options,
                std::string& problem)
{
    if (name != "--listen" && name != "--repository") {
        problem = "unknown option " + name + "; cimgate-cimomd --help lists them";
        return false;
    }
    if (value.empty()) {
        problem = name + " needs a value; cimgate-cimomd --help lists the options";
        return false;
    }
    if (name == "--listen") {
        return readListen(value, options, problem);
    }
    options.repositoryDirectory = value;
    return true;
}

} // namespace

std::string helpText()
{
    return "usage: cimgate-cimomd --repository DIR [--listen ADDRESS:PORT]\n"
           "A CIM object manager for development: serves the classes and instances of a directory\n"
           "over CIM-XML and keeps changes in memory.\n"
           "\n"
           "  --repository DIR        directory of CIM-XML declaration files (*.xml), read in the\n"
           "                          order of their names, and of method descriptions\n"
           "                          (*.methods.json)\n"
           "  --listen ADDRESS:PORT   address to serve, loopback only; port 0 picks a free one\n"
           "                          (default 127.0.0.1:5988)\n"
           "  --help                  this text\n"
           "\n"
           "Prints \"cimgate-cimomd: listening on URL\" to standard output when it is ready and "
           "stops on\n"
           "SIGTERM or SIGINT. Exit status: 0 stopped, 1 could not start, 2 wrong options.\n";
}

bool parseOptions(const std::vector<std::string>& arguments, Options& options, std::string& problem)
{
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
        } else if (i + 1 < arguments.size()) {
            value = arguments[++i];
        }
        if (!readOption(name, value, options, problem)) {
            return false;
        }
    }
    if (options.repositoryDirectory.empty()) {
        problem = "--repository is missing; it names the directory of the CIM-XML declarations";
        return false;
    }
    return true;
}

} // namespace cimomd
