// Frames between the front and the processes that work for it, honest and hostile.
#include "host_limits.h"
#include "wire/frame.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>

namespace {

using namespace std::string_literals; // NOLINT(google-build-using-namespace): literals with NULs

std::string_view payloadOf(const std::string& frame)
{
    return std::string_view(frame).substr(host::kFrameHeaderBytes);
}

uint32_t lengthOf(const std::string& frame)
{
    uint32_t bytes = 0;
    EXPECT_TRUE(host::decodeLength(frame.data(), bytes));
    return bytes;
}

std::string number(uint32_t value)
{
    std::string text(sizeof value, '\0');
    std::memcpy(text.data(), &value, sizeof value);
    return text;
}

std::string field(const std::string& text)
{
    return number(static_cast<uint32_t>(text.size())) + text;
}

httpd::Response sampleResponse()
{
    return {404, {{"Allow", "GET,HEAD"}, {"Link", ""}}, "body\0with\nall\xffkinds"s};
}

bool decodes(const std::string& payload)
{
    httpd::Response response;
    return host::decodeResponse(payload, response);
}

TEST(Frame, RequestMakesTheRoundTrip)
{
    const std::string frame = host::encodeRequest({"/a?b=c%20"});
    EXPECT_EQ(lengthOf(frame), frame.size() - host::kFrameHeaderBytes);
    host::WorkerRequest request;
    ASSERT_TRUE(host::decodeRequest(payloadOf(frame), request));
    EXPECT_EQ(request.target, "/a?b=c%20");
}

TEST(Frame, ResponseMakesTheRoundTrip)
{
    const std::string frame = host::encodeResponse(sampleResponse());
    EXPECT_EQ(lengthOf(frame), frame.size() - host::kFrameHeaderBytes);
    httpd::Response response;
    ASSERT_TRUE(host::decodeResponse(payloadOf(frame), response));
    EXPECT_EQ(response.status, 404U);
    ASSERT_EQ(response.headers.size(), 2U);
    EXPECT_EQ(response.headers[0].name, "Allow");
    EXPECT_EQ(response.headers[0].value, "GET,HEAD");
    EXPECT_EQ(response.headers[1].name, "Link");
    EXPECT_EQ(response.headers[1].value, "");
    EXPECT_EQ(response.body, sampleResponse().body);
}

TEST(Frame, ResponseReplacesWhatWasThere)
{
    httpd::Response response{500, {{"Old", "1"}, {"Older", "2"}, {"Oldest", "3"}}, "old"};
    ASSERT_TRUE(host::decodeResponse(payloadOf(host::encodeResponse({200, {}, ""})), response));
    EXPECT_EQ(response.status, 200U);
    EXPECT_TRUE(response.headers.empty());
    EXPECT_EQ(response.body, "");
}

TEST(Frame, ReadyIsItselfOnly)
{
    EXPECT_TRUE(host::isReady(payloadOf(host::encodeReady())));
    EXPECT_FALSE(host::isReady(""));
    EXPECT_FALSE(host::isReady(payloadOf(host::encodeRequest({"ready"}))));
}

TEST(Frame, WhetherARequestMayReadLiveMakesTheRoundTrip)
{
    for (const bool mayReadLive : {false, true}) {
        host::WorkerRequest request{"", !mayReadLive};
        ASSERT_TRUE(
            host::decodeRequest(payloadOf(host::encodeRequest({"/a", mayReadLive})), request));
        EXPECT_EQ(request.mayReadLive, mayReadLive);
    }
}

TEST(Frame, ActionMakesTheRoundTrip)
{
    const std::string body = "{\"a\":\0\xff}"s;
    host::WorkerRequest request;
    ASSERT_TRUE(host::decodeRequest(
        payloadOf(host::encodeRequest({"/a", true, host::RequestKind::Action, body})), request));
    EXPECT_EQ(request.kind, host::RequestKind::Action);
    EXPECT_EQ(request.body, body);
    ASSERT_TRUE(host::decodeRequest(payloadOf(host::encodeRequest({"/a"})), request));
    EXPECT_EQ(request.kind, host::RequestKind::Read);
    EXPECT_EQ(request.body, "");
}

TEST(Frame, RequestOfTheMessageQueueMakesTheRoundTrip)
{
    host::WorkerRequest request;
    ASSERT_TRUE(host::decodeRequest(
        payloadOf(host::encodeRequest({"DriveOem", false, host::RequestKind::OemData, "Disk.1"})),
        request));
    EXPECT_EQ(request.kind, host::RequestKind::OemData);
    EXPECT_EQ(request.target, "DriveOem");
    EXPECT_EQ(request.body, "Disk.1");
    EXPECT_FALSE(request.mayReadLive);
}

TEST(Frame, RequestOfAnotherKindIsRefused)
{
    const auto decodesKind = [](uint32_t kind) {
        host::WorkerRequest request;
        return host::decodeRequest(field("/a") + number(1) + number(kind) + field(""), request);
    };
    const auto last = static_cast<uint32_t>(host::RequestKind::OemData);
    for (uint32_t kind = 0; kind <= last; ++kind) {
        EXPECT_TRUE(decodesKind(kind)) << kind;
    }
    for (const uint32_t kind : {last + 1, 0x100U, 0x80000000U, UINT32_MAX}) {
        EXPECT_FALSE(decodesKind(kind)) << kind;
    }
}

TEST(Frame, NumberedMessageMakesTheRoundTrip)
{
    for (const uint32_t sent : {0U, 1U, 0x80000000U, UINT32_MAX}) {
        for (const std::string& text : {""s, "{}"s, "bytes\0of\nall\xffkinds"s, "ready"s}) {
            const std::string frame = host::encodeNumbered(sent, text);
            EXPECT_EQ(lengthOf(frame), frame.size() - host::kFrameHeaderBytes);
            uint32_t got = sent + 1;
            std::string message = "old";
            ASSERT_TRUE(host::decodeNumbered(payloadOf(frame), got, message));
            EXPECT_EQ(got, sent);
            EXPECT_EQ(message, text);
            EXPECT_FALSE(host::isReady(payloadOf(frame)));
        }
    }
}

TEST(Frame, DamagedNumberedMessageIsRefused)
{
    uint32_t got = 0;
    std::string message;
    const std::string whole = number(7) + field("text");
    ASSERT_TRUE(host::decodeNumbered(whole, got, message));
    for (size_t bytes = 0; bytes < whole.size(); ++bytes) {
        EXPECT_FALSE(host::decodeNumbered(whole.substr(0, bytes), got, message)) << bytes;
    }
    EXPECT_FALSE(host::decodeNumbered(whole + "x", got, message));
    for (const uint32_t lie : {3U, 5U, 0x7fffffffU, 0x80000000U, UINT32_MAX}) {
        EXPECT_FALSE(host::decodeNumbered(number(7) + number(lie) + "text", got, message)) << lie;
    }
    EXPECT_FALSE(host::decodeNumbered(payloadOf(host::encodeReady()), got, message));
}

TEST(Frame, DeclinedMakesTheRoundTripAndIsNoResponse)
{
    for (const auto reason : {host::Declined::NeedsCim, host::Declined::CacheReplaced}) {
        const std::string frame = host::encodeDeclined(reason);
        host::Declined decoded{};
        EXPECT_TRUE(host::decodeDeclined(payloadOf(frame), decoded));
        EXPECT_EQ(decoded, reason);
        EXPECT_FALSE(decodes(std::string(payloadOf(frame))));
    }
    host::Declined decoded{};
    EXPECT_FALSE(host::decodeDeclined(payloadOf(host::encodeResponse(sampleResponse())), decoded));
    EXPECT_FALSE(host::decodeDeclined("", decoded));
}

TEST(Frame, LengthIsLimited)
{
    uint32_t bytes = 0;
    EXPECT_TRUE(host::decodeLength(number(0).data(), bytes));
    EXPECT_TRUE(host::decodeLength(number(host::kMaxFrameBytes).data(), bytes));
    EXPECT_EQ(bytes, host::kMaxFrameBytes);
    EXPECT_FALSE(host::decodeLength(number(host::kMaxFrameBytes + 1).data(), bytes));
    EXPECT_FALSE(host::decodeLength(number(UINT32_MAX).data(), bytes));
}

TEST(Frame, TruncatedPayloadsAreRefusedAtEveryByte)
{
    const std::string response(payloadOf(host::encodeResponse(sampleResponse())));
    for (size_t bytes = 0; bytes < response.size(); ++bytes) {
        EXPECT_FALSE(decodes(response.substr(0, bytes))) << bytes;
    }
    const std::string request(
        payloadOf(host::encodeRequest({"/a", true, host::RequestKind::OemData, "{}"})));
    for (size_t bytes = 0; bytes < request.size(); ++bytes) {
        host::WorkerRequest decoded;
        EXPECT_FALSE(host::decodeRequest(request.substr(0, bytes), decoded)) << bytes;
    }
}

TEST(Frame, TrailingBytesAreRefused)
{
    EXPECT_FALSE(decodes(std::string(payloadOf(host::encodeResponse(sampleResponse()))) + "x"));
    host::WorkerRequest request;
    EXPECT_FALSE(
        host::decodeRequest(std::string(payloadOf(host::encodeRequest({"/a"}))) + "x", request));
}

TEST(Frame, LengthsBeyondThePayloadAreRefused)
{
    for (const uint32_t lie : {5U, 0x7fffffffU, 0x80000000U, UINT32_MAX}) {
        host::WorkerRequest request;
        EXPECT_FALSE(host::decodeRequest(number(lie) + "body", request)) << lie;
        EXPECT_FALSE(decodes(number(200) + number(0) + number(lie) + "body")) << lie;
        EXPECT_FALSE(decodes(number(200) + number(1) + number(lie) + "A" + field("v") + field("")))
            << lie;
    }
}

TEST(Frame, HeaderCountIsLimited)
{
    std::string headers;
    for (uint32_t i = 0; i < host::kMaxAnswerHeaders; ++i) {
        headers += field("N") + field("v");
    }
    EXPECT_TRUE(decodes(number(200) + number(host::kMaxAnswerHeaders) + headers + field("")));
    EXPECT_FALSE(decodes(number(200) + number(host::kMaxAnswerHeaders + 1) + headers + field("N") +
                         field("v") + field("")));
    EXPECT_FALSE(decodes(number(200) + number(UINT32_MAX) + field("")));
}

TEST(Frame, StatusMustBeOneOfAnAnswer)
{
    for (const uint32_t status : {200U, 404U, 599U}) {
        EXPECT_TRUE(decodes(number(status) + number(0) + field(""))) << status;
    }
    for (const uint32_t status : {0U, 100U, 199U, 600U, 1000U, UINT32_MAX}) {
        EXPECT_FALSE(decodes(number(status) + number(0) + field(""))) << status;
    }
}

TEST(Frame, HeaderTextsMustFitIntoAHeader)
{
    const auto decodesHeader = [](const std::string& name, const std::string& value) {
        return decodes(number(200) + number(1) + field(name) + field(value) + field(""));
    };
    const std::string longest(host::kMaxHeaderTextBytes, 'x');
    EXPECT_TRUE(decodesHeader("Link", longest));
    EXPECT_FALSE(decodesHeader("Link", longest + "x"));
    EXPECT_FALSE(decodesHeader(longest + "x", ""));
    for (const std::string& name : {""s, "a b"s, "a:"s, "a\r\nb"s, "a\0"s, "\xc3\xa4"s}) {
        EXPECT_FALSE(decodesHeader(name, "v")) << name;
    }
    for (const std::string& value : {"a\r\nSet: b"s, "a\nb"s, "a\0b"s}) {
        EXPECT_FALSE(decodesHeader("N", value)) << value;
    }
}

} // namespace
