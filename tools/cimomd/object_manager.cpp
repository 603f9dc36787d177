#include "object_manager.h"

#include "cim_status.h"
#include "message_headers.h"
#include "operations.h"
#include "strict_types.h"

#include <algorithm>
#include <iterator>
#include <utility>
#include <variant>

namespace cimomd {

namespace {

struct OperationEntry
{
    const char* name;
    Operation operation;
    bool returnsSomething;
};

constexpr OperationEntry kOperations[] = {
    {"GetClass", getClass, true},
    {"EnumerateClasses", enumerateClasses, true},
    {"EnumerateClassNames", enumerateClassNames, true},
    {"EnumerateInstances", enumerateInstances, true},
    {"EnumerateInstanceNames", enumerateInstanceNames, true},
    {"GetInstance", getInstance, true},
    {"CreateInstance", createInstance, true},
    {"ModifyInstance", modifyInstance, false},
    {"DeleteInstance", deleteInstance, false},
    {"GetProperty", getProperty, true},
    {"SetProperty", setProperty, false},
    {"ExecQuery", execQuery, true},
    {"Associators", associators, true},
    {"AssociatorNames", associatorNames, true},
    {"References", references, true},
    {"ReferenceNames", referenceNames, true},
};

const OperationEntry* findOperation(const std::string& name)
{
    const auto* const found =
        std::find_if(std::begin(kOperations), std::end(kOperations), [&name](const auto& entry) {
            return cimxml::equalsIgnoreCase(entry.name, name);
        });
    return found == std::end(kOperations) ? nullptr : found;
}

// "request-not-valid" and the like are bad requests; what is merely not supported is said to be so.
Refusal refusalOf(const cimxml::RequestFault& fault)
{
    const bool isUnsupported = fault.cimError.find("unsupported") != std::string::npos;
    return {isUnsupported ? kHttpNotImplemented : kHttpBadRequest, fault.cimError, fault.message};
}

CalledOperation calledBy(const cimxml::IntrinsicRequest& request)
{
    return {request.operation, request.nameSpace, {}};
}

CalledOperation calledBy(const cimxml::ExtrinsicRequest& request)
{
    return {request.method, request.object.nameSpace, request.object.className};
}

} // namespace

ObjectManager::Answer ObjectManager::answer(const httpd::Request& request)
{
    Refusal refusal;
    if (!checkHeaders(request, refusal)) {
        return {refusalResponse(refusal)};
    }
    const auto decoded = cimxml::decodeRequest(request.body);
    if (const auto* const fault = std::get_if<cimxml::RequestFault>(&decoded)) {
        return {refusalResponse(refusalOf(*fault))};
    }
    const auto& called = std::get<cimxml::Request>(decoded);
    if (!std::visit([&](const auto& one) { return checkRepeated(request, calledBy(one), refusal); },
                    called)) {
        return {refusalResponse(refusal)};
    }
    if (const auto* const intrinsic = std::get_if<cimxml::IntrinsicRequest>(&called)) {
        return {messageResponse(answer(*intrinsic))};
    }
    std::chrono::milliseconds delay{0};
    std::string text = answer(std::get<cimxml::ExtrinsicRequest>(called), delay);
    return {messageResponse(std::move(text)), delay};
}

std::string ObjectManager::answer(const cimxml::IntrinsicRequest& request)
{
    mMethods.advance();
    std::string text;
    cimxml::CimError error;
    return callIntrinsic(request, text, error)
               ? text
               : cimxml::encodeErrorResponse(request.messageId, request.operation, error);
}

bool ObjectManager::callIntrinsic(const cimxml::IntrinsicRequest& request, std::string& answer,
                                  cimxml::CimError& error)
{
    const OperationEntry* const entry = findOperation(request.operation);
    if (entry == nullptr) {
        return fail(error, kNotSupported,
                    "the operation " + request.operation + " is not supported");
    }
    NameSpace* const nameSpace = findNameSpace(request.nameSpace, error);
    if (nameSpace == nullptr ||
        (mHasStrictTypes && !checkTypes(request, nameSpace->classes(), error))) {
        return false;
    }
    OperationCall call{*nameSpace,
                       mHost,
                       Arguments(request),
                       cimxml::ResponseWriter(request.messageId, request.operation),
                       {}};
    if (!entry->operation(call)) {
        error = std::move(call.error);
        return false;
    }
    answer = entry->returnsSomething
                 ? call.answer.finish()
                 : cimxml::encodeEmptyResponse(request.messageId, request.operation);
    return true;
}

std::string ObjectManager::answer(const cimxml::ExtrinsicRequest& request,
                                  std::chrono::milliseconds& delay)
{
    mMethods.advance();
    MethodResult result;
    cimxml::CimError error;
    const bool isDone = callExtrinsic(request, result, error);
    delay = result.delay;
    if (!isDone) {
        return cimxml::encodeMethodErrorResponse(request.messageId, request.method, error);
    }
    return cimxml::encodeMethodResponse(request.messageId, request.method,
                                        result.returnValue ? &*result.returnValue : nullptr,
                                        result.outputs);
}

bool ObjectManager::callExtrinsic(const cimxml::ExtrinsicRequest& request, MethodResult& result,
                                  cimxml::CimError& error)
{
    NameSpace* const nameSpace = findNameSpace(request.object.nameSpace, error);
    return nameSpace != nullptr &&
           (!mHasStrictTypes || checkTypes(request, nameSpace->classes(), error)) &&
           mMethods.call(*nameSpace, request, result, error);
}

NameSpace* ObjectManager::findNameSpace(const std::string& name, cimxml::CimError& error)
{
    NameSpace* const nameSpace = mRepository.find(name);
    if (nameSpace == nullptr) {
        fail(error, kInvalidNamespace, "there is no namespace " + name);
    }
    return nameSpace;
}

} // namespace cimomd
