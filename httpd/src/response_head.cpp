#include "response_head.h"

#include <boost/beast/http/status.hpp>

#include <ctime>

namespace httpd {

namespace http = boost::beast::http;

namespace {

// No less than most heads take.
constexpr size_t kMostHeadsBytes = 512;

// IMF-fixdate of RFC 9110, always in GMT and English.
std::string httpDate()
{
    const time_t now = std::time(nullptr);
    tm utc{};
    gmtime_r(&now, &utc);
    char text[40] = "";
    (void)std::strftime(text, sizeof text, "%a, %d %b %Y %H:%M:%S GMT", &utc);
    return text;
}

void addLine(std::string& head, std::string_view name, std::string_view value)
{
    head.append(name).append(": ").append(value).append("\r\n");
}

void addLines(std::string& head, const std::vector<Header>& headers)
{
    for (const Header& header : headers) {
        addLine(head, header.name, header.value);
    }
}

} // namespace

std::string responseHead(const Response& response, unsigned int version, bool isKeptAlive)
{
    std::string head;
    head.reserve(kMostHeadsBytes);
    head.append(version < 11 ? "HTTP/1.0 " : "HTTP/1.1 ");
    head.append(std::to_string(response.status)).append(" ");
    head.append(http::obsolete_reason(http::int_to_status(response.status))).append("\r\n");
    addLines(head, response.headers);
    if (response.sharedHeaders != nullptr) {
        head.append(*response.sharedHeaders);
    }
    addLine(head, "Date", httpDate());
    if (isKeptAlive != (version >= 11)) { // where it is not what the version says anyway
        addLine(head, "Connection", isKeptAlive ? "keep-alive" : "close");
    }
    if (hasContent(response.status)) {
        addLine(head, "Content-Length", std::to_string(response.content().size()));
    }
    head.append("\r\n");
    return head;
}

std::string headerLines(const std::vector<Header>& headers)
{
    std::string lines;
    addLines(lines, headers);
    return lines;
}

} // namespace httpd
