// Operations that send the answer, or set its headers.
#include "ResourceMapper.h"
#include "ResourceMapper/answer/ErrorResponses.h"
#include "ResourceMapper/answer/Response.h"

void ResourceMapper::SendResponse(Json::Value& body)
{
    cimgate::sendResponse(mScope, body);
}

void ResourceMapper::SetLinkHeader()
{
    cimgate::setLinkHeader(*this);
}

void ResourceMapper::SetAllowedHeader()
{
    cimgate::setAllowedHeader(*this);
}

void ResourceMapper::SendExtendedErrorResponse(_ResourceMapperError code)
{
    cimgate::sendErrorResponse(*this, code);
}

void ResourceMapper::SendExtendedMessageForPost(const char* messageId, Json::Value body,
                                                unsigned char kind)
{
    cimgate::sendActionOutcome(*this, messageId, std::move(body), kind);
}

void ResourceMapper::SendExtendedErrorMessagesForPost(const char* messageId, Json::Value& args)
{
    cimgate::sendActionError(*this, messageId, args);
}

void ResourceMapper::SendMultipleExtendedErrorMessagesForPost(Json::Value& messageIds,
                                                              Json::Value& args)
{
    cimgate::sendActionErrors(*this, messageIds, args);
}

_ResourceMapperError ResourceMapper::ConvertCMPIErrortoRMError(CMPIrc rc)
{
    return cimgate::errorOfStatus(*this, rc);
}

const char* ResourceMapper::ReturnQERMErrCode(unsigned int code)
{
    return cimgate::productMessageId(code);
}
