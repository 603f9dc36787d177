#include "LibraryTest.h"

#include <ExtendedErrorInfoHandling.h>

namespace {

// Calls of the form that names a message alone.
int loneMessageIds = 0; // NOLINT(cppcoreguidelines-avoid-non-const-global-variables)

} // namespace

// Takes the library's place: by what is answered it cannot be told from the form with an empty
// text.
void ExtendedErrorInfoHandling::InsertMessageID(const char* id)
{
    ++loneMessageIds;
    InsertMessageID(id, "");
}

namespace {

using support::countLogged;
using support::idsOf;
using support::IsJson;
using support::json;
using support::LogCapture;
using support::logged;
using support::Request;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

using Ids = std::vector<std::string>;

Json::Value messagesOf(const Json::Value& body)
{
    return body["error"]["@Message.ExtendedInfo"];
}

// The arguments of the message with this id.
Json::Value argumentsOf(const Json::Value& messages, const std::string& id)
{
    for (const Json::Value& message : messages) {
        if (message["MessageId"].asString() == id) {
            return message["MessageArgs"];
        }
    }
    return "no message " + id;
}

Json::Value messagesOf(const ExtendedErrorInfoHandling& info)
{
    std::string text;
    info.GetNewExtendedErrMsg(text);
    return messagesOf(json(text));
}

struct ErrorRow
{
    unsigned int code;
    int status;
    const char* product; // null for none
    const char* base;    // null for none
};

constexpr ErrorRow kErrorRows[] = {
    {1, 403, "KTX0506", "InsufficientPrivilege"},
    {2, 500, "SYS446", "InternalError"},
    {3, 404, "SYS403", "ResourceMissingAtURI"},
    {4, 400, "SYS405", "MalformedJSON"},
    {5, 404, "SYS403", "ResourceMissingAtURI"},
    {6, 405, "SYS402", nullptr},
    {7, 400, nullptr, "PropertyValueTypeError"},
    {8, 404, "SYS403", "ResourceMissingAtURI"},
    {9, 400, "SYS407", "QueryParameterValueFormatError"},
    {10, 400, "SYS407", "QueryParameterValueFormatError"},
    {11, 400, "SYS417", "QueryParameterOutOfRange"},
    {12, 400, "SYS429", "PropertyUnknown"},
    {13, 400, "SYS426", "PropertyValueNotInList"},
    {14, 400, "SYS425", "PropertyValueTypeError"},
    {15, 400, "SYS428", "PropertyMissing"},
    {16, 404, "SYS419", nullptr},
    {17, 501, "SYS451", "QueryNotSupported"},
};

Ids idsOf(const ErrorRow& row)
{
    Ids ids;
    if (row.product != nullptr) {
        ids.push_back(std::string("Vexo.1.0.") + row.product);
    }
    if (row.base != nullptr) {
        ids.push_back(std::string("Base.1.18.") + row.base);
    }
    return ids;
}

class ErrorResponse : public support::LibraryTest
{
protected:
    // Checks what was sent: an error that ends the response.
    static void expectSent(const Request& request, int status, const Ids& ids)
    {
        EXPECT_EQ(request.scope.GetStatus(), status);
        EXPECT_STREQ(request.scope.GetContentType(), "application/json");
        EXPECT_THAT(idsOf(messagesOf(request.Body())), ElementsAreArray(ids));
        EXPECT_EQ(request.scope.GetResult(), 1);
        EXPECT_STREQ(request.scope.GetResultText(), "");
    }
};

TEST_F(ErrorResponse, EachCodeHasItsStatusAndMessages)
{
    for (const ErrorRow& row : kErrorRows) {
        SCOPED_TRACE(row.code);
        Request request("/r/X");
        request.mapper.SendExtendedErrorResponse(static_cast<_ResourceMapperError>(row.code));
        expectSent(request, row.status, idsOf(row));
    }
}

TEST_F(ErrorResponse, CodeWithoutMessagesIsAGeneralError)
{
    for (const _ResourceMapperError code :
         {RM_OK, RM_DATA_NOT_CACHED, static_cast<_ResourceMapperError>(19)}) {
        SCOPED_TRACE(code);
        Request request("/r/X");
        request.mapper.SendExtendedErrorResponse(code);
        expectSent(request, 500, {"Base.1.18.GeneralError"});
    }
}

TEST_F(ErrorResponse, MessageWithoutArgumentsIsNamedAlone)
{
    const auto callsOf = [](auto... arguments) {
        loneMessageIds = 0;
        ExtendedErrorInfoHandling info;
        unsigned int status = 0;
        EXPECT_EQ(AppendExtendedErrorMessages(RM_INVALID_URI, info, &status, arguments...), 1);
        EXPECT_THAT(idsOf(messagesOf(info)),
                    ElementsAre("Vexo.1.0.SYS403", "Base.1.18.ResourceMissingAtURI"));
        return loneMessageIds;
    };
    const char* const none = nullptr;
    EXPECT_EQ(callsOf(), 1);
    EXPECT_EQ(callsOf(none), 0);
    EXPECT_EQ(callsOf(none, "b"), 0);
    EXPECT_EQ(callsOf(none, "b", "c"), 0);
    EXPECT_EQ(callsOf(""), 0);
}

TEST_F(ErrorResponse, MessageOfAnActionIsNamedWithAnEmptyText)
{
    loneMessageIds = 0;
    Request request("/r/X");
    Json::Value none(Json::arrayValue);
    request.mapper.SendExtendedErrorMessagesForPost("SYS405", none);
    expectSent(request, 400, {"Vexo.1.0.SYS405", "Base.1.18.MalformedJSON"});
    EXPECT_EQ(loneMessageIds, 0);
}

TEST_F(ErrorResponse, ArgumentsKeepTheirOrder)
{
    Request request("/r/X");
    request.mapper.mErrorArgs = json(R"({"p3": "1-5", "p1": "9", "p2": "$top"
})");
    request.mapper.SendExtendedErrorResponse(RM_QUERY_PARAM_OUT_OF_RANGE);
    const Json::Value messages = messagesOf(request.Body());
    EXPECT_THAT(argumentsOf(messages, "Base.1.18.QueryParameterOutOfRange"),
                IsJson(R"(["9", "$top", "1-5"])"));
    EXPECT_TRUE(logged(4, "ErrorParams: 0 value: 9"));
    EXPECT_TRUE(logged(4, "ErrorParams: 1 value: $top"));
    EXPECT_TRUE(logged(4, "ErrorParams: 2 value: 1-5"));
}

