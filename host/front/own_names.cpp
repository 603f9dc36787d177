#include "front/own_names.h"

#include "error_body.h"
#include "front/refusals.h"

#include <arpa/inet.h>
#include <httpd/field_text.h>
#include <httpd/host_field.h>

#include <algorithm>
#include <utility>

namespace host {

namespace {

bool isAddress(std::string_view host)
{
    in_addr unused{};
    return host.starts_with('[') || inet_pton(AF_INET, std::string(host).c_str(), &unused) == 1;
}

// The host of an origin, "https://host:port"; nothing for "null" and what is none.
std::optional<std::string_view> hostOfOrigin(std::string_view origin)
{
    constexpr std::string_view kSeparator = "://";
    const size_t separator = origin.find(kSeparator);
    if (separator == std::string_view::npos) {
        return std::nullopt;
    }
    const auto field = httpd::parseHostField(origin.substr(separator + kSeparator.size()));
    return field ? std::optional(field->host) : std::nullopt;
}

std::string_view hostAskedFor(const httpd::Request& request)
{
    const auto field = httpd::parseHostField(httpd::findHeader(request.headers, "Host"));
    return field ? field->host : std::string_view();
}

// Browsers send both; other clients neither.
bool isForAnotherSite(const httpd::Request& request)
{
    const std::string_view origin = httpd::findHeader(request.headers, "Origin");
    const auto host = hostOfOrigin(origin);
    return httpd::isSameWord(httpd::findHeader(request.headers, "Sec-Fetch-Site"), "cross-site") ||
           (!origin.empty() && (!host || !httpd::isSameWord(*host, hostAskedFor(request))));
}

} // namespace

OwnNames::OwnNames(std::vector<std::string> names) : mNames(std::move(names)) {}

std::optional<httpd::Response> OwnNames::refusalOf(const httpd::Request& request) const
{
    // Who names no host is no browser.
    const std::string_view host = hostAskedFor(request);
    if (!host.empty() && !isOwn(host)) {
        return errorResponse(httpd::kMisdirectedRequest, "HeaderInvalid", "Host");
    }
    if (isPost(request) && isForAnotherSite(request)) {
        return errorResponse(httpd::kForbidden, "AccessDenied", request.target);
    }
    return std::nullopt;
}

bool OwnNames::isOwn(std::string_view host) const
{
    return isAddress(host) || httpd::isSameWord(host, "localhost") ||
           std::any_of(mNames.begin(), mNames.end(),
                       [host](const std::string& name) { return httpd::isSameWord(host, name); });
}

} // namespace host
