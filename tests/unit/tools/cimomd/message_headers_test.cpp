// What HTTP must say around a CIM-XML message.
#include "message_headers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using cimomd::Refusal;
using testing::HasSubstr;

httpd::Request request()
{
    return {"POST",
            "/cimom",
            {{"Content-Type", "application/xml; charset=\"utf-8\""},
             {"CIMProtocolVersion", "1.0"},
             {"CIMOperation", "MethodCall"},
             {"CIMMethod", "GetInstance"},
             {"CIMObject", "root%2Fxcim"}},
            {}};
}

// The request with one header replaced, added, or (with an empty value) removed.
httpd::Request with(const std::string& name, const std::string& value)
{
    httpd::Request made = request();
    std::erase_if(made.headers,
                  [&name](const httpd::Header& header) { return header.name == name; });
    if (!value.empty()) {
        made.headers.push_back({name, value});
    }
    return made;
}

// "400 header-mismatch", or "" when the request is fine.
std::string refusalOf(const httpd::Request& made)
{
    Refusal refusal;
    if (cimomd::checkHeaders(made, refusal)) {
        return {};
    }
    EXPECT_FALSE(refusal.detail.empty());
    return std::to_string(refusal.status) + " " + refusal.cimError;
}

bool repeats(const httpd::Request& made, const cimomd::CalledOperation& called)
{
    Refusal refusal;
    const bool isFine = cimomd::checkRepeated(made, called, refusal);
    EXPECT_EQ(refusal.cimError, isFine ? "" : "header-mismatch");
    return isFine;
}

TEST(MessageHeaders, UsualOnesAreFine)
{
    EXPECT_EQ(refusalOf(request()), "");
    EXPECT_EQ(refusalOf(with("Content-Type", "text/xml")), "");
    EXPECT_EQ(refusalOf(with("Content-Type", "Application/XML;charset=UTF-8")), "");
    EXPECT_EQ(refusalOf(with("CIMProtocolVersion", "")), "");
    EXPECT_EQ(refusalOf(with("CIMProtocolVersion", "1.4")), "");
    EXPECT_EQ(refusalOf(with("Accept", "text/html, application/xml;q=0.9")), "");
    EXPECT_EQ(refusalOf(with("Accept", "*/*")), "");
}

TEST(MessageHeaders, OtherMethodsAndPathsAreRefused)
{
    httpd::Request made = request();
    made.method = "M-POST";
    EXPECT_EQ(refusalOf(made), "501 ");
    made.method = "GET";
    EXPECT_EQ(refusalOf(made), "405 ");
    made = request();
    made.target = "/other";
    EXPECT_EQ(refusalOf(made), "404 ");
}

TEST(MessageHeaders, MediaTypesAreRefused)
{
    EXPECT_EQ(refusalOf(with("Content-Type", "application/json")), "415 ");
    EXPECT_EQ(refusalOf(with("Content-Type", "")), "415 ");
    EXPECT_EQ(refusalOf(with("Accept", "text/html")), "406 ");
}

TEST(MessageHeaders, CimHeadersAreRefused)
{
    EXPECT_EQ(refusalOf(with("CIMProtocolVersion", "2.0")), "501 unsupported-protocol-version");
    EXPECT_EQ(refusalOf(with("CIMProtocolVersion", "1.x")), "501 unsupported-protocol-version");
    EXPECT_EQ(refusalOf(with("CIMOperation", "")), "400 unsupported-operation");
    EXPECT_EQ(refusalOf(with("CIMOperation", "Dance")), "501 unsupported-operation");
}

TEST(MessageHeaders, MethodAndObjectMustBeThoseOfTheBody)
{
    EXPECT_TRUE(repeats(request(), {"GetInstance", "root/xcim", {}}));
    EXPECT_TRUE(repeats(request(), {"getinstance", "ROOT/XCIM", {}}));
    EXPECT_FALSE(repeats(request(), {"GetClass", "root/xcim", {}}));
    EXPECT_FALSE(repeats(request(), {"GetInstance", "root/other", {}}));
    EXPECT_FALSE(repeats(with("CIMMethod", ""), {"GetInstance", "root/xcim", {}}));
    EXPECT_FALSE(repeats(with("CIMObject", ""), {"GetInstance", "root/xcim", {}}));
    EXPECT_TRUE(repeats(with("CIMObject", "root/xcim"), {"GetInstance", "root/xcim", {}}));
    EXPECT_FALSE(repeats(with("CIMObject", "root%2"), {"GetInstance", "root/xcim", {}}));
}

TEST(MessageHeaders, ObjectOfAMethodIsComparedByNamespaceAndClass)
{
    const httpd::Request made = with("CIMObject", "root%2Fxcim%3AXCIM_Fan.Name%3D%22a%3Ab.c%22");
    EXPECT_TRUE(repeats(made, {"GetInstance", "root/xcim", "xcim_fan"}));
    EXPECT_FALSE(repeats(made, {"GetInstance", "root/xcim", "XCIM_Disk"}));
    EXPECT_FALSE(repeats(made, {"GetInstance", "root/xcim", {}}));
    EXPECT_TRUE(repeats(with("CIMObject", "root/xcim:A"), {"GetInstance", "root/xcim", "A"}));
}

TEST(MessageHeaders, AnswersSayWhatTheyAre)
{
    const httpd::Response answer = cimomd::messageResponse("<CIM/>");
    EXPECT_EQ(answer.status, 200U);
    EXPECT_EQ(answer.body, "<CIM/>");
    EXPECT_EQ(httpd::findHeader(answer.headers, "Content-Type"),
              "application/xml; charset=\"utf-8\"");
    EXPECT_EQ(httpd::findHeader(answer.headers, "CIMOperation"), "MethodResponse");
}

TEST(MessageHeaders, RefusalsSayWhy)
{
    const httpd::Response answer =
        cimomd::refusalResponse({400, "header-mismatch", "100% \"wrong\"\n"});
    EXPECT_EQ(answer.status, 400U);
    EXPECT_EQ(httpd::findHeader(answer.headers, "CIMError"), "header-mismatch");
    EXPECT_EQ(httpd::findHeader(answer.headers, "PGErrorDetail"), "100%25%20\"wrong\"%0A");
    EXPECT_THAT(answer.body, HasSubstr("100% \"wrong\""));
    EXPECT_EQ(httpd::findHeader(answer.headers, "Allow"), "");
    EXPECT_EQ(httpd::findHeader(cimomd::refusalResponse({405, {}, "x"}).headers, "Allow"), "POST");
}

} // namespace
