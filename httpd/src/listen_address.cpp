#include <arpa/inet.h>
#include <httpd/listen_address.h>

#include <charconv>
#include <system_error>

namespace httpd {

namespace {

bool readPort(const std::string& text, uint16_t& port)
{
    const char* const end = text.data() + text.size();
    const auto [parsed, error] = std::from_chars(text.data(), end, port);
    return error == std::errc() && parsed == end;
}

} // namespace

bool readListenAddress(const std::string& text, std::string& address, uint16_t& port)
{
    const size_t colon = text.rfind(':');
    if (colon == std::string::npos || !readPort(text.substr(colon + 1), port)) {
        return false;
    }
    address = text.substr(0, colon);
    in_addr v4{};
    in6_addr v6{};
    if (address.starts_with('[') && address.ends_with(']')) {
        address = address.substr(1, address.size() - 2);
        return inet_pton(AF_INET6, address.c_str(), &v6) == 1;
    }
    return inet_pton(AF_INET, address.c_str(), &v4) == 1;
}

bool isLoopback(const std::string& address)
{
    in6_addr v6{};
    if (inet_pton(AF_INET6, address.c_str(), &v6) == 1) {
        return IN6_IS_ADDR_LOOPBACK(&v6) != 0;
    }
    in_addr v4{};
    constexpr uint32_t kLoopbackNet = 127;
    return inet_pton(AF_INET, address.c_str(), &v4) == 1 && ntohl(v4.s_addr) >> 24 == kLoopbackNet;
}

std::string urlOf(const std::string& address, uint16_t port)
{
    const bool isV6 = address.find(':') != std::string::npos;
    return "http://" + (isV6 ? "[" + address + "]" : address) + ":" + std::to_string(port);
}

} // namespace httpd
