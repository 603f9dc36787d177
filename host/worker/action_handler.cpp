#include "worker/action_handler.h"

#include "error_body.h"
#include "host_limits.h"
#include "worker/current_request.h"
#include "worker/scope_response.h"
#include "worker/strict_json.h"

#include <ResourceMapper/mapping/Entry.h>
#include <ResourceMapper/mapping/Links.h>

namespace host {

namespace {

// Messages of the product registry for methods that give none of their own.
constexpr const char* kGeneralSuccess = "SYS413";
constexpr const char* kGeneralFailure = "SYS500";

// Return values of CIM methods. With the second one a method says that it goes on as a job.
constexpr unsigned long kDone = 0;
constexpr unsigned long kJobStarted = 4096;

// Kinds of SendExtendedMessageForPost().
constexpr unsigned char kCompleted = 0;
constexpr unsigned char kStarted = 1;

// Outputs that are told as a message.
constexpr const char* kMessageId = "MessageID";
constexpr const char* kMessageArguments[] = {"MessageArguments", "MessageArgs", "MsgArgs"};

httpd::Response methodRefused(const odata::Scope& scope, const char* allowedMethods)
{
    httpd::Response response = responseOf(scope);
    response.headers.push_back({"Allow", allowedMethods});
    return response;
}

// Whether the library will look links up in the data cache: a POST to the URI of an instance reads
// it, to tell what is wrong with the request.
bool mayReadLinks(const odata::URI& uri)
{
    const unsigned int segments = uri.GetSegmentCount();
    const char* const resource = segments < 2 ? nullptr : uri.GetSegment(segments - 2);
    return resource != nullptr &&
           cimgate::mapping::hasAssociations(cimgate::memberOf(ResourceMapper::RmfObj, resource));
}

// Why the URI names no action.
httpd::Response refuseUri(ResourceMapper& mapper, const odata::Scope& scope,
                          _ResourceMapperError rc, CimSession& cim)
{
    // The library has looked an instance up. Without an object manager nothing is known of it.
    const bool isInstanceMissing =
        rc == RM_INVALID_URI && !mapper.mIsCollection && !mapper.mInstanceId.empty();
    if (const char* const fault = isInstanceMissing ? cim.whyUseless() : nullptr) {
        return withoutObjectManager(fault);
    }
    mapper.SendExtendedErrorResponse(rc);
    return rc == RM_METHOD_NOT_ALLOWED ? methodRefused(scope, kReadMethods) : responseOf(scope);
}

// Why the method was not called, or failed. It is not called again: it may have done its work.
httpd::Response refuseAction(ResourceMapper& mapper, const odata::Scope& scope, unsigned int code,
                             Json::Value& errorArgs)
{
    // Whoever is not let in has had no method carried out.
    const bool isDenied = code == RM_INSUFFICIENT_PRIVILEGE;
    if (const char* const fault = isDenied ? CimSession::whyRefused() : nullptr) {
        return withoutObjectManager(fault);
    }
    switch (code) {
    case RM_PROPERTY_UNKNOWN:
    case RM_PROPERTY_VALUE_NOT_IN_LIST:
    case RM_PROPERTY_VALUE_TYPE_ERROR:
    case RM_PROPERTY_MISSING:
        mapper.SendExtendedErrorMessagesForPost(mapper.ReturnQERMErrCode(code), errorArgs);
        return responseOf(scope);
    default:
        break;
    }
    currentRequest().fail("method " + mapper.mCimMethodName + " was not carried out");
    mapper.SendExtendedErrorResponse(static_cast<_ResourceMapperError>(code));
    // An action that the object manager does not know takes no method at all (RFC 9110, 10.2.1).
    return code == RM_METHOD_NOT_ALLOWED ? methodRefused(scope, "") : responseOf(scope);
}

std::string messageIdOf(const Json::Value& outputs, const char* general)
{
    const Json::Value& id = outputs[kMessageId];
    return id.isString() && !id.asString().empty() ? id.asString() : general;
}

Json::Value messageArgumentsOf(const Json::Value& outputs)
{
    Json::Value arguments(Json::arrayValue);
    for (const char* name : kMessageArguments) {
        const Json::Value& found = outputs[name];
        if (found.isArray()) {
            return found;
        }
        if (!found.isNull()) {
            arguments.append(found);
            break;
        }
    }
    return arguments;
}

// The library takes the arguments out of the body, but not how many there are.
void removeArgumentCounts(Json::Value& outputs)
{
    for (const char* name : kMessageArguments) {
        outputs.removeMember(std::string(name) + "@odata.count");
    }
}

// What the method's outcome says to the client.
void sendOutcome(ResourceMapper& mapper, const odata::Scope& scope, unsigned long returnValue,
                 Json::Value& outputs)
{
    const bool isStarted = returnValue == kJobStarted || hasLocation(scope);
    if (!isStarted && returnValue != kDone) {
        currentRequest().fail("method " + mapper.mCimMethodName + " returned " +
                              std::to_string(returnValue));
        Json::Value arguments = messageArgumentsOf(outputs);
        mapper.SendExtendedErrorMessagesForPost(messageIdOf(outputs, kGeneralFailure).c_str(),
                                                arguments);
        return;
    }
    const std::string messageId = messageIdOf(outputs, kGeneralSuccess);
    removeArgumentCounts(outputs);
    mapper.SendExtendedMessageForPost(messageId.c_str(), std::move(outputs),
                                      isStarted ? kStarted : kCompleted);
}

} // namespace

httpd::Response handlePost(ResourceMapper& mapper, const odata::Scope& scope,
                           const std::string& body, Sources& sources)
{
    if (mayReadLinks(mapper.mURI) && !sources.cache.canFindLinks()) {
        currentRequest().fail(kCacheIsUnreadable);
        return temporarilyUnavailable(kRetryAfterS);
    }
    const _ResourceMapperError rc = mapper.ParseUri(RM_METHOD_POST);
    currentRequest().concerns(mapper.mOemResourceName, mapper.mCimClass);
    if (rc != RM_OK) {
        return refuseUri(mapper, scope, rc, sources.cim);
    }
    Json::Value payload;
    if (!parseObject(body, payload)) {
        mapper.SendExtendedErrorResponse(RM_MALFORMED_JSON);
        return responseOf(scope);
    }
    // Looked for anew each time: 503 invites clients to repeat the action, so that it must mean
    // that nothing was sent. (Without a connection the library would call the action done.)
    if (const char* const fault = sources.cim.renew()) {
        return withoutObjectManager(fault);
    }
    Json::Value outputs(Json::objectValue);
    Json::Value errorArgs(Json::arrayValue);
    Json::Value inputs;
    unsigned long returnValue = kDone;
    const unsigned int code =
        mapper.InvokeAction(outputs, payload, &returnValue, errorArgs, inputs);
    if (code != RM_OK) {
        return refuseAction(mapper, scope, code, errorArgs);
    }
    if (sources.shapes) {
        sources.shapes->shapeOutputs(mapper.mOemResourceName, mapper.mCimMethodName, outputs);
    }
    sendOutcome(mapper, scope, returnValue, outputs);
    return responseOf(scope);
}

} // namespace host
