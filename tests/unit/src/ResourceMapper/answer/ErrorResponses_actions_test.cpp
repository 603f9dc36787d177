// What is sent after an action: its outcome, or an error named by its message id.
#include "LibraryTest.h"

namespace {

using support::countLogged;
using support::idsOf;
using support::IsJson;
using support::json;
using support::logged;
using support::loggedFrom;
using support::Request;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

using Ids = std::vector<std::string>;

Json::Value errorMessages(const Request& request)
{
    return request.Body()["error"]["@Message.ExtendedInfo"];
}

class ActionResponse : public support::LibraryTest
{
protected:
    static void expectError(const Request& request, int status, const Ids& ids)
    {
        EXPECT_EQ(request.scope.GetStatus(), status);
        EXPECT_STREQ(request.scope.GetContentType(), "application/json");
        EXPECT_THAT(idsOf(errorMessages(request)), ElementsAreArray(ids));
        EXPECT_EQ(request.scope.GetResult(), 1);
    }
};

constexpr const char* kOutputs = R"({
    "Message": "m", "MessageArguments": ["a"], "MessageArgs": ["a"], "MsgArgs": ["a"],
    "MessageID": "SYS413", "JobID": "J1"})";

TEST_F(ActionResponse, SuccessReplacesTheMethodsMessage)
{
    Request request("/r/X");
    request.mapper.SendExtendedMessageForPost("SYS446", json(kOutputs), 0);
    EXPECT_EQ(request.scope.GetStatus(), 200);
    EXPECT_STREQ(request.scope.GetContentType(), "application/json");
    EXPECT_EQ(request.scope.GetResult(), 0);
    const Json::Value body = request.Body();
    EXPECT_THAT(body.getMemberNames(), ElementsAre("@Message.ExtendedInfo", "JobID"));
    EXPECT_THAT(idsOf(body["@Message.ExtendedInfo"]), ElementsAre("Vexo.1.0.SYS446"));
    EXPECT_TRUE(loggedFrom(3, "SendExtendedMessageForPost", "Entering"));
    EXPECT_TRUE(loggedFrom(3, "SendExtendedMessageForPost", "Leaving"));
}

TEST_F(ActionResponse, StartedJobIsAcceptedAndCreated)
{
    Request request("/r/X");
    request.mapper.SendExtendedMessageForPost("SYS446", json(kOutputs), 1);
    EXPECT_EQ(request.scope.GetStatus(), 202);
    EXPECT_EQ(request.scope.GetResult(), 0);
    const Json::Value body = request.Body();
    EXPECT_THAT(body.getMemberNames(), ElementsAre("@Message.ExtendedInfo", "JobID"));
    EXPECT_THAT(idsOf(body["@Message.ExtendedInfo"]), ElementsAre("Base.1.18.Created"));
}

TEST_F(ActionResponse, OtherKindsAddNothing)
{
    Request request("/r/X");
    request.mapper.SendExtendedMessageForPost("SYS446", json(kOutputs), 2);
    EXPECT_EQ(request.scope.GetStatus(), 0);
    EXPECT_EQ(request.scope.GetBody(), "{\"JobID\":\"J1\"}\n");
    EXPECT_EQ(request.scope.GetResult(), 0);
}

TEST_F(ActionResponse, OutcomeWithoutOutputsCarriesTheMessageAlone)
{
    Request request("/r/X");
    request.mapper.SendExtendedMessageForPost("SYS446", Json::Value(), 0);
    EXPECT_THAT(request.Body().getMemberNames(), ElementsAre("@Message.ExtendedInfo"));
}

TEST_F(ActionResponse, BodyThatIsNoObjectIsSentAsItIs)
{
    Request request("/r/X");
    request.mapper.SendExtendedMessageForPost("SYS446", json("[1]"), 2);
    EXPECT_EQ(request.scope.GetBody(), "[1]\n");
}

struct MessageRow
{
    const char* id;
    int status;
    const char* base; // null for none
};

constexpr MessageRow kMessageRows[] = {
    {"SYS405", 400, "MalformedJSON"},
    {"SYS403", 404, "ResourceMissingAtURI"},
    {"SYS402", 405, nullptr},
    {"SYS429", 400, "PropertyUnknown"},
    {"SYS426", 400, "PropertyValueNotInList"},
    {"SYS425", 400, "PropertyValueTypeError"},
    {"SYS428", 400, "PropertyMissing"},
    {"SYS419", 404, nullptr},
};

Ids idsOf(const MessageRow& row)
{
    Ids ids{std::string("Vexo.1.0.") + row.id};
    if (row.base != nullptr) {
        ids.push_back(std::string("Base.1.18.") + row.base);
    }
    return ids;
}

constexpr const char* kBaseFound =
    "SendExtendedErrorMessagesForPost: Setting BaseMessage Registry Error Code";

TEST_F(ActionResponse, ErrorWithAStandardMessageHasItsStatus)
{
    for (const MessageRow& row : kMessageRows) {
        SCOPED_TRACE(row.id);
        support::LogCapture::Reset();
        Request request("/r/X");
        Json::Value args(Json::arrayValue);
        request.mapper.SendExtendedErrorMessagesForPost(row.id, args);
        expectError(request, row.status, idsOf(row));
        EXPECT_TRUE(
            logged(4, std::string("SendExtendedErrorMessagesForPost: MsgID (") + row.id + ")"));
        EXPECT_TRUE(logged(4, kBaseFound));
    }
}

