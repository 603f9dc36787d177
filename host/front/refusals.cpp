#include "front/refusals.h"

#include "error_body.h"
#include "front/parsed_target.h"
#include "front/protocol.h"
#include "host_limits.h"

#include <ResourceMapper.h>
#include <httpd/field_text.h>

#include <string_view>

namespace host {

namespace {

httpd::Response uriTooLong()
{
    // Without the URI: an answer as long as that helps nobody.
    return errorResponse(httpd::kUriTooLong, "InvalidURI", "the request URI");
}

httpd::Response withoutMemory()
{
    httpd::Response response = temporarilyUnavailable(kRetryAfterS);
    response.remark = "clients hold as much memory as they may (--client-memory)";
    return response;
}

bool isAction(const std::optional<UriKind>& kind)
{
    return kind == UriKind::Action || kind == UriKind::ComposedAction;
}

// Which of GET, HEAD and POST a mapped resource takes is the library's to say.
bool takesMethod(const std::optional<UriKind>& kind, const httpd::Request& request)
{
    const bool mayBeAction = isAction(kind) || !kind || !isComposed(*kind);
    const bool mayBeRead = kind != UriKind::ComposedAction;
    return (mayBeRead && isRead(request)) || (mayBeAction && isPost(request));
}

// Whether there is an instance is known to workers only.
httpd::Response answerToMethod(const httpd::Request& request, const std::optional<UriKind>& kind)
{
    if (!kind && request.method == "OPTIONS") {
        return errorResponseOfCode(RM_INVALID_URI, "");
    }
    return answerToOtherMethod(request, isAction(kind) ? kActionMethods : kReadMethods);
}

// Asked for even of an empty body: without it, any page in a browser on this machine could act here
// with a form.
bool hasJsonBody(const httpd::Request& request)
{
    const std::string_view type = httpd::findHeader(request.headers, "Content-Type");
    return httpd::isSameWord(httpd::trimmed(type.substr(0, type.find(';'))), "application/json");
}

std::optional<httpd::Response> refusalOfUri(const odata::URI& uri, const std::string& target)
{
    switch (uri.GetFault()) {
    case OL_URI_TOO_LONG:
        return uriTooLong();
    case OL_URI_BAD_ENCODING:
        return errorResponse(httpd::kBadRequest, "InvalidURI", target);
    case OL_URI_REPEATED_OPTION:
        return errorResponse(httpd::kBadRequest, "QueryCombinationInvalid");
    default:
        break;
    }
    if (uri.GetUnknownOption() != nullptr) {
        return errorResponseOfCode(RM_QUERY_NOT_SUPPORTED, uri.GetUnknownOption());
    }
    if (uri.GetSegmentCount() == 0) {
        return errorResponseOfCode(RM_INVALID_URI, target);
    }
    return std::nullopt;
}

} // namespace

bool isPost(const httpd::Request& request)
{
    return request.method == "POST";
}

httpd::Response unreadable(unsigned int status)
{
    switch (status) {
    case httpd::kRequestTimeout:
        return errorResponse(status, "OperationTimeout");
    case httpd::kContentTooLarge:
        return errorResponse(status, "PayloadTooLarge");
    case httpd::kUriTooLong:
        return uriTooLong();
    case httpd::kRequestHeaderFieldsTooLarge:
        return errorResponse(status, "HeaderTooLong");
    case httpd::kUnsupportedMediaType: // of which the HTTP server knows only this kind
        return errorResponse(status, "HeaderInvalid", "Content-Encoding");
    case httpd::kExpectationFailed:
        return errorResponse(status, "HeaderInvalid", "Expect");
    case httpd::kServiceUnavailable:
        return withoutMemory();
    case httpd::kHttpVersionNotSupported:
        return errorResponse(status, "HttpVersionNotSupported");
    default:
        return errorResponse(status, "UnrecognizedRequestBody");
    }
}

std::optional<httpd::Response> refusalOfTarget(const httpd::Request& request)
{
    return refusalOfUri(parsedTarget(request.target), request.target);
}

std::optional<httpd::Response> refusalOf(const httpd::Request& request,
                                         const std::optional<UriKind>& kind)
{
    if (!takesMethod(kind, request)) {
        return answerToMethod(request, kind);
    }
    if (std::optional<httpd::Response> response = refusalOfHeaders(request, kJson)) {
        return response;
    }
    if (isPost(request) && !hasJsonBody(request)) {
        return errorResponse(httpd::kUnsupportedMediaType, "UnsupportedMediaType");
    }
    return refusalOfTarget(request);
}

} // namespace host