TEST_F(ErrorResponse, OneAndTwoArgumentsArePassedOn)
{
    Request one("/r/X");
    one.mapper.mErrorArgs = json(R"({"p1": "Colour"})");
    one.mapper.SendExtendedErrorResponse(RM_PROPERTY_UNKNOWN);
    EXPECT_THAT(argumentsOf(messagesOf(one.Body()), "Base.1.18.PropertyUnknown"),
                IsJson(R"(["Colour"])"));
    Request two("/r/X");
    two.mapper.mErrorArgs = json(R"({"p1": "red", "p2": "Colour"})");
    two.mapper.SendExtendedErrorResponse(RM_PROPERTY_VALUE_ERROR);
    EXPECT_THAT(argumentsOf(messagesOf(two.Body()), "Base.1.18.PropertyValueTypeError"),
                IsJson(R"(["red", "Colour"])"));
}

TEST_F(ErrorResponse, MoreThanThreeArgumentsAbort)
{
    Request request("/r/X");
    request.mapper.mErrorArgs = json(R"({"p1": "", "p2": "", "p3": "", "p4": ""})");
    EXPECT_ABORTS("false", request.mapper.SendExtendedErrorResponse(RM_INTERNAL_ERROR));
}

TEST_F(ErrorResponse, EntryIsLoggedTwice)
{
    Request request("/r/X");
    request.mapper.SendExtendedErrorResponse(RM_INVALID_URI);
    EXPECT_EQ(countLogged(3, "SendExtendedErrorResponse", "Entering"), 2);
    EXPECT_EQ(countLogged(3, "SendExtendedErrorResponse", "Leaving"), 1);
}

