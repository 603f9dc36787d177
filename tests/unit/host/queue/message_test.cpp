// What the message queue takes as a request, and the texts of its answers.
#include "queue/container_id.h"
#include "queue/message.h"
#include "worker/strict_json.h"

#include <gtest/gtest.h>
#include <regex.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>

namespace {

using namespace std::string_literals; // NOLINT(google-build-using-namespace): literals with NULs

using host::QueueFault;

constexpr size_t kLongestId = 127;

// ---- Ids

// Every byte for itself, beside what is allowed.
constexpr std::string_view kIdCharacters =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._:#-";

TEST(ContainerId, EveryByteIsAllowedOrRefusedWhereverItStands)
{
    for (int value = 0; value <= UINT8_MAX; ++value) {
        const std::string byte(1, static_cast<char>(value));
        const bool isAllowed = kIdCharacters.find(byte) != std::string_view::npos;
        EXPECT_EQ(host::isContainerId(byte), isAllowed) << value;
        EXPECT_EQ(host::isContainerId(byte + "a"), isAllowed) << value;
        EXPECT_EQ(host::isContainerId("a" + byte), isAllowed) << value;
        EXPECT_EQ(host::isContainerId("a" + byte + "a"), isAllowed) << value;
    }
}

TEST(ContainerId, LengthIsLimited)
{
    EXPECT_FALSE(host::isContainerId(""));
    EXPECT_TRUE(host::isContainerId("a"));
    EXPECT_TRUE(host::isContainerId(std::string(kLongestId, 'a')));
    EXPECT_FALSE(host::isContainerId(std::string(kLongestId + 1, 'a')));
    EXPECT_FALSE(host::isContainerId(std::string(65536, 'a')));
}

TEST(ContainerId, NothingLooksLikeAComment)
{
    for (const char* id : {"-", "-a", "a-", "-a-", "a-b", "-a-b-", "a-b-c", "#-", "-:-", "-.-"}) {
        EXPECT_TRUE(host::isContainerId(id)) << id;
    }
    for (const char* id : {"--", "---", "--a", "a--", "a--b", "-a--", "a-b--c", "a----b"}) {
        EXPECT_FALSE(host::isContainerId(id)) << id;
    }
    for (size_t at = 0; at + 2 <= kLongestId; ++at) {
        std::string id(kLongestId, 'a');
        EXPECT_FALSE(host::isContainerId(id.replace(at, 2, "--"))) << at;
    }
}

TEST(ContainerId, WhatWouldLeaveASqlTextIsRefused)
{
    for (const std::string& id : {"1' or '1'='1"s, "1\" or 1"s, "1;"s,   "1/*"s,
                                  "*/"s,           "1 "s,       " "s,    "1\t"s,
                                  "1\n"s,          "\r"s,       "1\0"s,  "\0"s,
                                  "1\0002"s,       "%31"s,      "1%"s,   "\\'"s,
                                  "a=b"s,          "(1)"s,      "a,b"s,  "a|b"s,
                                  "[a]"s,          "`a`"s,      "$1"s,   "?"s,
                                  "@a"s,           "a+b"s,      "a~b"s,  "\xc3\xa4"s,
                                  "\x80"s,         "\xff"s,     "\x7f"s, "\xe2\x80\x99"s,
                                  "\xef\xbc\x87"s}) {
        EXPECT_FALSE(host::isContainerId(id)) << id;
        EXPECT_FALSE(host::isContainerId("Disk.Bay.0:" + id)) << id;
        EXPECT_FALSE(host::isContainerId(id + ":Enclosure")) << id;
    }
}

// The expression between backquotes, where the documentation of the endpoint gives it.
std::string documentedExpression()
{
    std::ifstream file(OEM_ENDPOINT_DOCUMENT);
    const std::string text(std::istreambuf_iterator<char>(file), {});
    const std::string lead = "As a regular expression (POSIX extended): `";
    const size_t begin = text.find(lead);
    if (begin == std::string::npos) {
        return {};
    }
    const size_t end = text.find('`', begin + lead.size());
    return text.substr(begin + lead.size(), end - begin - lead.size());
}

class PosixExpression
{
public:
    explicit PosixExpression(const std::string& expression)
        : mIsCompiled(regcomp(&mCompiled, expression.c_str(), REG_EXTENDED | REG_NOSUB) == 0)
    {
        EXPECT_TRUE(mIsCompiled) << expression;
    }
    ~PosixExpression()
    {
        if (mIsCompiled) {
            regfree(&mCompiled);
        }
    }
    PosixExpression(const PosixExpression&) = delete;
    PosixExpression& operator=(const PosixExpression&) = delete;

