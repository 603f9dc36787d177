#include "front/ready_answer.h"

#include "front/conditional.h"

#include <memory>
#include <utility>

namespace host {

namespace {

// With all its headers as text.
httpd::Response readyOf(httpd::Response response)
{
    addCommonHeaders(response);
    response.sharedHeaders =
        std::make_shared<const std::string>(httpd::headerLines(response.headers));
    response.headers = {};
    return response;
}

} // namespace

void addCommonHeaders(httpd::Response& response)
{
    response.headers.push_back({"OData-Version", "4.0"});
    response.headers.push_back({"Cache-Control", "no-cache"});
}

httpd::Response finalOf(httpd::Response response, const std::vector<httpd::Header>& requestHeaders)
{
    if (isKnown(requestHeaders, response)) {
        response = notModified(response);
    }
    addCommonHeaders(response);
    return response;
}

ReadyAnswer readyAnswerOf(httpd::Response& response)
{
    response.sharedBody = std::make_shared<const std::string>(std::move(response.body));
    return {std::string(httpd::findHeader(response.headers, "ETag")), readyOf(response),
            readyOf(notModified(response))};
}

const httpd::Response& ReadyAnswer::finalFor(const std::vector<httpd::Header>& requestHeaders) const
{
    return isListed(requestHeaders, entityTag) ? unmodified : whole;
}

} // namespace host
