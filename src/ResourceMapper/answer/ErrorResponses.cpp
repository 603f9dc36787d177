#include "ResourceMapper/answer/ErrorResponses.h"

#include "ErrorTables.h"
#include "JsonAccess.h"
#include "Log.h"
#include "MessageArguments.h"

#include <vector>

namespace cimgate {

namespace {

constexpr const char* kJsonContent = "application/json";
constexpr unsigned int kBadRequest = 400;
// A message takes no more arguments than this.
constexpr size_t kMaxArguments = 3;

// Outcomes of an action.
constexpr unsigned char kCompleted = 0;
constexpr unsigned char kStarted = 1;

int statusOfOutcome(unsigned char kind)
{
    if (kind == kCompleted) {
        return 200;
    }
    return kind == kStarted ? 202 : 0;
}

// How an error named by its product message id is answered.
struct PostError
{
    // Takes status and base message of a message id that has them; keeps both otherwise.
    void lookUp(const char* messageId)
    {
        const BaseRegistryErrorCode* row = findBaseRegistryErrorCode(messageId);
        if (row != nullptr) {
            LOG_AT(LOG_FACT,
                   "SendExtendedErrorMessagesForPost: Setting BaseMessage Registry Error Code");
            status = row->httpStatus;
            baseMessage = row->baseMessage;
        }
    }

    unsigned int status = kBadRequest;
    const char* baseMessage = nullptr;
};

// The texts of an array.
std::vector<std::string> textsOf(const Json::Value& array)
{
    std::vector<std::string> texts;
    if (array.isArray()) {
        for (const Json::Value& element : array) {
            texts.push_back(textOf(element));
        }
    }
    return texts;
}

std::vector<std::string> pendingErrorArguments(const ResourceMapper& mapper)
{
    std::vector<std::string> values;
    for (const Json::Value& value : objectOf(mapper.mErrorArgs)) {
        values.push_back(textOf(value));
        LOG_AT(LOG_FACT, "ErrorParams: %d value: %s", static_cast<int>(values.size() - 1),
               values.back().c_str());
    }
    return values;
}

void sendExtendedError(ResourceMapper& mapper, unsigned int status, const char* failureText)
{
    std::string body;
    mapper.mExtendedErrorInfo.GetNewExtendedErrMsg(body);
    mapper.mScope.SetStatus(static_cast<int>(status));
    mapper.mScope.WriteBody(kJsonContent, body);
    if (mapper.mScope.SendResult(1, "") == 0) {
        LOG_AT(LOG_SEND_FAILURE, "%s", failureText);
    }
}

} // namespace

void sendErrorResponse(ResourceMapper& mapper, _ResourceMapperError code)
{
    LOG_SCOPE_AS("SendExtendedErrorResponse");
    // A second line, which those who search the logs count on.
    LOG_AT(LOG_STEP, "Entering");
    unsigned int status = kInternalServerError;
    const std::vector<std::string> args = pendingErrorArguments(mapper);
    RM_ASSERT_TEXT(args.size() <= kMaxArguments, "false");
    withArguments(args, [&](auto... texts) {
        AppendExtendedErrorMessages(code, mapper.mExtendedErrorInfo, &status, texts...);
    });
    sendExtendedError(mapper, status, "Check syslog for more details on failure");
}

void sendActionOutcome(ResourceMapper& mapper, const char* messageId, Json::Value body,
                       unsigned char kind)
{
    LOG_SCOPE_AS("SendExtendedMessageForPost");
    // An action's own message outputs are told by the extended message instead.
    for (const char* member :
         {"MessageArguments", "MessageArgs", "MsgArgs", "Message", "MessageID"}) {
        if (hasMember(body, member)) {
            body.removeMember(member);
        }
    }
    if (kind == kCompleted) {
        mapper.mExtendedErrorInfo.AppendSuccessExtendedJSON(body, messageId);
    } else if (kind == kStarted) {
        mapper.mExtendedErrorInfo.AppendCreatedExtendedJSON(body);
    }
    mapper.mScope.SetStatus(statusOfOutcome(kind));
    mapper.mScope.WriteBody(kJsonContent, writeJson(body));
    mapper.mScope.SendResult(0, "");
}

void sendActionError(ResourceMapper& mapper, const char* messageId, const Json::Value& args)
{
    LOG_SCOPE_AS("SendExtendedErrorMessagesForPost");
    const char* const id = messageId == nullptr ? "" : messageId;
    LOG_AT(LOG_FACT, "SendExtendedErrorMessagesForPost: MsgID (%s)", id);
    pendingErrorArguments(mapper);
    PostError error;
    error.lookUp(id);
    insertMessages(mapper.mExtendedErrorInfo, id, error.baseMessage, textsOf(args));
    sendExtendedError(mapper, error.status, "Sendresult Failed");
}

void sendActionErrors(ResourceMapper& mapper, const Json::Value& messageIds,
                      const Json::Value& args)
{
    LOG_SCOPE_AS("SendMultipleExtendedErrorMessagesForPost");
    const std::vector<std::string> ids = textsOf(messageIds);
    std::vector<std::string> arguments = textsOf(args);
    arguments.resize(ids.size());
    // One for the whole response: a message without a row takes what the one before it has set.
    PostError error;
    for (size_t i = 0; i < ids.size(); ++i) {
        LOG_AT(LOG_STEP, "MessageID is:%s", ids[i].c_str());
        error.lookUp(ids[i].c_str());
        insertMessages(mapper.mExtendedErrorInfo, ids[i].c_str(), error.baseMessage,
                       {arguments[i]});
    }
    sendExtendedError(mapper, error.status, "Sendresult Failed");
}

const char* productMessageId(unsigned int code)
{
    const GenericErrorMessage* row = findGenericErrorMessage(code);
    return row == nullptr ? nullptr : row->messageId;
}

_ResourceMapperError errorOfStatus(ResourceMapper& mapper, CMPIrc rc)
{
    LOG_SCOPE_AS("ConvertCMPIErrortoRMError");
    switch (rc) {
    case CMPI_RC_ERR_FAILED:
        return RM_INTERNAL_ERROR;
    case CMPI_RC_ERR_ACCESS_DENIED:
        return RM_INSUFFICIENT_PRIVILEGE;
    case CMPI_RC_ERR_INVALID_NAMESPACE:
    case CMPI_RC_ERR_INVALID_PARAMETER:
    case CMPI_RC_ERR_INVALID_CLASS:
        return failWith(mapper.mErrorArgs, RM_RESOURCE_NOT_IN_RMF, mapper.mOemResourceName);
    case CMPI_RC_ERR_METHOD_NOT_AVAILABLE:
    case CMPI_RC_ERR_METHOD_NOT_FOUND:
        return RM_METHOD_NOT_ALLOWED;
    default:
        assertionFailed(__FILE__, __LINE__, logName(__func__), "false");
    }
}

} // namespace cimgate
