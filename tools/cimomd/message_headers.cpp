#include "message_headers.h"

#include <cimxml/types.h>

#include <algorithm>
#include <charconv>
#include <utility>
#include <vector>

namespace cimomd {

namespace {

constexpr const char* kPath = "/cimom";
constexpr const char* kContentType = "application/xml; charset=\"utf-8\"";

std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view kBlanks = " \t";
    const size_t first = text.find_first_not_of(kBlanks);
    return first == std::string_view::npos
               ? std::string_view{}
               : text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// Takes text up to the separator off rest, trimmed.
std::string_view takeUpTo(std::string_view& rest, char separator)
{
    const size_t end = std::min(rest.find(separator), rest.size());
    const std::string_view taken = rest.substr(0, end);
    rest.remove_prefix(std::min(end + 1, rest.size()));
    return trimmed(taken);
}

bool refuse(Refusal& refusal, unsigned int status, std::string cimError, std::string detail)
{
    refusal = {status, std::move(cimError), std::move(detail)};
    return false;
}

bool isXml(std::string_view mediaType)
{
    return cimxml::equalsIgnoreCase(mediaType, "application/xml") ||
           cimxml::equalsIgnoreCase(mediaType, "text/xml");
}

// Whether one of the ranges of an Accept header suits; no header accepts all.
bool isAccepted(std::string_view ranges)
{
    bool suits = ranges.empty();
    while (!suits && !ranges.empty()) {
        std::string_view range = takeUpTo(ranges, ',');
        const std::string_view type = takeUpTo(range, ';');
        suits = isXml(type) || type == "application/*" || type == "text/*" || type == "*/*";
    }
    return suits;
}

bool checkMethod(const httpd::Request& request, Refusal& refusal)
{
    if (request.method == "M-POST") {
        return refuse(refusal, kHttpNotImplemented, {},
                      "the HTTP extension framework is not supported; use POST");
    }
    if (request.method != "POST") {
        return refuse(refusal, kHttpMethodNotAllowed, {}, "CIM-XML messages are sent by POST");
    }
    if (request.target != kPath) {
        return refuse(refusal, kHttpNotFound, {},
                      std::string("CIM-XML messages are sent to ") + kPath);
    }
    return true;
}

bool checkMediaTypes(const httpd::Request& request, Refusal& refusal)
{
    std::string_view contentType = httpd::findHeader(request.headers, "Content-Type");
    if (!isXml(takeUpTo(contentType, ';'))) {
        return refuse(refusal, kHttpUnsupportedMediaType, {}, "the body must be application/xml");
    }
    return isAccepted(httpd::findHeader(request.headers, "Accept")) ||
           refuse(refusal, kHttpNotAcceptable, {}, "answers are application/xml");
}

// Without the header it is the first version.
bool checkProtocolVersion(const httpd::Request& request, Refusal& refusal)
{
    const std::string_view version = httpd::findHeader(request.headers, "CIMProtocolVersion");
    if (version.empty() || (version.size() == 3 && version.starts_with("1.") &&
                            version.back() >= '0' && version.back() <= '4')) {
        return true;
    }
    return refuse(refusal, kHttpNotImplemented, "unsupported-protocol-version",
                  "the versions 1.0 to 1.4 are supported");
}

bool checkOperation(const httpd::Request& request, Refusal& refusal)
{
    const std::string_view operation = httpd::findHeader(request.headers, "CIMOperation");
    if (operation.empty()) {
        return refuse(refusal, kHttpBadRequest, "unsupported-operation",
                      "the CIMOperation header is missing");
    }
    if (!cimxml::equalsIgnoreCase(operation, "MethodCall")) {
        return refuse(refusal, kHttpNotImplemented, "unsupported-operation",
                      "the only supported CIMOperation is MethodCall");
    }
    return true;
}

// "%2F" back to "/"; what is no escape stays as it is.
std::string percentDecoded(std::string_view text)
{
    std::string decoded;
    for (size_t i = 0; i < text.size(); ++i) {
        unsigned char byte = 0;
        const char* const digits = text.data() + i + 1;
        if (text[i] == '%' && i + 2 < text.size() &&
            std::from_chars(digits, digits + 2, byte, 16).ptr == digits + 2) {
            decoded += static_cast<char>(byte);
            i += 2;
        } else {
            decoded += text[i];
        }
    }
    return decoded;
}

std::string percentEncoded(std::string_view text)
{
    constexpr std::string_view kHexDigits = "0123456789ABCDEF";
    std::string encoded;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte > 0x20 && byte < 0x7F && c != '%') {
            encoded += c;
        } else {
            encoded += {'%', kHexDigits[byte >> 4U], kHexDigits[byte & 0xFU]};
        }
    }
    return encoded;
}

// Compares "root/xcim" or "root/xcim:Class.Key=..." with what is called.
bool isObject(std::string_view header, const CalledOperation& called)
{
    const size_t colon = std::min(header.find(':'), header.size());
    if (!cimxml::equalsIgnoreCase(header.substr(0, colon), called.nameSpace)) {
        return false;
    }
    header.remove_prefix(std::min(colon + 1, header.size()));
    return cimxml::equalsIgnoreCase(header.substr(0, header.find('.')), called.className);
}

} // namespace

bool checkHeaders(const httpd::Request& request, Refusal& refusal)
{
    return checkMethod(request, refusal) && checkMediaTypes(request, refusal) &&
           checkProtocolVersion(request, refusal) && checkOperation(request, refusal);
}

bool checkRepeated(const httpd::Request& request, const CalledOperation& called, Refusal& refusal)
{
    const std::string method = percentDecoded(httpd::findHeader(request.headers, "CIMMethod"));
    const std::string object = percentDecoded(httpd::findHeader(request.headers, "CIMObject"));
    if (!cimxml::equalsIgnoreCase(method, called.method)) {
        return refuse(refusal, kHttpBadRequest, "header-mismatch",
                      "CIMMethod says \"" + method + "\", the body \"" +
                          std::string(called.method) + "\"");
    }
    if (!isObject(object, called)) {
        std::string inBody(called.nameSpace);
        inBody += called.className.empty() ? "" : ":" + std::string(called.className);
        return refuse(refusal, kHttpBadRequest, "header-mismatch",
                      "CIMObject says \"" + object + "\", the body \"" + inBody + "\"");
    }
    return true;
}

httpd::Response messageResponse(std::string body)
{
    return {kHttpOk,
            {{"Content-Type", kContentType}, {"CIMOperation", "MethodResponse"}},
            std::move(body)};
}

httpd::Response refusalResponse(const Refusal& refusal)
{
    httpd::Response response{refusal.status, {{"Content-Type", "text/plain; charset=utf-8"}}, {}};
    if (refusal.status == kHttpMethodNotAllowed) {
        response.headers.push_back({"Allow", "POST"});
    }
    if (!refusal.cimError.empty()) {
        response.headers.push_back({"CIMError", refusal.cimError});
    }
    // Clients that show no body of an error know this header.
    response.headers.push_back({"PGErrorDetail", percentEncoded(refusal.detail)});
    response.body = refusal.detail + "\n";
    return response;
}

} // namespace cimomd
