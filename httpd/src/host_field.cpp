#include "httpd/host_field.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cctype>
#include <string>

namespace httpd {

namespace {

bool isHex(char c)
{
    return std::isxdigit(static_cast<unsigned char>(c)) != 0;
}

bool isDigits(std::string_view text)
{
    return std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// An unreserved character or a sub-delim.
bool isPlain(char c)
{
    return std::isalnum(static_cast<unsigned char>(c)) != 0 ||
           std::string_view("-._~!$&'()*+,;=").find(c) != std::string_view::npos;
}

// IPv4 addresses are names by their grammar.
bool isName(std::string_view text)
{
    while (!text.empty()) {
        if (text[0] == '%' && text.size() >= 3 && isHex(text[1]) && isHex(text[2])) {
            text.remove_prefix(3);
        } else if (isPlain(text[0])) {
            text.remove_prefix(1);
        } else {
            return false;
        }
    }
    return true;
}

// "v1.address", for addresses of kinds to come.
bool isFutureAddress(std::string_view text)
{
    const size_t dot = text.find('.');
    if (dot == std::string_view::npos || dot < 2 || dot + 1 == text.size() ||
        (text[0] != 'v' && text[0] != 'V')) {
        return false;
    }
    const std::string_view version = text.substr(1, dot - 1);
    const std::string_view address = text.substr(dot + 1);
    return std::all_of(version.begin(), version.end(), isHex) &&
           std::all_of(address.begin(), address.end(),
                       [](char c) { return c == ':' || isPlain(c); });
}

// What stands in brackets.
bool isBracketed(std::string_view text)
{
    in6_addr address{};
    return inet_pton(AF_INET6, std::string(text).c_str(), &address) == 1 || isFutureAddress(text);
}

} // namespace

std::optional<HostField> parseHostField(std::string_view value)
{
    const bool isLiteral = value.starts_with('[');
    const size_t end = isLiteral ? value.find(']') : std::min(value.find(':'), value.size());
    if (end == std::string_view::npos) {
        return std::nullopt;
    }
    const HostField field{value.substr(0, isLiteral ? end + 1 : end), {}};
    const std::string_view rest = value.substr(field.host.size());
    const bool isHost = isLiteral ? isBracketed(value.substr(1, end - 1)) : isName(field.host);
    const bool isPort =
        rest.empty() || (rest[0] == ':' && isDigits(rest.substr(1)) && !field.host.empty());
    if (!isHost || !isPort) {
        return std::nullopt;
    }
    return HostField{field.host, rest.empty() ? rest : rest.substr(1)};
}

} // namespace httpd