TEST_F(ErrorResponse, ResponseThatCannotBeSentIsLogged)
{
    Request request("/r/X");
    request.mapper.SendExtendedErrorResponse(RM_INVALID_URI);
    EXPECT_TRUE(support::messagesAtLevel(0).empty());
    request.mapper.SendExtendedErrorResponse(RM_INVALID_URI);
    EXPECT_THAT(support::messagesAtLevel(0),
                ElementsAre("Check syslog for more details on failure"));
}

class AppendMessages : public ErrorResponse
{};

TEST_F(AppendMessages, KnownCodeGivesItsStatusAndMessages)
{
    for (const ErrorRow& row : kErrorRows) {
        SCOPED_TRACE(row.code);
        ExtendedErrorInfoHandling info;
        unsigned int status = 0;
        EXPECT_EQ(AppendExtendedErrorMessages(row.code, info, &status), 1);
        EXPECT_EQ(status, static_cast<unsigned int>(row.status));
        EXPECT_THAT(idsOf(messagesOf(info)), ElementsAreArray(idsOf(row)));
    }
}

TEST_F(AppendMessages, UnknownCodeIsAGeneralErrorInEveryForm)
{
    for (const unsigned int code : {0U, 18U, 19U, 4294967295U}) {
        ExtendedErrorInfoHandling info;
        unsigned int status = 0;
        EXPECT_EQ(AppendExtendedErrorMessages(code, info, &status), 0);
        EXPECT_EQ(AppendExtendedErrorMessages(code, info, &status, "a"), 0);
        EXPECT_EQ(AppendExtendedErrorMessages(code, info, &status, "a", "b"), 0);
        EXPECT_EQ(AppendExtendedErrorMessages(code, info, &status, "a", "b", "c"), 0);
        EXPECT_EQ(status, 500U);
        EXPECT_THAT(idsOf(messagesOf(info)), ElementsAreArray(Ids(4, "Base.1.18.GeneralError")));
    }
}

TEST_F(AppendMessages, NullArgumentsAreEmptyTexts)
{
    constexpr const char* kId = "Base.1.18.QueryParameterOutOfRange";
    const auto arguments = [](auto... values) {
        ExtendedErrorInfoHandling info;
        unsigned int status = 0;
        AppendExtendedErrorMessages(RM_QUERY_PARAM_OUT_OF_RANGE, info, &status, values...);
        return argumentsOf(messagesOf(info), kId);
    };
    const char* const none = nullptr;
    EXPECT_THAT(arguments("a", none, none), IsJson(R"(["a", "", ""])"));
    EXPECT_THAT(arguments("a", none, "c"), IsJson(R"(["a", "", "c"])"));
    EXPECT_THAT(arguments("a", "b", none), IsJson(R"(["a", "b", ""])"));
    EXPECT_THAT(arguments("a", none), IsJson(R"(["a", "", ""])"));
    EXPECT_THAT(arguments("a", "b"), IsJson(R"(["a", "b", ""])"));
}

TEST_F(AppendMessages, NullFirstArgumentCountsAsNone)
{
    for (const char* second : {static_cast<const char*>(nullptr), "b"}) {
        ExtendedErrorInfoHandling info;
        unsigned int status = 0;
        EXPECT_EQ(AppendExtendedErrorMessages(RM_QUERY_PARAM_FORMAT_ERROR, info, &status, nullptr),
                  1);
        EXPECT_EQ(AppendExtendedErrorMessages(RM_QUERY_PARAM_FORMAT_ERROR, info, &status, nullptr,
                                              second, "c"),
                  1);
        EXPECT_EQ(status, 400U);
        const Json::Value messages = messagesOf(info);
        EXPECT_THAT(idsOf(messages),
                    ElementsAre("Vexo.1.0.SYS407", "Base.1.18.QueryParameterValueFormatError",
                                "Vexo.1.0.SYS407", "Base.1.18.QueryParameterValueFormatError"));
        EXPECT_THAT(messages[0]["MessageArgs"], messages[2]["MessageArgs"]);
    }
}

