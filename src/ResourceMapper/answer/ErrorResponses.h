// Responses that report failures, and the messages that accompany an action's outcome.
#ifndef RESOURCE_MAPPER_ANSWER_ERROR_RESPONSES_H_
#define RESOURCE_MAPPER_ANSWER_ERROR_RESPONSES_H_

#include "ResourceMapper.h"

namespace cimgate {

// ResourceMapper::SendExtendedErrorResponse(), SendExtendedMessageForPost(),
// SendExtendedErrorMessagesForPost() and SendMultipleExtendedErrorMessagesForPost().
void sendErrorResponse(ResourceMapper& mapper, _ResourceMapperError code);
void sendActionOutcome(ResourceMapper& mapper, const char* messageId, Json::Value body,
                       unsigned char kind);
void sendActionError(ResourceMapper& mapper, const char* messageId, const Json::Value& args);
void sendActionErrors(ResourceMapper& mapper, const Json::Value& messageIds,
                      const Json::Value& args);

// ResourceMapper::ReturnQERMErrCode().
const char* productMessageId(unsigned int code);

// ResourceMapper::ConvertCMPIErrortoRMError().
_ResourceMapperError errorOfStatus(ResourceMapper& mapper, CMPIrc rc);

} // namespace cimgate

#endif
