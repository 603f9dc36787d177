#include "request_head.h"

#include "httpd/field_text.h"
#include "httpd/host_field.h"

#include <algorithm>

namespace httpd {

namespace {

constexpr std::string_view kLineEnd = "\r\n";

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

size_t countHeaders(const std::vector<Header>& headers, std::string_view name)
{
    return static_cast<size_t>(
        std::count_if(headers.begin(), headers.end(),
                      [name](const Header& header) { return isSameWord(header.name, name); }));
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
    if (isSameWord(coding, kChunked)) {
        return 0;
    }
    bool isLast = true;
    bool isLegal = true;
    while (!coding.empty()) {
        const size_t comma = coding.rfind(',');
        const size_t begin = comma == std::string_view::npos ? 0 : comma + 1;
        const bool isChunked = isSameWord(trimmed(coding.substr(begin)), kChunked);
        isLegal = isLegal && isChunked == isLast;
        isLast = false;
        coding = coding.substr(0, begin == 0 ? 0 : comma);
    }
    return isLegal && !isLast ? kNotImplemented : kBadRequest;
}

// RFC 9112, section 3.2: exactly one Host field from clients that speak HTTP/1.1, and never two.
bool hasGoodHost(const Request& request, unsigned int version)
{
    constexpr std::string_view kHost = "Host";
    const size_t hosts = countHeaders(request.headers, kHost);
    if (hosts == 0) {
        return version < 11;
    }
    return hosts == 1 && parseHostField(findHeader(request.headers, kHost)).has_value();
}

unsigned int refusalOfCodings(const Request& request, unsigned int version)
{
    constexpr std::string_view kTransferEncoding = "Transfer-Encoding";
    const size_t codings = countHeaders(request.headers, kTransferEncoding);
    if (codings > 1) {
        return kBadRequest;
    }
    return codings == 0 ? 0
                        : refusalOfCoding(findHeader(request.headers, kTransferEncoding), version);
}

// RFC 9110, section 8.4: "identity" is none.
bool hasContentCoding(const Request& request)
{
    return std::any_of(request.headers.begin(), request.headers.end(), [](const Header& header) {
        return isSameWord(header.name, "Content-Encoding") && !trimmed(header.value).empty() &&
               !isSameWord(trimmed(header.value), "identity");
    });
}

// RFC 9110, section 10.1.1: there is one expectation, and none in HTTP/1.0.
bool hasUnknownExpectation(const Request& request, unsigned int version)
{
    return version >= 11 && countHeaders(request.headers, "Expect") > 0 &&
           !expectsContinue(request, version);
}

std::string_view firstLine(std::string_view text)
{
    return text.substr(0, text.find(kLineEnd));
}

// RFC 9112, section 5.2: a line that goes on the one before it is for 400.
bool hasFoldedLine(std::string_view head)
{
    for (size_t end = head.find(kLineEnd); end != std::string_view::npos;
         end = head.find(kLineEnd, end + kLineEnd.size())) {
        const size_t next = end + kLineEnd.size();
        if (next < head.size() && (head[next] == ' ' || head[next] == '\t')) {
            return true;
        }
    }
    return false;
}

// Where "1.1" stands in a request line that ends with "HTTP/1.1" or the like; npos where none is.
size_t versionAt(std::string_view line)
{
    constexpr std::string_view kName = " HTTP/";
    constexpr size_t kDigits = 3;
    const size_t at = line.rfind(kName);
    const bool isVersion =
        at != std::string_view::npos && at + kName.size() + kDigits == line.size() &&
        isDigit(line[at + kName.size()]) && line[line.size() - 2] == '.' && isDigit(line.back());
    return isVersion ? at + kName.size() : std::string_view::npos;
}

} // namespace

size_t leadingLineEnds(std::string_view text)
{
    size_t bytes = 0;
    while (text.substr(bytes).starts_with(kLineEnd)) {
        bytes += kLineEnd.size();
    }
    return bytes;
}

size_t headBytes(std::string_view text, size_t seen)
{
    constexpr std::string_view kEnd = "\r\n\r\n";
    const size_t end = text.find(kEnd, seen < kEnd.size() ? 0 : seen - kEnd.size());
    return end == std::string_view::npos ? 0 : end + kEnd.size();
}

unsigned int refusalOfText(std::span<char> head, const Limits& limits)
{
    const std::string_view text(head.data(), head.size());
    const std::string_view line = firstLine(text);
    if (line.size() > limits.requestLineBytes || text.size() > limits.headerBytes) {
        return statusOfTooLong(text, limits);
    }
    const size_t version = versionAt(line);
    if (version != std::string_view::npos && line[version] > '1') {
        return kHttpVersionNotSupported;
    }
    if (hasFoldedLine(text)) {
        return kBadRequest;
    }
    if (version != std::string_view::npos && line[version] == '1' && line.back() > '1') {
        head[line.size() - 1] = '1';
    }
    return 0;
}

unsigned int statusOfTooLong(std::string_view text, const Limits& limits)
{
    return firstLine(text).size() > limits.requestLineBytes ? kUriTooLong
                                                            : kRequestHeaderFieldsTooLarge;
}

unsigned int refusalOf(const Request& request, unsigned int version, bool hasBody,
                       const Limits& limits)
{
    if (request.headers.size() > limits.headerCount) {
        return kRequestHeaderFieldsTooLarge;
    }
    if (!hasGoodHost(request, version) || countHeaders(request.headers, "Content-Type") > 1) {
        return kBadRequest;
    }
    if (const unsigned int status = refusalOfCodings(request, version)) {
        return status;
    }
    if (hasUnknownExpectation(request, version)) {
        return kExpectationFailed;
    }
    return hasBody && hasContentCoding(request) ? kUnsupportedMediaType : 0;
}

bool expectsContinue(const Request& request, unsigned int version)
{
    constexpr std::string_view kExpect = "Expect";
    return version >= 11 && countHeaders(request.headers, kExpect) == 1 &&
           isSameWord(trimmed(findHeader(request.headers, kExpect)), "100-continue");
}

std::string originForm(std::string_view target)
{
    for (const std::string_view scheme : {"http://", "https://"}) {
        if (isSameWord(target.substr(0, scheme.size()), scheme)) {
            target.remove_prefix(scheme.size());
            target.remove_prefix(std::min(target.find_first_of("/?"), target.size()));
            return target.starts_with('/') ? std::string(target) : "/" + std::string(target);
        }
    }
    return std::string(target);
}

} // namespace httpd
