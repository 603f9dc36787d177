#include "front/protocol.h"

#include "error_body.h"
#include "front/accepted_types.h"

namespace host {

namespace {

constexpr const char* kODataVersion = "OData-Version";
constexpr std::string_view kOurODataVersion = "4.0";

httpd::Response methodsAre(const char* methods)
{
    httpd::Response response;
    response.status = httpd::kNoContent;
    response.headers.push_back({"Allow", methods});
    return response;
}

} // namespace

bool isRead(const httpd::Request& request)
{
    return request.method == "GET" || request.method == "HEAD";
}

httpd::Response answerToOtherMethod(const httpd::Request& request, const char* methods)
{
    return request.method == "OPTIONS" ? methodsAre(methods) : methodNotAllowed(methods);
}

std::optional<httpd::Response> refusalOfHeaders(const httpd::Request& request,
                                                std::string_view mediaType)
{
    const std::string_view version = httpd::findHeader(request.headers, kODataVersion);
    if (!version.empty() && version != kOurODataVersion) {
        return errorResponse(httpd::kPreconditionFailed, "HeaderInvalid", kODataVersion);
    }
    if (!accepts(request.headers, mediaType)) {
        return errorResponse(httpd::kNotAcceptable, "NotAcceptable");
    }
    return std::nullopt;
}

} // namespace host
