#include "LibraryTest.h"

namespace {

using support::json;
using support::logged;
using support::loggedFrom;
using support::Request;

class Response : public support::LibraryTest
{};

TEST_F(Response, BodyIsSentAsOneLineOfJson)
{
    Request request("/r/X");
    Json::Value body = json(R"({"b": [1, true, null], "a": "x y"})");
    request.mapper.SendResponse(body);
    EXPECT_EQ(request.scope.GetBody(), "{\"a\":\"x y\",\"b\":[1,true,null]}\n");
    EXPECT_STREQ(request.scope.GetContentType(), "application/json");
    EXPECT_EQ(request.scope.GetStatus(), 200);
    EXPECT_TRUE(request.scope.IsCompleted());
    EXPECT_EQ(request.scope.GetResult(), 0);
    EXPECT_STREQ(request.scope.GetResultText(), "");
    EXPECT_TRUE(loggedFrom(3, "SendResponse", "Entering"));
    EXPECT_TRUE(loggedFrom(3, "SendResponse", "Leaving"));
}

TEST_F(Response, BodyHasTheBytesOfJsoncppsFastWriter)
{
    Json::Value body = json(R"({"": {}, "\"quoted\" \\ name": [], "nested": {"a": [[], {"b": -1}]},
                                "texts": ["", "plain ~!", "\u0001\n\t\b/", "\u007f", "ü€😀"],
                                "numbers": [0, -9223372036854775808, 18446744073709551615, 1.5, 1e300],
                                "others": [null, true, false]})");
    body["texts"].append(std::string("before\0after", 12));
    body["texts"].append("ill-formed \xff");
    body[std::string("na\0me", 5)] = 1;
    body["sparse"][2] = 1;
    Request request("/r/X");
    request.mapper.SendResponse(body);
    EXPECT_EQ(request.scope.GetBody(), Json::FastWriter().write(body));
}

TEST_F(Response, NothingToSendIsNull)
{
    Request request("/r/X");
    Json::Value body;
    request.mapper.SendResponse(body);
    EXPECT_EQ(request.scope.GetBody(), "null\n");
}

TEST_F(Response, SecondResponseIsNotChecked)
{
    Request request("/r/X");
    Json::Value body;
    request.mapper.SendResponse(body);
    request.mapper.SendResponse(body);
    EXPECT_TRUE(support::messagesAtLevel(0).empty());
    EXPECT_TRUE(support::messagesAtLevel(1).empty());
}

TEST_F(Response, LinkHeaderComesFromTheMapping)
{
    Request request("/r/X");
    request.mapper.mResourceObj = json(R"({"Link_Header": "</schema>; rel=describedby"})");
    request.mapper.SetLinkHeader();
    EXPECT_EQ(request.Header("Link"), "</schema>; rel=describedby");
    EXPECT_TRUE(loggedFrom(3, "SetLinkHeader", "Entering"));
    EXPECT_TRUE(loggedFrom(3, "SetLinkHeader", "Leaving"));
}

TEST_F(Response, LinkHeaderIsEmptyWithoutMapping)
{
    Request request("/r/X");
    request.mapper.mResourceObj = json("{}");
    request.mapper.SetLinkHeader();
    EXPECT_EQ(request.Header("Link"), "");
    EXPECT_TRUE(logged(1, "Link_Header metadata is missing in RMF"));
}

TEST_F(Response, AllowHeaderListsTheOperationsInOrder)
{
    const std::pair<const char*, const char*> cases[] = {
        {R"(["GET"])", "GET"},
        {R"(["GET", "POST"])", "GET,POST"},
        {R"(["POST", "GET", "HEAD"])", "POST,GET,HEAD"},
        {R"(["", "GET"])", ",GET"},
        {R"(["GET", "", "POST"])", "GET,,POST"},
        {R"([""])", ""}};
    for (const auto& [operations, header] : cases) {
        Request request("/r/X");
        request.mapper.mResourceObj["allowed_operations"] = json(operations);
        request.mapper.SetAllowedHeader();
        EXPECT_EQ(request.Header("Allow"), header);
        EXPECT_TRUE(logged(3, std::string("Allowed operation: ") + header));
    }
}

TEST_F(Response, NoAllowHeaderForAnEmptyList)
{
    Request request("/r/X");
    request.mapper.mResourceObj = json(R"({"allowed_operations": []})");
    request.mapper.SetAllowedHeader();
    EXPECT_EQ(request.Header("Allow"), std::nullopt);
    EXPECT_TRUE(support::messagesAtLevel(1).empty());
}

TEST_F(Response, NoAllowHeaderWithoutMapping)
{
    Request request("/r/X");
    request.mapper.mResourceObj = json("{}");
    request.mapper.SetAllowedHeader();
    EXPECT_EQ(request.Header("Allow"), std::nullopt);
    EXPECT_TRUE(logged(1, "allowed_operations metadata is missing in RMF"));
}

TEST_F(Response, HeadersOfACollectionAreItsOwn)
{
    mMapping.Write(R"({
        "VexoBoxes": {"@odata.id": "/r/VexoBoxes", "is_collection": true,
                      "Link_Header": "</boxes>", "allowed_operations": ["GET"],
                      "mappings": {"VexoBox": {}}},
        "VexoBox": {"@odata.id": "/r/VexoBox", "Link_Header": "</box>",
                    "allowed_operations": ["GET", "POST"], "mappings": {"C": {}}}})");
    Request request("/r/VexoBoxes");
    ASSERT_EQ(request.mapper.ParseUri(RM_METHOD_GET), RM_OK);
    request.mapper.SetLinkHeader();
    request.mapper.SetAllowedHeader();
    EXPECT_EQ(request.Header("Link"), "</boxes>");
    EXPECT_EQ(request.Header("Allow"), "GET");
}

TEST_F(Response, NamesAreGivenAsText)
{
    Request request("/r/X");
    request.mapper.mOemResourceName = "VexoBox";
    request.mapper.mCimMethodName = "Run";
    EXPECT_STREQ(request.mapper.GetOemResourceName(), "VexoBox");
    EXPECT_STREQ(request.mapper.GetCimMethodName(), "Run");
}

} // namespace