TEST_F(ActionResponse, OtherErrorsAreBadRequestsWithTheProductMessageAlone)
{
    for (const char* id : {"SYS446", "SYS407", "sys405", "SYS4055"}) {
        SCOPED_TRACE(id);
        Request request("/r/X");
        Json::Value args;
        request.mapper.SendExtendedErrorMessagesForPost(id, args);
        EXPECT_EQ(request.scope.GetStatus(), 400);
        EXPECT_EQ(errorMessages(request).size(), 1U);
        EXPECT_EQ(countLogged(4, "SendExtendedErrorMessagesForPost", kBaseFound), 0);
    }
}

TEST_F(ActionResponse, ErrorArgumentsKeepTheirOrder)
{
    for (const char* text : {R"(["a"])", R"(["a", "b"])", R"(["a", "b", "c"])"}) {
        SCOPED_TRACE(text);
        Request request("/r/X");
        Json::Value args = json(text);
        request.mapper.SendExtendedErrorMessagesForPost("SYS425", args);
        const Json::Value messages = errorMessages(request);
        ASSERT_EQ(messages.size(), 2U);
        EXPECT_EQ(messages[1]["MessageArgs"][0].asString(), "a");
        EXPECT_EQ(messages[1]["MessageArgs"][1].asString(), args.size() > 1 ? "b" : "");
    }
}

TEST_F(ActionResponse, PendingArgumentsAreOnlyLogged)
{
    Request request("/r/X");
    request.mapper.mErrorArgs = json(R"({"p1": "pending"})");
    Json::Value args = json(R"(["given"])");
    request.mapper.SendExtendedErrorMessagesForPost("SYS429", args);
    EXPECT_TRUE(logged(4, "ErrorParams: 0 value: pending"));
    EXPECT_THAT(errorMessages(request)[1]["MessageArgs"], IsJson(R"(["given"])"));
}

TEST_F(ActionResponse, ErrorThatCannotBeSentIsLogged)
{
    Request request("/r/X");
    Json::Value args(Json::arrayValue);
    request.mapper.SendExtendedErrorMessagesForPost("SYS405", args);
    EXPECT_THAT(support::messagesAtLevel(0), IsEmpty());
    request.mapper.SendExtendedErrorMessagesForPost("SYS405", args);
    EXPECT_THAT(support::messagesAtLevel(0), ElementsAre("Sendresult Failed"));
}

class SeveralErrors : public ActionResponse
{
protected:
    static void send(Request& request, const std::string& ids, const std::string& args)
    {
        Json::Value idList = json(ids);
        Json::Value argList = json(args);
        request.mapper.SendMultipleExtendedErrorMessagesForPost(idList, argList);
    }
};

TEST_F(SeveralErrors, EachHasItsOwnArgument)
{
    Request request("/r/X");
    send(request, R"(["SYS429", "SYS428"])", R"(["Colour", "Size"])");
    expectError(request, 400,
                {"Vexo.1.0.SYS429", "Base.1.18.PropertyUnknown", "Vexo.1.0.SYS428",
                 "Base.1.18.PropertyMissing"});
    EXPECT_THAT(errorMessages(request)[1]["MessageArgs"], IsJson(R"(["Colour"])"));
    EXPECT_THAT(errorMessages(request)[3]["MessageArgs"], IsJson(R"(["Size"])"));
    EXPECT_TRUE(logged(3, "MessageID is:SYS429"));
    EXPECT_TRUE(logged(3, "MessageID is:SYS428"));
    EXPECT_TRUE(support::loggedAnywhere(kBaseFound));
}

TEST_F(SeveralErrors, StandardMessageAndStatusCarryOver)
{
    Request request("/r/X");
    send(request, R"(["SYS446", "SYS403", "SYS446"])", R"(["a", "b", "c"])");
    expectError(request, 404,
                {"Vexo.1.0.SYS446", "Vexo.1.0.SYS403", "Base.1.18.ResourceMissingAtURI",
                 "Vexo.1.0.SYS446", "Base.1.18.ResourceMissingAtURI"});
}

TEST_F(SeveralErrors, RowWithoutStandardMessageEndsTheCarryOver)
{
    Request request("/r/X");
    send(request, R"(["SYS403", "SYS402", "SYS446"])", R"(["a", "b", "c"])");
    expectError(request, 405,
                {"Vexo.1.0.SYS403", "Base.1.18.ResourceMissingAtURI", "Vexo.1.0.SYS402",
                 "Vexo.1.0.SYS446"});
}

TEST_F(SeveralErrors, NoneGiveAnErrorWithoutMessages)
{
    Request request("/r/X");
    send(request, "[]", "[]");
    expectError(request, 400, {});
    EXPECT_TRUE(request.Body().isMember("error"));
}

TEST_F(SeveralErrors, MissingArgumentsAreEmpty)
{
    Request request("/r/X");
    send(request, R"(["SYS429", "SYS429"])", R"(["Colour"])");
    expectError(request, 400,
                {"Vexo.1.0.SYS429", "Base.1.18.PropertyUnknown", "Vexo.1.0.SYS429",
                 "Base.1.18.PropertyUnknown"});
    EXPECT_THAT(errorMessages(request)[3]["MessageArgs"], IsJson(R"([""])"));
}

TEST_F(SeveralErrors, ErrorThatCannotBeSentIsLogged)
{
    Request request("/r/X");
    send(request, R"(["SYS429"])", R"(["a"])");
    EXPECT_THAT(support::messagesAtLevel(0), IsEmpty());
    send(request, R"(["SYS429"])", R"(["a"])");
    EXPECT_THAT(support::messagesAtLevel(0), ElementsAre("Sendresult Failed"));
}

} // namespace
