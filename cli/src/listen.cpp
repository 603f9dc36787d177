#include <cli/listen.h>
#include <httpd/listen_address.h>

namespace cli {

Option listen(std::string& address, uint16_t& port, const std::string& reason)
{
    const std::string initialPort = std::to_string(port);
    const auto read = [&address, &port, reason, initialPort](const std::string& value) {
        if (!httpd::readListenAddress(value, address, port)) {
            return "give a numeric address and a port, for example 127.0.0.1:" + initialPort +
                   " or [::1]:" + initialPort;
        }
        if (!httpd::isLoopback(address)) {
            return reason +
                   " only loopback addresses are served; give 127.0.0.1:PORT or [::1]:PORT";
        }
        return std::string();
    };
    return {"--listen",
            "ADDRESS:PORT",
            "address to serve, loopback only; port 0 picks a free one",
            {read, address + ":" + initialPort}};
}

} // namespace cli
