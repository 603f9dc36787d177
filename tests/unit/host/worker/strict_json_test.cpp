// The JSON of a request's body: what is taken, as which value, and what is not.
#include "host_limits.h"
#include "worker/strict_json.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace std::string_literals; // NOLINT(google-build-using-namespace): literals with NULs

bool isTaken(const std::string& text)
{
    Json::Value object;
    return host::parseObject(text, object);
}

// The value of a member.
Json::Value valueOf(const std::string& text)
{
    Json::Value object;
    EXPECT_TRUE(host::parseObject("{\"a\":" + text + "}", object)) << text;
    return object["a"];
}

std::string nested(size_t arrays)
{
    return "{\"a\":" + std::string(arrays, '[') + std::string(arrays, ']') + "}";
}

TEST(StrictJson, EmptyObjectIsAnObject)
{
    for (const char* text : {"{}", " {\n} ", "\t{ }\r\n"}) {
        Json::Value object("old");
        EXPECT_TRUE(host::parseObject(text, object)) << text;
        EXPECT_TRUE(object.isObject() && object.empty()) << text;
    }
}

TEST(StrictJson, ValuesKeepTheirTypes)
{
    EXPECT_EQ(valueOf("null"), Json::Value());
    EXPECT_EQ(valueOf("true"), Json::Value(true));
    EXPECT_EQ(valueOf("\"text\""), Json::Value("text"));
    EXPECT_EQ(valueOf("[1,\"x\"]").size(), 2U);
    EXPECT_TRUE(valueOf("{\"b\":{}}")["b"].isObject());
}

TEST(StrictJson, IntegersAreExactAndTheOthersAreReal)
{
    EXPECT_EQ(valueOf("0"), Json::Value(0));
    EXPECT_EQ(valueOf("-5"), Json::Value(-5));
    EXPECT_EQ(valueOf("9223372036854775808").asLargestUInt(), 9223372036854775808U);
    EXPECT_EQ(valueOf("18446744073709551615").asLargestUInt(), 18446744073709551615U);
    EXPECT_EQ(valueOf("-9223372036854775808").asLargestInt(), INT64_MIN);
    for (const char* number : {"18446744073709551616", "1.0", "1e2", "-0.0"}) {
        EXPECT_EQ(valueOf(number).type(), Json::realValue) << number;
    }
}

TEST(StrictJson, TextsKeepEveryCharacter)
{
    EXPECT_EQ(valueOf(R"("\u0041\n\"\\\/\u00e4\ud83d\ude00")").asString(),
              "A\n\"\\/\xc3\xa4\xf0\x9f\x98\x80");
    EXPECT_EQ(valueOf("\"\xc3\xa4\xf0\x9f\x98\x80\"").asString(), "\xc3\xa4\xf0\x9f\x98\x80");
    EXPECT_EQ(valueOf(R"("a\u0000b")").asString(), "a\0b"s);
}

TEST(StrictJson, OtherValuesThanObjectsAreRefused)
{
    for (const char* text : {"", "null", "1", "\"a\"", "[]", "[{}]"}) {
        EXPECT_FALSE(isTaken(text)) << text;
    }
}

TEST(StrictJson, WhatJsonHasNotIsRefused)
{
    for (const auto& text :
         {"{} x"s, "{}\0"s, "{}{}"s, "{/**/}"s, "{}//"s, "{\"a\":1,}"s, "{'a':1}"s, "{\"a\":01}"s,
          "{\"a\":-}"s, "{\"a\":1.}"s, "{\"a\":NaN}"s, "{\"a\":\"\x01\"}"s, "{\"a\":\"\xff\"}"s,
          "{\"a\":\"\\ud800\"}"s, "\xef\xbb\xbf{}"s, "{\"a\":1"s}) {
        EXPECT_FALSE(isTaken(text)) << text;
    }
}

TEST(StrictJson, NamesGivenTwiceAreRefused)
{
    EXPECT_FALSE(isTaken(R"({"a":1,"a":1})"));
    EXPECT_FALSE(isTaken(R"({"a":1,"\u0061":2})"));
    EXPECT_FALSE(isTaken(R"({"a":[{"b":1,"b":1}]})"));
    EXPECT_TRUE(isTaken(R"({"a":{"b":1},"b":1})"));
}

TEST(StrictJson, NestingIsLimited)
{
    EXPECT_TRUE(isTaken(nested(host::kMaxJsonDepth - 1)));
    EXPECT_FALSE(isTaken(nested(host::kMaxJsonDepth)));
    EXPECT_FALSE(isTaken(std::string(1000000, '[')));
}

} // namespace
