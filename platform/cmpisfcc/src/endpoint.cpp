#include "endpoint.h"

#include <curl/curl.h>

#include <charconv>
#include <cstdint>
#include <memory>
#include <string_view>

namespace cmpisfcc {

namespace {

constexpr const char* kHttpPort = "5988";
constexpr const char* kHttpsPort = "5989";
constexpr const char* kPath = "/cimom";

struct UrlCleanup
{
    void operator()(CURLU* url) const { curl_url_cleanup(url); }
};
using Url = std::unique_ptr<CURLU, UrlCleanup>;

bool isPort(std::string_view text)
{
    std::uint16_t number = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && stop == end && number != 0;
}

// A part of a URL; empty where it has none.
std::string partOf(CURLU* url, CURLUPart part)
{
    char* text = nullptr;
    if (curl_url_get(url, part, &text, 0) != CURLUE_OK) {
        return "";
    }
    std::string result = text;
    curl_free(text);
    return result;
}

bool isBareIpv6(std::string_view host)
{
    return host.find(':') != std::string_view::npos && host.front() != '[';
}

} // namespace

std::string Endpoint::setAddress(const char* hostName, const char* portText)
{
    port = scheme == "https" ? kHttpsPort : kHttpPort;
    if (portText != nullptr && portText[0] == '/') {
        socketPath = portText;
    } else if (portText != nullptr) {
        port = portText;
    }
    host = hostName == nullptr ? "localhost" : hostName;
    if (isBareIpv6(host)) {
        host = "[" + host + "]";
    }
    const Url url(curl_url());
    if (!isPort(port)) {
        return "'" + port + "' is no port";
    }
    if (host.empty() || curl_url_set(url.get(), CURLUPART_HOST, host.c_str(), 0) != CURLUE_OK) {
        return "'" + host + "' is no host name";
    }
    return "";
}

std::string Endpoint::url() const
{
    return scheme + "://" + host + ":" + port + kPath;
}

std::string parseLocalUrl(const char* url, Endpoint& endpoint)
{
    if (url[0] == '/') {
        return endpoint.setAddress(nullptr, url);
    }
    const Url parsed(curl_url());
    if (curl_url_set(parsed.get(), CURLUPART_URL, url, CURLU_NON_SUPPORT_SCHEME) != CURLUE_OK) {
        return "no URL";
    }
    endpoint.scheme = partOf(parsed.get(), CURLUPART_SCHEME);
    if (endpoint.scheme != "http" && endpoint.scheme != "https") {
        return "the scheme is neither http nor https";
    }
    const std::string path = partOf(parsed.get(), CURLUPART_PATH);
    if ((!path.empty() && path != "/") || !partOf(parsed.get(), CURLUPART_QUERY).empty() ||
        !partOf(parsed.get(), CURLUPART_FRAGMENT).empty()) {
        return "the URL goes on behind the port";
    }
    if (!partOf(parsed.get(), CURLUPART_USER).empty() ||
        !partOf(parsed.get(), CURLUPART_PASSWORD).empty()) {
        return "the URL names a user";
    }
    endpoint.verifiesPeer = endpoint.scheme == "https";
    const std::string host = partOf(parsed.get(), CURLUPART_HOST);
    const std::string port = partOf(parsed.get(), CURLUPART_PORT);
    return endpoint.setAddress(host.c_str(), port.empty() ? nullptr : port.c_str());
}

} // namespace cmpisfcc
