#include "error_body.h"

#include <ExtendedErrorInfoHandling.h>
#include <ExtendedErrorInfoHandlingCIM.h>

#include <map>

namespace host {

namespace {

httpd::Response jsonResponse(unsigned int status, const ExtendedErrorInfoHandling& info)
{
    httpd::Response response;
    response.status = status;
    response.headers.push_back({"Content-Type", "application/json"});
    info.GetNewExtendedErrMsg(response.body);
    return response;
}

} // namespace

httpd::Response errorResponse(unsigned int status, const char* baseMessage,
                              const std::string& argument, const std::string& second,
                              const std::string& third)
{
    ExtendedErrorInfoHandling info;
    info.InsertBaseMessageID(baseMessage, "", argument.c_str(), second.c_str(), third.c_str());
    return jsonResponse(status, info);
}

httpd::Response methodNotAllowed(const char* allowedMethods)
{
    ExtendedErrorInfoHandling info;
    info.InsertMessageID("SYS402", "");
    info.InsertBaseMessageID("OperationNotAllowed", "");
    httpd::Response response = jsonResponse(httpd::kMethodNotAllowed, info);
    response.headers.push_back({"Allow", allowedMethods});
    return response;
}

httpd::Response temporarilyUnavailable(const char* retryAfterS)
{
    // Made once for each time there is: while many are refused, refusing must cost little.
    static std::map<std::string, httpd::Response> made;
    httpd::Response& response = made[retryAfterS];
    if (response.headers.empty()) {
        response =
            errorResponse(httpd::kServiceUnavailable, "ServiceTemporarilyUnavailable", retryAfterS);
        response.headers.push_back({"Retry-After", retryAfterS});
    }
    return response;
}

httpd::Response errorResponseOfCode(unsigned int code, const std::string& argument,
                                    const std::string& second, const std::string& third)
{
    ExtendedErrorInfoHandling info;
    unsigned int status = 0;
    (void)AppendExtendedErrorMessages(code, info, &status, argument.c_str(), second.c_str(),
                                      third.c_str());
    return jsonResponse(status, info);
}

} // namespace host