    bool matches(const std::string& text) const
    {
        return mIsCompiled && regexec(&mCompiled, text.c_str(), 0, nullptr, 0) == 0;
    }

private:
    regex_t mCompiled{};
    bool mIsCompiled;
};

// Appends each character to each of the texts of the last length.
std::vector<std::string> oneLonger(const std::vector<std::string>& texts,
                                   std::string_view characters)
{
    std::vector<std::string> longer;
    for (const std::string& text : texts) {
        std::transform(characters.begin(), characters.end(), std::back_inserter(longer),
                       [&text](char c) { return text + c; });
    }
    return longer;
}

TEST(ContainerId, IsWhatTheDocumentedExpressionMatches)
{
    const std::string text = documentedExpression();
    ASSERT_NE(text, "");
    const PosixExpression expression(text);
    for (int value = 1; value <= UINT8_MAX; ++value) {
        const std::string byte(1, static_cast<char>(value));
        EXPECT_EQ(expression.matches(byte), host::isContainerId(byte)) << value;
    }
    constexpr size_t kLongest = 6; // two pairs of "-", with something around each
    std::vector<std::string> ids{""};
    for (size_t bytes = 1; bytes <= kLongest; ++bytes) {
        ids = oneLonger(ids, "aZ.-'");
        for (const std::string& id : ids) {
            ASSERT_EQ(expression.matches(id), host::isContainerId(id)) << id;
        }
    }
}

// ---- Requests

std::optional<QueueFault> faultOf(std::string_view text)
{
    host::EmbeddedDataRequest request;
    return host::readQueueRequest(text, request);
}

TEST(EmbeddedDataRequest, HasAContainerAndAnId)
{
    host::EmbeddedDataRequest request{"old", "old"};
    ASSERT_EQ(host::readQueueRequest(R"({"container": "DriveOem", "id": "Disk.Bay.0:Enclosure.2"})",
                                     request),
              std::nullopt);
    EXPECT_EQ(request.container, "DriveOem");
    EXPECT_EQ(request.id, "Disk.Bay.0:Enclosure.2");
}

TEST(EmbeddedDataRequest, MayBeWrittenInAnyWayThatJsonAllows)
{
    host::EmbeddedDataRequest request;
    ASSERT_EQ(
        host::readQueueRequest("\r\n {\"id\"\t:\"\\u0061-\\u0062\" ,"
                               "\"c\\u006fntainer\":\"\xc3\xa4 \\ud83d\\ude00 \\\"\\u007f\"} \n",
                               request),
        std::nullopt);
    EXPECT_EQ(request.container, "\xc3\xa4 \xf0\x9f\x98\x80 \"\x7f");
    EXPECT_EQ(request.id, "a-b");
}

TEST(EmbeddedDataRequest, EmptyContainerIsForTheMappingToRefuse)
{
    EXPECT_EQ(faultOf(R"({"container": "", "id": "1"})"), std::nullopt);
}

class MalformedQueueRequest : public testing::TestWithParam<std::pair<const char*, std::string>>
{};

TEST_P(MalformedQueueRequest, IsRefused)
{
    EXPECT_EQ(faultOf(GetParam().second), QueueFault::MalformedRequest) << GetParam().second;
}

INSTANTIATE_TEST_SUITE_P(
    , MalformedQueueRequest,
    testing::Values(
        std::pair("Empty", ""s), std::pair("Blank", " \n"s), std::pair("Null", "null"s),
        std::pair("Text", R"("container")"s), std::pair("Number", "1"s),
        std::pair("Array", R"(["DriveOem", "1"])"s),
        std::pair("ObjectInAnArray", R"([{"container": "A", "id": "1"}])"s),
        std::pair("NoMember", "{}"s), std::pair("NoId", R"({"container": "A"})"s),
        std::pair("NoContainer", R"({"id": "1"})"s),
        std::pair("OtherCase", R"({"Container": "A", "Id": "1"})"s),
        std::pair("OtherMemberInsteadOfTheId", R"({"container": "A", "key": "1"})"s),
        std::pair("ThirdMember", R"({"container": "A", "id": "1", "x": null})"s),
        std::pair("NumberAsId", R"({"container": "A", "id": 1})"s),
        std::pair("NullAsId", R"({"container": "A", "id": null})"s),
        std::pair("ArrayAsId", R"({"container": "A", "id": ["1"]})"s),
        std::pair("ObjectAsId", R"({"container": "A", "id": {}})"s),
        std::pair("BooleanAsContainer", R"({"container": true, "id": "1"})"s),
        std::pair("NullAsContainer", R"({"container": null, "id": "1"})"s),
        std::pair("NulInTheContainer", R"({"container": "A\u0000B", "id": "1"})"s),
        std::pair("NulBehindTheContainer", R"({"container": "A\u0000", "id": "1"})"s),
        std::pair("IdTwice", R"({"container": "A", "id": "1", "id": "2"})"s),
        std::pair("IdTwiceAndNoContainer", R"({"id": "1", "id": "2"})"s),
        std::pair("CutOff", R"({"container": "A", "id": "1")"s),
        std::pair("TextBehindIt", R"({"container": "A", "id": "1"} x)"s),
        std::pair("TwoObjects", R"({"container": "A", "id": "1"}{"container": "A", "id": "1"})"s),
        std::pair("NulBehindIt", "{\"container\": \"A\", \"id\": \"1\"}\0"s),
        std::pair("NulByteInAText", "{\"container\": \"A\0\", \"id\": \"1\"}"s),
        std::pair("Comment", R"({"container": "A", /* x */ "id": "1"})"s),
        std::pair("TrailingComma", R"({"container": "A", "id": "1",})"s),
        std::pair("SingleQuotes", "{'container': 'A', 'id': '1'}"s),
        std::pair("LineBreakInAText", "{\"container\": \"A\n\", \"id\": \"1\"}"s),
        std::pair("ByteOrderMark", "\xef\xbb\xbf{\"container\": \"A\", \"id\": \"1\"}"s),
        std::pair("BytesThatAreNotUtf8", "{\"container\": \"\xff\", \"id\": \"1\"}"s),
        std::pair("OverlongUtf8", "{\"container\": \"\xc0\xaf\", \"id\": \"1\"}"s),
        std::pair("LoneSurrogate", R"({"container": "\ud800", "id": "1"})"s),
        std::pair("DeeplyNested", std::string(100000, '['))),
    [](const testing::TestParamInfo<MalformedQueueRequest::ParamType>& form) {
        return std::string(form.param.first);
    });

TEST(EmbeddedDataRequest, ContainerHasNoControlCharacters)
{
    for (const char* character : {"\\u0000", "\\u0001", "\\b", "\\t", "\\n", "\\r", "\\u001f"}) {
        EXPECT_EQ(faultOf("{\"container\": \"A" + std::string(character) + "B\", \"id\": \"1\"}"),
                  QueueFault::MalformedRequest)
            << character;
    }
}

TEST(EmbeddedDataRequest, IdIsChecked)
{
    for (const char* id : {"", "1'2", "1;2", "1/*2", "1--2", "1 2", "1\\u00002", "\\u0000", "1\\n",
                           "\\u00e4", "\xc3\xa4", "1%2", "1\\\\2"}) {
        EXPECT_EQ(faultOf("{\"container\": \"A\", \"id\": \"" + std::string(id) + "\"}"),
                  QueueFault::InvalidId)
            << id;
    }
    const auto idOfBytes = [](size_t bytes) {
        return R"({"container": "A", "id": ")" + std::string(bytes, 'a') + "\"}";
    };
    EXPECT_EQ(faultOf(idOfBytes(kLongestId)), std::nullopt);
    EXPECT_EQ(faultOf(idOfBytes(kLongestId + 1)), QueueFault::InvalidId);
}

