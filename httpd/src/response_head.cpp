#include "response_head.h"

#include <boost/beast/http/status.hpp>

#include <ctime>

namespace httpd {

namespace http = boost::beast::http;

namespace {

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

} // namespace

std::string responseHead(const Response& response, unsigned int version, bool isKeptAlive)
{
    std::string head = version < 11 ? "HTTP/1.0 " : "HTTP/1.1 ";
    head += std::to_string(response.status) + " ";
    head.append(http::obsolete_reason(http::int_to_status(response.status))).append("\r\n");
    for (const Header& header : response.headers) {
        addLine(head, header.name, header.value);
    }
    addLine(head, "Date", httpDate());
    if (isKeptAlive != (version >= 11)) { // where it is not what the version says anyway
        addLine(head, "Connection", isKeptAlive ? "keep-alive" : "close");
    }
    if (hasContent(response.status)) {
        addLine(head, "Content-Length", std::to_string(response.content().size()));
    }
    return head + "\r\n";
}

} // namespace httpd
