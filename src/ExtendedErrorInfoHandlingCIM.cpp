#include "ExtendedErrorInfoHandlingCIM.h"

#include "ErrorTables.h"
#include "Log.h"
#include "MessageArguments.h"

#include <ExtendedErrorInfoHandling.h>

#include <cstring>
#include <initializer_list>

namespace cimgate {

namespace {

// Searched from the top, first match wins; ended by a row of zeros.
constexpr GenericErrorMessage Rf_GenericErrorMessages[] = {
    {RM_INTERNAL_ERROR, 500, "SYS446", "InternalError"},
    {RM_RMF_NOT_PRESENT, 404, "SYS403", "ResourceMissingAtURI"},
    {RM_MALFORMED_JSON, 400, "SYS405", "MalformedJSON"},
    {RM_RESOURCE_NOT_IN_RMF, 404, "SYS403", "ResourceMissingAtURI"},
    {RM_METHOD_NOT_ALLOWED, 405, "SYS402", nullptr},
    {RM_PROPERTY_VALUE_ERROR, 400, nullptr, "PropertyValueTypeError"},
    {RM_INVALID_URI, 404, "SYS403", "ResourceMissingAtURI"},
    {RM_QUERY_PARAM_FORMAT_ERROR, 400, "SYS407", "QueryParameterValueFormatError"},
    {RM_QUERY_PARAM_VALUE_ERROR, 400, "SYS407", "QueryParameterValueFormatError"},
    {RM_QUERY_PARAM_OUT_OF_RANGE, 400, "SYS417", "QueryParameterOutOfRange"},
    {RM_INSUFFICIENT_PRIVILEGE, 403, "KTX0506", "InsufficientPrivilege"},
    {RM_PROPERTY_UNKNOWN, 400, "SYS429", "PropertyUnknown"},
    {RM_PROPERTY_VALUE_NOT_IN_LIST, 400, "SYS426", "PropertyValueNotInList"},
    {RM_PROPERTY_VALUE_TYPE_ERROR, 400, "SYS425", "PropertyValueTypeError"},
    {RM_PROPERTY_MISSING, 400, "SYS428", "PropertyMissing"},
    {RM_INSTANCE_NOT_FOUND, 404, "SYS419", nullptr},
    {RM_QUERY_NOT_SUPPORTED, 501, "SYS451", "QueryNotSupported"},
    {0, 0, nullptr, nullptr}};

constexpr BaseRegistryErrorCode RF_BaseRegistryErrorCodes[] = {
    {400, "SYS405", "MalformedJSON"},
    {404, "SYS403", "ResourceMissingAtURI"},
    {405, "SYS402", nullptr},
    {400, "SYS429", "PropertyUnknown"},
    {400, "SYS426", "PropertyValueNotInList"},
    {400, "SYS425", "PropertyValueTypeError"},
    {400, "SYS428", "PropertyMissing"},
    {404, "SYS419", nullptr},
    {0, nullptr, nullptr}};

// The arguments given; none when the first is null.
std::vector<std::string> argumentsOf(std::initializer_list<const char*> given)
{
    std::vector<std::string> args;
    if (*given.begin() != nullptr) {
        for (const char* argument : given) {
            args.emplace_back(argument == nullptr ? "" : argument);
        }
    }
    return args;
}

// Adds the messages of a code by insert(row), or a general one where it has no row.
template <typename Insert>
int appendMessages(unsigned int code, ExtendedErrorInfoHandling& info, unsigned int* httpStatus,
                   const Insert& insert)
{
    const GenericErrorMessage* row = findGenericErrorMessage(code);
    if (row == nullptr) {
        info.InsertBaseMessageID("GeneralError", "");
        *httpStatus = kInternalServerError;
        return 0;
    }
    insert(*row);
    *httpStatus = row->httpStatus;
    return 1;
}

int appendWithArguments(unsigned int code, ExtendedErrorInfoHandling& info,
                        unsigned int* httpStatus, const std::vector<std::string>& args)
{
    return appendMessages(code, info, httpStatus, [&](const GenericErrorMessage& row) {
        insertMessages(info, row.messageId, row.baseMessage, args);
    });
}

void insertWithoutArguments(ExtendedErrorInfoHandling& info, const GenericErrorMessage& row)
{
    if (row.messageId != nullptr) {
        info.InsertMessageID(row.messageId);
    }
    if (row.baseMessage != nullptr) {
        info.InsertBaseMessageID(row.baseMessage, "");
    }
}

} // namespace

const GenericErrorMessage* findGenericErrorMessage(unsigned int code)
{
    for (const GenericErrorMessage* row = Rf_GenericErrorMessages; row->code != 0; ++row) {
        if (row->code == code) {
            return row;
        }
    }
    return nullptr;
}

const BaseRegistryErrorCode* findBaseRegistryErrorCode(const char* messageId)
{
    for (const BaseRegistryErrorCode* row = RF_BaseRegistryErrorCodes; row->messageId != nullptr;
         ++row) {
        if (std::strcmp(row->messageId, messageId) == 0) {
            return row;
        }
    }
    return nullptr;
}

void insertMessages(ExtendedErrorInfoHandling& info, const char* messageId, const char* baseMessage,
                    const std::vector<std::string>& args)
{
    if (messageId != nullptr) {
        withArguments(args, [&](auto... texts) { info.InsertMessageID(messageId, "", texts...); });
    }
    if (baseMessage != nullptr) {
        withArguments(args,
                      [&](auto... texts) { info.InsertBaseMessageID(baseMessage, "", texts...); });
    }
}

} // namespace cimgate

int AppendExtendedErrorMessages(unsigned int code, ExtendedErrorInfoHandling& info,
                                unsigned int* httpStatus)
{
    LOG_SCOPE();
    return cimgate::appendMessages(code, info, httpStatus,
                                   [&info](const cimgate::GenericErrorMessage& row) {
                                       cimgate::insertWithoutArguments(info, row);
                                   });
}

int AppendExtendedErrorMessages(unsigned int code, ExtendedErrorInfoHandling& info,
                                unsigned int* httpStatus, const char* a1)
{
    LOG_SCOPE();
    return cimgate::appendWithArguments(code, info, httpStatus, cimgate::argumentsOf({a1}));
}

int AppendExtendedErrorMessages(unsigned int code, ExtendedErrorInfoHandling& info,
                                unsigned int* httpStatus, const char* a1, const char* a2)
{
    LOG_SCOPE();
    return cimgate::appendWithArguments(code, info, httpStatus, cimgate::argumentsOf({a1, a2}));
}

int AppendExtendedErrorMessages(unsigned int code, ExtendedErrorInfoHandling& info,
                                unsigned int* httpStatus, const char* a1, const char* a2,
                                const char* a3)
{
    LOG_SCOPE();
    return cimgate::appendWithArguments(code, info, httpStatus, cimgate::argumentsOf({a1, a2, a3}));
}
