#include "front/conditional.h"

#include "front/header_list.h"

#include <algorithm>
#include <iterator>

namespace host {

namespace {

// Tags are compared weakly: "W/" makes no difference.
bool isTag(std::string_view element, std::string_view tag)
{
    return element == "*" || element.substr(element.starts_with("W/") ? 2 : 0) == tag;
}

// What a 304 repeats of the 200 (RFC 9110, 15.4.5).
bool isRepeated(const httpd::Header& header)
{
    return httpd::isSameWord(header.name, "ETag") || httpd::isSameWord(header.name, "Vary");
}

} // namespace

bool isListed(const std::vector<httpd::Header>& requestHeaders, std::string_view entityTag)
{
    constexpr std::string_view kName = "If-None-Match";
    if (entityTag.empty()) {
        return false;
    }
    // Nearly always it is the one tag that the client was given: a list alone is taken apart.
    bool isFound = httpd::findHeader(requestHeaders, kName) == entityTag;
    if (!isFound) {
        forEachElement(requestHeaders, kName, [&](std::string_view element) {
            isFound = isFound || isTag(element, entityTag);
        });
    }
    return isFound;
}

bool isKnown(const std::vector<httpd::Header>& requestHeaders, const httpd::Response& response)
{
    return response.status == httpd::kOk &&
           isListed(requestHeaders, httpd::findHeader(response.headers, "ETag"));
}

httpd::Response notModified(const httpd::Response& response)
{
    httpd::Response unchanged;
    unchanged.status = httpd::kNotModified;
    std::copy_if(response.headers.begin(), response.headers.end(),
                 std::back_inserter(unchanged.headers), isRepeated);
    return unchanged;
}

} // namespace host
