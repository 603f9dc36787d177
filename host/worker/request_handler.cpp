#include "worker/request_handler.h"

#include "compose/compose_handler.h"
#include "compose/service_action.h"
#include "error_body.h"
#include "host_limits.h"
#include "queue/worker_end.h"
#include "resource_headers.h"
#include "worker/action_handler.h"
#include "worker/cache_read.h"
#include "worker/current_request.h"
#include "worker/representation.h"
#include "worker/scope_response.h"

#include <ResourceMapper.h>
#include <ResourceMapper/mapping/CachedClasses.h>
#include <ResourceMapper/mapping/Entry.h>
#include <ResourceMapper/mapping/Links.h>
#include <sqlite3.h>

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

// A class that is not ready, or a cache that cannot say so.
httpd::Response notReady(const CacheRead& read, DataCache& cache)
{
    const std::optional<CacheFault> fault = read.fault();
    currentRequest().fail(fault ? faultText(mapping::kReadinessTable, *fault)
                                : "the class is not ready in the data cache");
    if (!fault || fault->code != SQLITE_BUSY) {
        cache.note(fault ? fault->words : "");
    }
    // The library has set "Retry-After".
    return errorResponse(httpd::kServiceUnavailable, "ServiceTemporarilyUnavailable", kRetryAfterS);
}

httpd::Response readFromCache(ResourceMapper& mapper, const odata::Scope& scope, Sources& sources,
                              bool wantsGzip)
{
    DataCache& cache = sources.cache;
    if (!cache.open()) {
        currentRequest().fail(kCacheIsUnreadable);
        return temporarilyUnavailable(kRetryAfterS);
    }
    CacheRead read;
    if (!mapper.IsCached()) {
        return notReady(read, cache);
    }
    cache.note("");
    Json::Value body;
    const _ResourceMapperError rc =
        mapper.mIsCollection ? mapper.GetCollection(body, true) : mapper.GetInstance(body, true);
    const std::optional<CacheFault> fault = read.fault();
    read.end();
    if (fault && isOfTheCache(*fault, rc == RM_INTERNAL_ERROR)) {
        currentRequest().fail(faultText(mapping::tableOf(mapper.mCimClass), *fault));
        return temporarilyUnavailable(kRetryAfterS);
    }
    httpd::Response response = answer(mapper, scope, rc, body, sources);
    // All of it was read in one transaction: it holds until the cache is another.
    response.mayBeKept = rc == RM_OK && !fault;
    if (response.status == httpd::kOk) {
        addRepresentation(response, wantsGzip);
    }
    return response;
}

// The library reports one and the same failure where the object manager is away and where it is
// there and fails: only the first will pass.
httpd::Response readLive(ResourceMapper& mapper, const odata::Scope& scope, Sources& sources)
{
    Json::Value body;
    const _ResourceMapperError rc =
        mapper.mIsCollection ? mapper.GetCollection(body) : mapper.GetInstance(body);
    const char* fault = nullptr;
    if (rc == RM_INTERNAL_ERROR) {
        fault = sources.cim.renew();
    } else if (rc == RM_INSUFFICIENT_PRIVILEGE) {
        fault = CimSession::whyRefused();
    }
    if (fault != nullptr) {
        return withoutObjectManager(fault);
    }
    return answer(mapper, scope, rc, body, sources);
}

// Of what does not come from the data cache itself.
bool canReadLinks(const ResourceMapper& mapper, DataCache& cache)
{
    return !mapping::hasAssociations(mapper.mResourceObj) || cache.canFindLinks();
}

std::optional<httpd::Response> read(ResourceMapper& mapper, const odata::Scope& scope,
                                    const ReadRequest& request, Sources& sources)
{
    Json::Value body;
    _ResourceMapperError rc = mapper.ParseUri(RM_METHOD_GET);
    currentRequest().concerns(mapper.mOemResourceName, mapper.mCimClass);
    if (rc != RM_OK) {
        return answer(mapper, scope, rc, body, sources);
    }
    const Source source = sourceOf(mapper.mResourceObj, mapper.mCimClass, mapper.mIsCollection);
    if (source == Source::DataCache) {
        return readFromCache(mapper, scope, sources, request.wantsGzip);
    }
    if (source == Source::Cim && !request.mayReadLive) {
        return std::nullopt;
    }
    if (!canReadLinks(mapper, sources.cache)) {
        currentRequest().fail(kCacheIsUnreadable);
        return temporarilyUnavailable(kRetryAfterS);
    }
    if (source == Source::Cim) {
        return readLive(mapper, scope, sources);
    }
    (void)mapper.IsServiceURI(body, rc);
    return answer(mapper, scope, rc, body, sources);
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
