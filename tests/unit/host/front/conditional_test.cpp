#include <front/conditional.h>
#include <front/header_list.h>
#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using testing::FieldsAre;
using testing::IsEmpty;

const httpd::Response kAnswer{
    200,
    {{"Content-Type", "application/json"}, {"ETag", "\"a,b\""}, {"Vary", "Accept-Encoding"}},
    "{}"};

bool isKnownBy(const char* list, const httpd::Response& response = kAnswer)
{
    return host::isKnown({{"Host", "h"}, {"if-none-match", list}}, response);
}

TEST(AnswerIsKnown, ByATagOfTheList)
{
    for (const char* list :
         {"\"a,b\"", "W/\"a,b\"", "\"x\", \"a,b\"", "\"a,b\", \"x\"", "*, \"x\"",
          "\"x\" ,W/\"y\",\t\"a,b\" ", "*", "\"x\", *", ",,\"a,b\"", "nonsense, \"a,b\""}) {
        EXPECT_TRUE(isKnownBy(list)) << list;
    }
}

TEST(AnswerIsKnown, NotByAnythingElse)
{
    for (const char* list : {"", "\"x\"", "a,b", "\"a\", \"b\"", "\"a,b", "w/\"a,b\"", "\"A,B\"",
                             "\"a,b\"x", "\"a,b\";q=1", "**"}) {
        EXPECT_FALSE(isKnownBy(list)) << list;
    }
}

TEST(AnswerIsKnown, OnlyWhereItIs200AndHasATag)
{
    httpd::Response failed = kAnswer;
    failed.status = 404;
    EXPECT_FALSE(isKnownBy("*", failed));
    EXPECT_FALSE(isKnownBy("*", {200, {{"Content-Type", "application/json"}}, "{}"}));
}

TEST(NotModified, RepeatsWhatAnAnswerIsKeptByAndHasNoContent)
{
    const httpd::Response unchanged = host::notModified(kAnswer);
    EXPECT_EQ(unchanged.status, 304U);
    EXPECT_THAT(unchanged.headers,
                ElementsAre(FieldsAre("ETag", "\"a,b\""), FieldsAre("Vary", "Accept-Encoding")));
    EXPECT_THAT(unchanged.body, IsEmpty());
}

TEST(AnswerIsKnown, ByATagInAnyLineOfTheHeader)
{
    EXPECT_TRUE(host::isKnown({{"If-None-Match", "\"x\""}, {"IF-NONE-MATCH", "\"a,b\""}}, kAnswer));
    EXPECT_TRUE(host::isKnown({{"If-None-Match", "\"a,b\""}, {"If-None-Match", "\"x\""}}, kAnswer));
    EXPECT_FALSE(host::isKnown({{"If-Match", "\"a,b\""}}, kAnswer));
    EXPECT_FALSE(host::isKnown({}, kAnswer));
}

TEST(HeaderList, HasTheElementsOfAllItsLines)
{
    const std::vector<httpd::Header> headers = {
        {"If-None-Match", "\"a,1\" , b"}, {"X", "\"b\""}, {"if-none-match", ",\"c\""}};
    std::vector<std::string_view> elements;
    const auto note = [&elements](std::string_view element) {
        elements.push_back(element);
    };
    host::forEachElement(headers, "If-None-Match", note);
    EXPECT_THAT(elements, ElementsAre("\"a,1\"", "b", "\"c\""));
    elements.clear();
    host::forEachElement(headers, "Accept", note);
    EXPECT_THAT(elements, IsEmpty());
}

} // namespace
