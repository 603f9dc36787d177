#include "worker/scope_response.h"

#include "error_body.h"
#include "host_limits.h"
#include "log.h"
#include "wire/worker_message.h"
#include "worker/escaped_uri.h"

#include <utility>

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

httpd::Header headerOf(const odata::Scope& scope, size_t header)
{
    const std::string value = scope.GetHeaderValue(header);
    return {scope.GetHeaderName(header), isLocation(scope, header) ? escapedUri(value) : value};
}

bool isTooLong(const httpd::Header& header)
{
    return header.name == "Location" && header.value.size() > kMaxLocationBytes;
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
        if (isEmptyLocation(scope, i)) {
            continue;
        }
        httpd::Header header = headerOf(scope, i);
        if (isTooLong(header) || !isAnswerHeader(header)) {
            const std::string what = ": left out the header " + header.name;
            log(Severity::Error,
                scope.GetRequestURL() + what + " of " + std::to_string(header.value.size()) +
                    " bytes, which clients would not take",
                "..." + what + " ...");
        } else {
            response.headers.push_back(std::move(header));
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