TEST(EmbeddedDataRequest, FormIsCheckedBeforeTheId)
{
    EXPECT_EQ(faultOf(R"({"container": 1, "id": "'"})"), QueueFault::MalformedRequest);
    EXPECT_EQ(faultOf(R"({"container": "A", "id": "'", "x": 1})"), QueueFault::MalformedRequest);
    EXPECT_EQ(faultOf(R"({"container": "\u0000", "id": "'"})"), QueueFault::MalformedRequest);
    EXPECT_EQ(faultOf(R"({"container": "", "id": "'"})"), QueueFault::InvalidId);
}

// ---- Answers

TEST(QueueAnswer, ErrorsHaveTheirReasonCodeAndMessage)
{
    EXPECT_EQ(host::queueError(QueueFault::MalformedRequest),
              R"({"error":{"code":4,"message":"The request must be one frame with the JSON object )"
              R"({\"container\": \"...\", \"id\": \"...\"}.","reason":"MalformedRequest"}})");
    EXPECT_EQ(host::queueError(QueueFault::InvalidId),
              R"({"error":{"code":7,"message":"The id must be 1 to 127 letters, digits and )"
              R"(. _ : # - without -- in it.","reason":"InvalidId"}})");
    EXPECT_EQ(host::queueError(QueueFault::UnknownContainer, "DriveOem"),
              R"({"error":{"code":5,"message":"DriveOem is no entry of the mapping file.",)"
              R"("reason":"UnknownContainer"}})");
    EXPECT_EQ(host::queueError(QueueFault::NotCached, "VexoDrive"),
              R"({"error":{"code":18,"message":"VexoDrive is not ready in the data cache: )"
              R"(ask again in 5 seconds.","reason":"NotCached"}})");
    EXPECT_EQ(host::queueError(QueueFault::Busy),
              R"({"error":{"code":2,"message":"The service is busy, or this request has ended )"
              R"(workers: ask again in 5 seconds, or in a minute.","reason":"Busy"}})");
    EXPECT_EQ(host::queueError(QueueFault::TooLate),
              R"({"error":{"code":2,"message":"The request passed its deadline: ask again.",)"
              R"("reason":"TooLate"}})");
    EXPECT_EQ(host::queueError(QueueFault::WorkerEnded),
              R"({"error":{"code":2,"message":"The worker that had the request ended: )"
              R"(the service's log says why.","reason":"WorkerEnded"}})");
}

