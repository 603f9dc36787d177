#include "request_head.h"

#include <strings.h>

#include <algorithm>

namespace httpd {

namespace {

bool equalsIgnoringCase(std::string_view a, std::string_view b)
{
    return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
}

size_t countHeaders(const std::vector<Header>& headers, std::string_view name)
{
    return static_cast<size_t>(
        std::count_if(headers.begin(), headers.end(), [name](const Header& header) {
            return equalsIgnoringCase(header.name, name);
        }));
}

std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view kBlanks = " \t";
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

// RFC 9112, sections 6.1 and 6.3: a body whose last coding is not "chunked" has no end that can be
// known, and HTTP/1.0 knows no codings at all. Other codings below "chunked" are legal, but not
// implemented here.
unsigned int refusalOfCoding(std::string_view coding, unsigned int version)
{
    constexpr std::string_view kChunked = "chunked";
    if (version < 11) {
        return kBadRequest;
    }
    if (equalsIgnoringCase(coding, kChunked)) {
        return 0;
    }
    bool isLast = true;
    bool isLegal = true;
    while (!coding.empty()) {
        const size_t comma = coding.rfind(',');
        const size_t begin = comma == std::string_view::npos ? 0 : comma + 1;
        const bool isChunked = equalsIgnoringCase(trimmed(coding.substr(begin)), kChunked);
        isLegal = isLegal && isChunked == isLast;
        isLast = false;
        coding = coding.substr(0, begin == 0 ? 0 : comma);
    }
    return isLegal && !isLast ? kNotImplemented : kBadRequest;
}

} // namespace

unsigned int refusalOf(const Request& request, unsigned int version, size_t headBytes,
                       const Limits& limits)
{
    if (requestLineBytes(request.method, request.target) > limits.requestLineBytes) {
        return kUriTooLong;
    }
    if (headBytes > limits.headerBytes || request.headers.size() > limits.headerCount) {
        return kRequestHeaderFieldsTooLarge;
    }
    // RFC 9112, section 3.2: exactly one Host field, from clients that speak HTTP/1.1.
    if (version >= 11 && countHeaders(request.headers, "Host") != 1) {
        return kBadRequest;
    }
    constexpr std::string_view kTransferEncoding = "Transfer-Encoding";
    const size_t codings = countHeaders(request.headers, kTransferEncoding);
    if (codings > 1) {
        return kBadRequest;
    }
    return codings == 0 ? 0
                        : refusalOfCoding(findHeader(request.headers, kTransferEncoding), version);
}

size_t requestLineBytes(std::string_view method, std::string_view target)
{
    constexpr std::string_view kRest = "  HTTP/1.1";
    return method.size() + target.size() + kRest.size();
}

unsigned int statusOfTooLong(size_t lineBytes, const Limits& limits)
{
    return lineBytes > limits.requestLineBytes ? kUriTooLong : kRequestHeaderFieldsTooLarge;
}

std::string originForm(std::string_view target)
{
    for (const std::string_view scheme : {"http://", "https://"}) {
        if (equalsIgnoringCase(target.substr(0, scheme.size()), scheme)) {
            target.remove_prefix(scheme.size());
            target.remove_prefix(std::min(target.find_first_of("/?"), target.size()));
            return target.starts_with('/') ? std::string(target) : "/" + std::string(target);
        }
    }
    return std::string(target);
}

} // namespace httpd
