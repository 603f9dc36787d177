// Responses that report failures, and the messages that accompany an action's outcome.
#include "ErrorTables.h"
#include "JsonAccess.h"
#include "Log.h"
#include "ResourceMapper.h"

using namespace cimgate; // NOLINT(google-build-using-namespace): most of what stands here

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

} // namespace

std::vector<std::string> ResourceMapper::pendingErrorArguments() const
{
    std::vector<std::string> values;
    for (const Json::Value& value : objectOf(mErrorArgs)) {
        values.push_back(textOf(value));
        LOG_AT(LOG_FACT, "ErrorParams: %d value: %s", static_cast<int>(values.size() - 1),
               values.back().c_str());
    }
    return values;
}

void ResourceMapper::sendExtendedError(unsigned int status, const char* failureText)
{
    std::string body;
    mExtendedErrorInfo.GetNewExtendedErrMsg(body);
    mScope.SetStatus(static_cast<int>(status));
    mScope.WriteBody(kJsonContent, body);
    if (mScope.SendResult(1, "") == 0) {
        LOG_AT(LOG_SEND_FAILURE, "%s", failureText);
    }
}

void ResourceMapper::SendExtendedErrorResponse(_ResourceMapperError code)
{
    LOG_SCOPE();
    // Log scanners count on the second line of this operation.
    LOG_AT(LOG_STEP, "Entering");
    unsigned int status = kInternalServerError;
    const std::vector<std::string> args = pendingErrorArguments();
    switch (args.size()) {
    case 0:
        AppendExtendedErrorMessages(code, mExtendedErrorInfo, &status);
        break;
    case 1:
        AppendExtendedErrorMessages(code, mExtendedErrorInfo, &status, args[0].c_str());
        break;
    case 2:
        AppendExtendedErrorMessages(code, mExtendedErrorInfo, &status, args[0].c_str(),
                                    args[1].c_str());
        break;
    case kMaxArguments:
        AppendExtendedErrorMessages(code, mExtendedErrorInfo, &status, args[0].c_str(),
                                    args[1].c_str(), args[2].c_str());
        break;
    default:
        RM_ASSERT(false);
    }
    sendExtendedError(status, "Check syslog for more details on failure");
}

void ResourceMapper::SendExtendedMessageForPost(const char* messageId, Json::Value body,
                                                unsigned char kind)
{
    LOG_SCOPE();
    // An action's own message outputs are told by the extended message instead.
    for (const char* member :
         {"MessageArguments", "MessageArgs", "MsgArgs", "Message", "MessageID"}) {
        if (hasMember(body, member)) {
            body.removeMember(member);
        }
    }
    if (kind == kCompleted) {
        mExtendedErrorInfo.AppendSuccessExtendedJSON(body, messageId);
    } else if (kind == kStarted) {
        mExtendedErrorInfo.AppendCreatedExtendedJSON(body);
    }
    mScope.SetStatus(statusOfOutcome(kind));
    mScope.WriteBody(kJsonContent, writeJson(body));
    mScope.SendResult(0, "");
}

void ResourceMapper::SendExtendedErrorMessagesForPost(const char* messageId, Json::Value& args)
{
    LOG_SCOPE();
    const char* const id = messageId == nullptr ? "" : messageId;
    LOG_AT(LOG_FACT, "SendExtendedErrorMessagesForPost: MsgID (%s)", id);
    pendingErrorArguments();
    PostError error;
    error.lookUp(id);
    insertMessages(mExtendedErrorInfo, id, error.baseMessage, textsOf(args));
    sendExtendedError(error.status, "Sendresult Failed");
}

void ResourceMapper::SendMultipleExtendedErrorMessagesForPost(Json::Value& messageIds,
                                                              Json::Value& args)
{
    LOG_SCOPE();
    const std::vector<std::string> ids = textsOf(messageIds);
    std::vector<std::string> arguments = textsOf(args);
    arguments.resize(ids.size());
    // One for the whole response: what an earlier message set holds for the later ones.
    PostError error;
    for (size_t i = 0; i < ids.size(); ++i) {
        LOG_AT(LOG_STEP, "MessageID is:%s", ids[i].c_str());
        error.lookUp(ids[i].c_str());
        insertMessages(mExtendedErrorInfo, ids[i].c_str(), error.baseMessage, {arguments[i]});
    }
    sendExtendedError(error.status, "Sendresult Failed");
}

const char* ResourceMapper::ReturnQERMErrCode(unsigned int code)
{
    const GenericErrorMessage* row = findGenericErrorMessage(code);
    return row == nullptr ? nullptr : row->messageId;
}

_ResourceMapperError ResourceMapper::ConvertCMPIErrortoRMError(CMPIrc rc)
{
    LOG_SCOPE();
    switch (rc) {
    case CMPI_RC_ERR_FAILED:
        return RM_INTERNAL_ERROR;
    case CMPI_RC_ERR_ACCESS_DENIED:
        return RM_INSUFFICIENT_PRIVILEGE;
    case CMPI_RC_ERR_INVALID_NAMESPACE:
    case CMPI_RC_ERR_INVALID_PARAMETER:
    case CMPI_RC_ERR_INVALID_CLASS:
        return failWith(RM_RESOURCE_NOT_IN_RMF, mOemResourceName);
    case CMPI_RC_ERR_METHOD_NOT_AVAILABLE:
    case CMPI_RC_ERR_METHOD_NOT_FOUND:
        return RM_METHOD_NOT_ALLOWED;
    default:
        assertionFailed(__FILE__, __LINE__, __func__, "false");
    }
}