TEST(QueueAnswer, HasAStatusAsHttpWouldHave)
{
    const std::pair<QueueFault, unsigned int> kStatuses[] = {
        {QueueFault::MalformedRequest, 400},
        {QueueFault::InvalidId, 400},
        {QueueFault::UnknownContainer, 404},
        {QueueFault::NotCached, 503},
        {QueueFault::Busy, 503},
        {QueueFault::TooLate, 504},
        {QueueFault::WorkerEnded, 500},
    };
    for (const auto& [fault, status] : kStatuses) {
        EXPECT_EQ(host::statusOfAnswer(host::queueError(fault, "\"TooLate\"}}")), status);
    }
    Json::Value data;
    data["VexoDrive"]["reason"] = "Busy";
    EXPECT_EQ(host::statusOfAnswer(host::queueAnswer(data)), 200U);
    EXPECT_EQ(host::statusOfAnswer("{}"), 200U);
}

TEST(QueueAnswer, IsOneLineHoweverDeepTheData)
{
    Json::Value data(Json::objectValue);
    EXPECT_EQ(host::queueAnswer(data), "{}");
    data["B"]["Tags"].append("x\r\ny");
    data["B"]["Tags"].append(Json::Value());
    data["A"]["Speed"] = 1200;
    data["A"]["IsOn"] = true;
    EXPECT_EQ(host::queueAnswer(data),
              R"({"A":{"IsOn":true,"Speed":1200},"B":{"Tags":["x\r\ny",null]}})");
}

TEST(QueueAnswer, TextsKeepTheirCharacters)
{
    const std::string name = "\xc3\xa4 \xe2\x82\xac \xf0\x9f\x98\x80 \xe2\x80\xa8 \x01 \x7f \"\\/";
    Json::Value data;
    data["A"]["Name"] = name;
    data["A"][name] = "NUL\0behind it"s;
    const std::string answer = host::queueAnswer(data);
    EXPECT_EQ(answer.find('\n'), std::string::npos);
    Json::Value read;
    ASSERT_TRUE(host::parseObject(answer, read)) << answer;
    EXPECT_EQ(read, data) << answer;
}

TEST(QueueAnswer, BytesThatAreNotUtf8DoNotSpoilTheJson)
{
    for (const std::string& bytes :
         {"\xff"s, "\x80"s, "\xc3"s, "a\xe2\x82"s, "\xe2\x82"s, "\xf0\x9f\x98"s, "\xc0\xaf"s,
          "\xed\xa0\x80"s, "\xf4\x90\x80\x80"s, "\xf8\x88\x80\x80\x80"s, "\xc3\""s,
          "\xe2\x82\\"s}) {
        Json::Value data;
        data["A"]["Name"] = bytes;
        data["A"][bytes] = "as a name";
        Json::Value read;
        const std::string answer = host::queueAnswer(data);
        EXPECT_TRUE(host::parseObject(answer, read)) << answer;
        EXPECT_EQ(answer.find('\n'), std::string::npos);
        Json::Value error;
        const std::string errorText = host::queueError(QueueFault::UnknownContainer, bytes);
        ASSERT_TRUE(host::parseObject(errorText, error)) << errorText;
        EXPECT_EQ(error["error"]["code"], 5);
    }
}

} // namespace
