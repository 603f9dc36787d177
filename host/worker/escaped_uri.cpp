#include "worker/escaped_uri.h"

namespace host {

namespace {

constexpr std::string_view kHexDigits = "0123456789ABCDEF";

bool isHexDigit(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

// Unreserved and reserved characters (RFC 3986, 2.2 and 2.3).
bool isUriCharacter(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
           std::string_view("-._~:/?#[]@!$&'()*+,;=").find(c) != std::string_view::npos;
}

bool isEscape(std::string_view text)
{
    return text.size() >= 3 && text[0] == '%' && isHexDigit(text[1]) && isHexDigit(text[2]);
}

} // namespace

std::string escapedUri(std::string_view text)
{
    std::string escaped;
    for (size_t i = 0; i < text.size(); ++i) {
        if (isUriCharacter(text[i]) || isEscape(text.substr(i))) {
            escaped += text[i];
            continue;
        }
        const auto byte = static_cast<unsigned char>(text[i]);
        escaped += '%';
        escaped += kHexDigits[byte >> 4U];
        escaped += kHexDigits[byte & 0xfU];
    }
    return escaped;
}

} // namespace host
