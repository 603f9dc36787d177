#include "worker/request_handler.h"

#include "error_body.h"
#include "host_limits.h"
#include "queue/worker_end.h"
#include "worker/action_handler.h"
#include "worker/current_request.h"
#include "worker/scope_response.h"

#include <ResourceMapper.h>
#include <ResourceMapper/mapping/Entry.h>

namespace host {

namespace {

using cimgate::mapping::Source;
using cimgate::mapping::sourceOf;

httpd::Response answer(ResourceMapper& mapper, const odata::Scope& scope, _ResourceMapperError rc,
                       Json::Value& body)
{
    if (rc == RM_OK) {
        mapper.SendResponse(body);
    } else {
        mapper.SendExtendedErrorResponse(rc);
    }
    httpd::Response response = responseOf(scope);
    if (rc == RM_METHOD_NOT_ALLOWED) { // only the URI of an action refuses a read
        response.headers.push_back({"Allow", kActionMethods});
    }
    return response;
}

httpd::Response readFromCache(ResourceMapper& mapper, const odata::Scope& scope)
{
    if (!mapper.IsCached()) { // has set "Retry-After"
        currentRequest().fail("the class is not ready in the data cache");
        return errorResponse(httpd::kServiceUnavailable, "ServiceTemporarilyUnavailable",
                             kRetryAfterS);
    }
    Json::Value body;
    const _ResourceMapperError rc =
        mapper.mIsCollection ? mapper.GetCollection(body, true) : mapper.GetInstance(body, true);
    return answer(mapper, scope, rc, body);
}

// The library reports one and the same failure where the object manager is away and where it is
// there and fails: only the first will pass.
httpd::Response readLive(ResourceMapper& mapper, const odata::Scope& scope, CimSession& cim)
{
    Json::Value body;
    const _ResourceMapperError rc =
        mapper.mIsCollection ? mapper.GetCollection(body) : mapper.GetInstance(body);
    const char* fault = nullptr;
    if (rc == RM_INTERNAL_ERROR) {
        fault = cim.renew();
    } else if (rc == RM_INSUFFICIENT_PRIVILEGE) {
        fault = CimSession::whyRefused();
    }
    if (fault != nullptr) {
        return withoutObjectManager(fault);
    }
    return answer(mapper, scope, rc, body);
}

std::optional<httpd::Response> read(ResourceMapper& mapper, const odata::Scope& scope,
                                    bool mayReadLive, CimSession& cim)
{
    Json::Value body;
    _ResourceMapperError rc = mapper.ParseUri(RM_METHOD_GET);
    currentRequest().concerns(mapper.mOemResourceName, mapper.mCimClass);
    if (rc != RM_OK) {
        return answer(mapper, scope, rc, body);
    }
    switch (sourceOf(mapper.mResourceObj, mapper.mCimClass, mapper.mIsCollection)) {
    case Source::DataCache:
        return readFromCache(mapper, scope);
    case Source::Cim:
        if (!mayReadLive) {
            return std::nullopt;
        }
        return readLive(mapper, scope, cim);
    case Source::MappingFile:
        break;
    }
    (void)mapper.IsServiceURI(body, rc);
    return answer(mapper, scope, rc, body);
}

std::optional<httpd::Response> answerTo(const ReadRequest& request, CimSession& cim)
{
    odata::Scope scope = odata::Scope::ForRequest(request.target);
    const odata::URI uri = scope.NewURI();
    ResourceMapper mapper(cim.get(), scope, uri, false);
    std::optional<httpd::Response> response = read(mapper, scope, request.mayReadLive, cim);
    if (response) {
        addHeaders(scope, *response);
    }
    return response;
}

std::optional<httpd::Response> answerTo(const ActionRequest& request, CimSession& cim)
{
    odata::Scope scope = odata::Scope::ForRequest(request.target);
    const odata::URI uri = scope.NewURI();
    ResourceMapper mapper(cim.get(), scope, uri, false);
    httpd::Response response = handlePost(mapper, scope, request.body, cim);
    addHeaders(scope, response);
    return response;
}

std::optional<httpd::Response> answerTo(const EmbeddedDataRequest& request, CimSession& /*cim*/)
{
    httpd::Response response;
    response.body = handleEmbeddedData(request.container, request.id);
    return response;
}

} // namespace

std::optional<httpd::Response> handleRequest(const WorkerRequest& request, CimSession& cim)
{
    CurrentRequest& current = currentRequest();
    current.begin(request);
    std::optional<httpd::Response> response =
        std::visit([&cim](const auto& kind) { return answerTo(kind, cim); }, request);
    if (response && (current.hasFailed() || httpd::isServerFailure(response->status))) {
        response->remark = current.remark();
    }
    current.end();
    return response;
}

} // namespace host
