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

TEST(AnswerIsKnown, ByATagOfTheList)
{
    for (const char* list : {"\"a,b\"", "W/\"a,b\"", "\"x\", \"a,b\"", "\"x\" ,W/\"y\",\t\"a,b\" ",
                             "*", "\"x\", *", ",,\"a,b\"", "nonsense, \"a,b\""}) {
        EXPECT_TRUE(host::isKnown(list, kAnswer)) << list;
    }
}

TEST(AnswerIsKnown, NotByAnythingElse)
{
    for (const char* list : {"", "\"x\"", "a,b", "\"a\", \"b\"", "\"a,b", "w/\"a,b\"", "\"A,B\"",
                             "\"a,b\"x", "\"a,b\";q=1", "**"}) {
        EXPECT_FALSE(host::isKnown(list, kAnswer)) << list;
    }
}

TEST(AnswerIsKnown, OnlyWhereItIs200AndHasATag)
{
    httpd::Response failed = kAnswer;
    failed.status = 404;
    EXPECT_FALSE(host::isKnown("*", failed));
    EXPECT_FALSE(host::isKnown("*", {200, {{"Content-Type", "application/json"}}, "{}"}));
}

TEST(NotModified, RepeatsWhatAnAnswerIsKeptByAndHasNoContent)
{
    const httpd::Response unchanged = host::notModified(kAnswer);
    EXPECT_EQ(unchanged.status, 304U);
    EXPECT_THAT(unchanged.headers,
                ElementsAre(FieldsAre("ETag", "\"a,b\""), FieldsAre("Vary", "Accept-Encoding")));
    EXPECT_THAT(unchanged.body, IsEmpty());
}

TEST(HeaderList, IsAllLinesOfTheHeader)
{
    const std::vector<httpd::Header> headers = {
        {"If-None-Match", "\"a\""}, {"X", "\"b\""}, {"if-none-match", "\"c\""}};
    EXPECT_EQ(host::listOf(headers, "If-None-Match"), "\"a\",\"c\"");
    EXPECT_EQ(host::listOf(headers, "Accept"), "");
}

} // namespace
