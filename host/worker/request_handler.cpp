#include "worker/request_handler.h"

#include "compose/compose_handler.h"
#include "compose/service_action.h"
#include "error_body.h"
#include "host_limits.h"
#include "queue/worker_end.h"
#include "resource_headers.h"
#include "worker/action_handler.h"
#include "worker/current_request.h"
#include "worker/mapped_read.h"
#include "worker/representation.h"
#include "worker/scope_response.h"

#include <ResourceMapper.h>
#include <ResourceMapper/mapping/Entry.h>

namespace host {

namespace {

namespace mapping = cimgate::mapping;

using mapping::Source;
using mapping::sourceOf;

httpd::Response answer(ResourceMapper& mapper, const odata::Scope& scope, _ResourceMapperError rc,
                       Json::Value& body, Sources& sources)
{
    if (rc == RM_OK) {
        if (sources.shapes) {
            sources.shapes->shape(mapper.mOemResourceName, body);
        }
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

// The answer of a read that has met an obstacle.
httpd::Response unavailable(Obstacle obstacle)
{
    return obstacle == Obstacle::NotReady // "Retry-After" is set
               ? errorResponse(httpd::kServiceUnavailable, "ServiceTemporarilyUnavailable",
                               kRetryAfterS)
               : temporarilyUnavailable(kRetryAfterS);
}

httpd::Response unreadableCache()
{
    currentRequest().fail(kCacheIsUnreadable);
    return unavailable(Obstacle::Cache);
}

httpd::Response answer(ResourceMapper& mapper, const odata::Scope& scope, MappedRead& read,
                       Sources& sources)
{
    return read.obstacle == Obstacle::None ? answer(mapper, scope, read.rc, read.body, sources)
                                           : unavailable(read.obstacle);
}

httpd::Response answerFromCache(ResourceMapper& mapper, const odata::Scope& scope, Sources& sources,
                                bool wantsGzip)
{
    if (!sources.cache.open()) {
        return unreadableCache();
    }
    CacheRead transaction;
    MappedRead read = readFromCache(mapper, transaction, sources.cache);
    transaction.end();
    httpd::Response response = answer(mapper, scope, read, sources);
    response.mayBeKept = read.mayBeKept && read.rc == RM_OK;
    if (response.status == httpd::kOk) {
        addRepresentation(response, wantsGzip);
    }
    return response;
}

std::optional<httpd::Response> read(ResourceMapper& mapper, const odata::Scope& scope,
                                    const ReadRequest& request, Sources& sources)
{
    MappedRead read;
    read.rc = mapper.ParseUri(RM_METHOD_GET);
    currentRequest().concerns(mapper.mOemResourceName, mapper.mCimClass);
    if (read.rc != RM_OK) {
        return answer(mapper, scope, read, sources);
    }
    const Source source = sourceOf(mapper.mResourceObj, mapper.mCimClass, mapper.mIsCollection);
    if (source == Source::DataCache) {
        return answerFromCache(mapper, scope, sources, request.wantsGzip);
    }
    if (source == Source::Cim && !request.mayReadLive) {
        return std::nullopt;
    }
    if (!canReadLinks(mapper, sources.cache)) {
        return unreadableCache();
    }
    read = source == Source::Cim ? readLive(mapper, sources.cim) : readFromMapping(mapper);
    return answer(mapper, scope, read, sources);
}

std::optional<httpd::Response> answerTo(const ReadRequest& request, Sources& sources)
{
    odata::Scope scope = odata::Scope::ForRequest(request.target);
    const odata::URI uri = scope.NewURI();
    ResourceMapper mapper(sources.cim.get(), scope, uri, false);
    std::optional<httpd::Response> response = read(mapper, scope, request, sources);
    if (response) {
        addHeaders(scope, *response);
        if (sources.shapes && response->status == httpd::kOk) {
            completeHeaders(*response, sources.shapes->schemaUriOf(mapper.mOemResourceName));
        }
    }
    return response;
}

std::optional<httpd::Response> answerTo(const ComposeRequest& request, Sources& sources)
{
    return compose::handleCompose(request, sources);
}

httpd::Response answerToMapped(const ActionRequest& request, Sources& sources)
{
    odata::Scope scope = odata::Scope::ForRequest(request.target);
    const odata::URI uri = scope.NewURI();
    ResourceMapper mapper(sources.cim.get(), scope, uri, false);
    httpd::Response response = handlePost(mapper, scope, request.body, sources);
    addHeaders(scope, response);
    return response;
}

std::optional<httpd::Response> answerTo(const ActionRequest& request, Sources& sources)
{
    const auto& actions = sources.service.file.actions;
    const auto action = actions.find(request.target.substr(0, request.target.find('?')));
    if (action == actions.end()) {
        return answerToMapped(request, sources);
    }
    auto translated = compose::translate(action->second, request.body);
    const auto* mapped = std::get_if<ActionRequest>(&translated);
    return mapped != nullptr ? answerToMapped(*mapped, sources)
                             : std::get<httpd::Response>(std::move(translated));
}

std::optional<httpd::Response> answerTo(const EmbeddedDataRequest& request, Sources& sources)
{
    httpd::Response response;
    response.body = handleEmbeddedData(request.container, request.id, sources.cache);
    return response;
}

} // namespace

std::optional<httpd::Response> handleRequest(const WorkerRequest& request, Sources& sources)
{
    CurrentRequest& current = currentRequest();
    current.begin(request);
    std::optional<httpd::Response> response =
        std::visit([&sources](const auto& kind) { return answerTo(kind, sources); }, request);
    if (response && (current.hasFailed() || httpd::isServerFailure(response->status))) {
        response->remark = current.remark();
    }
    current.end();
    return response;
}

} // namespace host
