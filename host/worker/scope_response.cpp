#include "worker/scope_response.h"

#include "error_body.h"

namespace host {

namespace {

bool isLocation(const odata::Scope& scope, size_t header)
{
    return std::string_view(scope.GetHeaderName(header)) == "Location";
}

// Of a job whose reference names none: it leads nowhere.
bool isEmptyLocation(const odata::Scope& scope, size_t header)
{
    return isLocation(scope, header) && *scope.GetHeaderValue(header) == '\0';
}

} // namespace

httpd::Response responseOf(const odata::Scope& scope)
{
    if (!scope.IsCompleted()) { // a part of it did not fit into memory
        return errorResponse(httpd::kInternalServerError, "InternalError");
    }
    httpd::Response response;
    response.status = static_cast<unsigned int>(scope.GetStatus());
    response.headers.push_back({"Content-Type", scope.GetContentType()});
    response.body = scope.GetBody();
    return response;
}

void addHeaders(const odata::Scope& scope, httpd::Response& response)
{
    for (size_t i = 0; i < scope.GetHeaderCount(); ++i) {
        if (!isEmptyLocation(scope, i)) {
            response.headers.push_back({scope.GetHeaderName(i), scope.GetHeaderValue(i)});
        }
    }
}

bool hasLocation(const odata::Scope& scope)
{
    for (size_t i = 0; i < scope.GetHeaderCount(); ++i) {
        if (isLocation(scope, i)) {
            return !isEmptyLocation(scope, i);
        }
    }
    return false;
}

} // namespace host
