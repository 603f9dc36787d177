#include "compose/compose_handler.h"

#include "compose/expansion.h"
#include "compose/part_reader.h"
#include "compose/query.h"
#include "error_body.h"
#include "resource_headers.h"
#include "schema/addresses.h"
#include "worker/representation.h"

#include <JsonAccess.h>
#include <ResourceMapper.h>
#include <ResourceMapper/mapping/Entry.h>

#include <utility>

namespace host::compose {

namespace {

using service_file::kMembers;

std::string pathOf(const std::string& target)
{
    return service_file::servedUri(target.substr(0, target.find('?')));
}

// The body, or why there is none.
using Outcome = std::variant<Json::Value, httpd::Response>;

// The only member of a collection takes its place; one with none or several stays.
Outcome onlyMember(Json::Value body, Expansion& expansion)
{
    if (!body.isMember(kMembers)) {
        return errorResponse(httpd::kBadRequest, "QueryNotSupported");
    }
    if (body[kMembers].size() != 1) {
        return body;
    }
    const std::string member = cimgate::textOf(body[kMembers][0], cimgate::mapping::kOdataId);
    std::optional<Json::Value> found = expansion.bodyAt(service_file::servedUri(member));
    return found ? Outcome(std::move(*found)) : errorResponseOfCode(RM_INVALID_URI, member);
}

Outcome compose(const std::string& target, const Query& query, Expansion& expansion)
{
    std::optional<Json::Value> body = expansion.bodyAt(pathOf(target));
    if (!body) {
        return errorResponseOfCode(RM_INVALID_URI, target);
    }
    if (query.isOnly) {
        Outcome only = onlyMember(std::move(*body), expansion);
        if (std::holds_alternative<httpd::Response>(only)) {
            return only;
        }
        body = std::get<Json::Value>(std::move(only));
    }
    if (query.expand && !expansion.expand(*body, *query.expand)) {
        return errorResponse(httpd::kInsufficientStorage, "InsufficientStorage");
    }
    if (!query.select.empty()) {
        const std::string missing = select(*body, query.select);
        if (!missing.empty()) {
            return errorResponseOfCode(RM_PROPERTY_UNKNOWN, missing);
        }
    }
    return std::move(*body);
}

httpd::Response responseOf(const Json::Value& body)
{
    httpd::Response response;
    response.headers.push_back({"Content-Type", "application/json"});
    const auto type = schema::typeNameOf(cimgate::textOf(body, "@odata.type"));
    completeHeaders(response, type ? schema::jsonSchemaUriOf(*type) : "");
    response.body = cimgate::writeJson(body);
    return response;
}

} // namespace

std::optional<httpd::Response> handleCompose(const ComposeRequest& request, Sources& sources)
{
    odata::Scope scope = odata::Scope::ForRequest(request.target);
    auto query = readQuery(request.target, scope.NewURI());
    if (auto* refused = std::get_if<httpd::Response>(&query)) {
        return std::move(*refused);
    }
    PartReader parts(sources);
    Expansion expansion(parts, sources.service);
    Outcome outcome = compose(request.target, std::get<Query>(query), expansion);
    if (parts.waitsForLive()) {
        if (!request.mayReadLive) {
            return std::nullopt;
        }
        parts.beginLive();
        outcome = compose(request.target, std::get<Query>(query), expansion);
    }
    if (auto* refused = std::get_if<httpd::Response>(&outcome)) {
        return std::move(*refused);
    }
    httpd::Response response = responseOf(std::get<Json::Value>(outcome));
    response.mayBeKept = parts.isOfCache();
    addRepresentation(response, request.wantsGzip);
    return response;
}

} // namespace host::compose