TEST_F(AppendMessages, RelatedPropertyIsEmpty)
{
    ExtendedErrorInfoHandling info;
    unsigned int status = 0;
    AppendExtendedErrorMessages(RM_PROPERTY_UNKNOWN, info, &status, "Colour");
    for (const Json::Value& message : messagesOf(info)) {
        EXPECT_FALSE(message.isMember("RelatedProperties"));
    }
}

TEST_F(AppendMessages, LinesNameTheirSourceFile)
{
    ExtendedErrorInfoHandling info;
    unsigned int status = 0;
    AppendExtendedErrorMessages(RM_INTERNAL_ERROR, info, &status);
    AppendExtendedErrorMessages(RM_OK, info, &status, "a", "b", "c");
    EXPECT_EQ(countLogged(3, "AppendExtendedErrorMessages", "Entering"), 2);
    EXPECT_EQ(countLogged(3, "AppendExtendedErrorMessages", "Leaving"), 2);
    for (const support::LogLine& line : LogCapture::Lines()) {
        if (line.function() == "AppendExtendedErrorMessages") {
            EXPECT_EQ(line.file(), "ExtendedErrorInfoHandlingCIM.cpp");
        }
    }
}

TEST_F(ErrorResponse, MessageIdOfACodeIsThatOfItsRow)
{
    Request request("/r/X");
    for (const ErrorRow& row : kErrorRows) {
        EXPECT_STREQ(request.mapper.ReturnQERMErrCode(row.code), row.product) << row.code;
    }
    for (const unsigned int code : {0U, 18U, 19U, 4294967295U}) {
        EXPECT_EQ(request.mapper.ReturnQERMErrCode(code), nullptr) << code;
    }
}

TEST_F(ErrorResponse, FailedCimCallsAreTranslated)
{
    constexpr std::pair<CMPIrc, _ResourceMapperError> kTranslations[] = {
        {CMPI_RC_ERR_FAILED, RM_INTERNAL_ERROR},
        {CMPI_RC_ERR_ACCESS_DENIED, RM_INSUFFICIENT_PRIVILEGE},
        {CMPI_RC_ERR_INVALID_NAMESPACE, RM_RESOURCE_NOT_IN_RMF},
        {CMPI_RC_ERR_INVALID_PARAMETER, RM_RESOURCE_NOT_IN_RMF},
        {CMPI_RC_ERR_INVALID_CLASS, RM_RESOURCE_NOT_IN_RMF},
        {CMPI_RC_ERR_METHOD_NOT_AVAILABLE, RM_METHOD_NOT_ALLOWED},
        {CMPI_RC_ERR_METHOD_NOT_FOUND, RM_METHOD_NOT_ALLOWED},
    };
    for (const auto& [cim, expected] : kTranslations) {
        SCOPED_TRACE(cim);
        Request request("/r/X");
        request.mapper.mOemResourceName = "VexoBox";
        EXPECT_EQ(request.mapper.ConvertCMPIErrortoRMError(cim), expected);
        if (expected == RM_RESOURCE_NOT_IN_RMF) {
            EXPECT_THAT(request.mapper.mErrorArgs, IsJson(R"({"p1": "VexoBox"})"));
        } else {
            EXPECT_TRUE(request.mapper.mErrorArgs.empty());
        }
    }
}

TEST_F(ErrorResponse, OtherCimResultsAbort)
{
    Request request("/r/X");
    for (const CMPIrc cim : {CMPI_RC_OK, CMPI_RC_ERR_NOT_FOUND, CMPI_RC_ERR_NOT_SUPPORTED,
                             CMPI_RC_ERR_INVALID_QUERY, CMPI_RC_ERROR_SYSTEM, CMPI_RC_ERROR}) {
        EXPECT_ABORTS("false", (void)request.mapper.ConvertCMPIErrortoRMError(cim));
    }
}

} // namespace
