// What the front and a worker say to each other, honest and hostile.
#include "host_limits.h"
#include "wire/PayloadText.h"
#include "wire/worker_message.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace std::string_literals; // NOLINT(google-build-using-namespace): literals with NULs

httpd::Response sampleResponse()
{
    return {404, {{"Allow", "GET,HEAD"}, {"Link", ""}}, "body\0with\nall\xffkinds"s, "why"};
}

bool decodes(const std::string& payload)
{
    httpd::Response response;
    return host::decodeResponse(payload, response);
}

// The request as it arrives.
host::WorkerRequest sent(const host::WorkerRequest& request)
{
    const std::string frame = host::encodeRequest(request);
    EXPECT_EQ(lengthOf(frame), frame.size() - host::kFrameHeaderBytes);
    host::WorkerRequest decoded;
    EXPECT_TRUE(host::decodeRequest(payloadOf(frame), decoded));
    return decoded;
}

TEST(WorkerMessage, ReadMakesTheRoundTrip)
{
    for (const bool flag : {false, true}) {
        const auto request =
            std::get<host::ReadRequest>(sent(host::ReadRequest{"/a?b=c%20", flag, !flag}));
        EXPECT_EQ(request.target, "/a?b=c%20");
        EXPECT_EQ(request.mayReadLive, flag);
        EXPECT_EQ(request.wantsGzip, !flag);
    }
}

TEST(WorkerMessage, RequestForAComposedResourceMakesTheRoundTripAndIsARead)
{
    for (const bool flag : {false, true}) {
        host::WorkerRequest request = sent(host::ComposeRequest{{"/a?only", flag, !flag}});
        ASSERT_TRUE(std::holds_alternative<host::ComposeRequest>(request));
        const host::ReadRequest* const read = host::readOf(request);
        EXPECT_EQ(read->target, "/a?only");
        EXPECT_EQ(read->mayReadLive, flag);
        EXPECT_EQ(read->wantsGzip, !flag);
    }
    host::WorkerRequest action = host::ActionRequest{"/a", "{}"};
    EXPECT_EQ(host::readOf(action), nullptr);
}

TEST(WorkerMessage, FlagIsZeroOrOne)
{
    const std::string frame = host::encodeRequest(host::ReadRequest{"/a", true});
    std::string payload(payloadOf(frame));
    payload.replace(payload.size() - number(1).size(), std::string::npos, number(2));
    host::WorkerRequest request;
    EXPECT_FALSE(host::decodeRequest(payload, request));
}

TEST(WorkerMessage, ActionMakesTheRoundTrip)
{
    const std::string body = "{\"a\":\0\xff}"s;
    const auto request = std::get<host::ActionRequest>(sent(host::ActionRequest{"/a", body}));
    EXPECT_EQ(request.target, "/a");
    EXPECT_EQ(request.body, body);
}

TEST(WorkerMessage, RequestForEmbeddedDataMakesTheRoundTrip)
{
    const auto request =
        std::get<host::EmbeddedDataRequest>(sent(host::EmbeddedDataRequest{"DriveOem", "Disk.1"}));
    EXPECT_EQ(request.container, "DriveOem");
    EXPECT_EQ(request.id, "Disk.1");
}

TEST(WorkerMessage, RequestReplacesOneOfAnotherKind)
{
    host::WorkerRequest request = host::EmbeddedDataRequest{"DriveOem", "Disk.1"};
    ASSERT_TRUE(
        host::decodeRequest(payloadOf(host::encodeRequest(host::ReadRequest{"/a"})), request));
    EXPECT_EQ(std::get<host::ReadRequest>(request).target, "/a");
}

TEST(WorkerMessage, RequestOfAnotherKindIsRefused)
{
    // One or the other is what a kind has for fields.
    const auto decodesKind = [](uint32_t kind) {
        host::WorkerRequest request;
        return host::decodeRequest(number(kind) + field("/a") + number(1) + number(1), request) ||
               host::decodeRequest(number(kind) + field("/a") + field("b"), request);
    };
    const auto kinds = static_cast<uint32_t>(std::variant_size_v<host::WorkerRequest>);
    for (uint32_t kind = 0; kind < kinds; ++kind) {
        EXPECT_TRUE(decodesKind(kind)) << kind;
    }
    for (const uint32_t kind : {kinds, 0x100U, 0x80000000U, UINT32_MAX}) {
        EXPECT_FALSE(decodesKind(kind)) << kind;
    }
}

TEST(WorkerMessage, ResponseMakesTheRoundTrip)
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

TEST(WorkerMessage, ResponseReplacesWhatWasThere)
{
    httpd::Response response{500, {{"Old", "1"}, {"Older", "2"}, {"Oldest", "3"}}, "old"};
    ASSERT_TRUE(host::decodeResponse(payloadOf(host::encodeResponse({200, {}, ""})), response));
    EXPECT_EQ(response.status, 200U);
    EXPECT_TRUE(response.headers.empty());
    EXPECT_EQ(response.body, "");
}

TEST(WorkerMessage, DeclinedMakesTheRoundTripAndIsNoResponse)
{
    for (const auto reason :
         {host::Declined::NeedsCim, host::Declined::CacheReplaced, host::Declined::MemoryGrown}) {
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

TEST(WorkerMessage, TruncatedPayloadsAreRefusedAtEveryByte)
{
    const std::string response(payloadOf(host::encodeResponse(sampleResponse())));
    for (size_t bytes = 0; bytes < response.size(); ++bytes) {
        EXPECT_FALSE(decodes(response.substr(0, bytes))) << bytes;
    }
    const std::vector<host::WorkerRequest> requests = {host::ReadRequest{"/a", true},
                                                       host::ActionRequest{"/a", "{}"},
                                                       host::EmbeddedDataRequest{"C", "1"}};
    for (const host::WorkerRequest& request : requests) {
        const std::string whole(payloadOf(host::encodeRequest(request)));
        for (size_t bytes = 0; bytes < whole.size(); ++bytes) {
            host::WorkerRequest decoded;
            EXPECT_FALSE(host::decodeRequest(whole.substr(0, bytes), decoded)) << bytes;
        }
    }
}

TEST(WorkerMessage, TrailingBytesAreRefused)
{
    EXPECT_FALSE(decodes(std::string(payloadOf(host::encodeResponse(sampleResponse()))) + "x"));
    host::WorkerRequest request;
    EXPECT_FALSE(host::decodeRequest(
        std::string(payloadOf(host::encodeRequest(host::ReadRequest{"/a"}))) + "x", request));
}

TEST(WorkerMessage, LengthsBeyondThePayloadAreRefused)
{
    for (const uint32_t lie : {5U, 0x7fffffffU, 0x80000000U, UINT32_MAX}) {
        host::WorkerRequest request;
        EXPECT_FALSE(host::decodeRequest(number(0) + number(lie) + "body", request)) << lie;
        EXPECT_FALSE(decodes(number(200) + number(0) + number(lie) + "body" + number(0))) << lie;
        EXPECT_FALSE(decodes(number(200) + number(1) + number(lie) + "A" + field("v") + field("") +
                             field("") + number(0)))
            << lie;
    }
}

TEST(WorkerMessage, HeaderCountIsLimited)
{
    std::string headers;
    for (uint32_t i = 0; i < host::kMaxAnswerHeaders; ++i) {
        headers += field("N") + field("v");
    }
    EXPECT_TRUE(decodes(number(200) + number(host::kMaxAnswerHeaders) + headers + field("") +
                        field("") + number(0)));
    EXPECT_FALSE(decodes(number(200) + number(host::kMaxAnswerHeaders + 1) + headers + field("N") +
                         field("v") + field("") + field("") + number(0)));
    EXPECT_FALSE(decodes(number(200) + number(UINT32_MAX) + field("") + field("") + number(0)));
}

TEST(WorkerMessage, StatusMustBeOneOfAnAnswer)
{
    for (const uint32_t status : {200U, 404U, 599U}) {
        EXPECT_TRUE(decodes(number(status) + number(0) + field("") + field("") + number(0)))
            << status;
    }
    for (const uint32_t status : {0U, 100U, 199U, 600U, 1000U, UINT32_MAX}) {
        EXPECT_FALSE(decodes(number(status) + number(0) + field("") + field("") + number(0)))
            << status;
    }
}

TEST(WorkerMessage, HeaderTextsMustFitIntoAHeader)
{
    const auto decodesHeader = [](const std::string& name, const std::string& value) {
        return decodes(number(200) + number(1) + field(name) + field(value) + field("") +
                       field("") + number(0));
    };
    const std::string longest(host::kMaxHeaderTextBytes, 'x');
    EXPECT_TRUE(decodesHeader("Link", longest));
    EXPECT_FALSE(decodesHeader("Link", longest + "x"));
    EXPECT_FALSE(decodesHeader(longest + "x", ""));
    EXPECT_TRUE(decodesHeader("!#$%&'*+-.^_`|~09azAZ", "a\tb \x80\xff~"));
    for (const std::string& name :
         {""s, "a b"s, "a:"s, "a\r\nb"s, "a\0"s, "a\x7f"s, "(a)"s, "a/b"s, "\"a\""s, "\xc3\xa4"s}) {
        EXPECT_FALSE(decodesHeader(name, "v")) << name;
    }
    for (const std::string& value : {"a\r\nSet: b"s, "a\nb"s, "a\0b"s, "a\x1b"s, "a\x7f"s}) {
        EXPECT_FALSE(decodesHeader("N", value)) << value;
    }
}

TEST(WorkerMessage, HeadersOfTheMessageItselfAreRefused)
{
    for (const char* name : {"Connection", "connection", "CONTENT-LENGTH", "Date", "Keep-Alive",
                             "Proxy-Connection", "TE", "Trailer", "Transfer-Encoding", "Upgrade"}) {
        EXPECT_FALSE(host::isAnswerHeader({name, "x"})) << name;
    }
    for (const char* name : {"Allow", "Link", "Location", "Retry-After", "Content-Type", "T"}) {
        EXPECT_TRUE(host::isAnswerHeader({name, "x"})) << name;
    }
}

TEST(WorkerMessage, RemarkIsLimited)
{
    const std::string longest(host::kMaxRemarkBytes, 'x');
    EXPECT_TRUE(decodes(number(200) + number(0) + field("") + field(longest) + number(0)));
    EXPECT_FALSE(decodes(number(200) + number(0) + field("") + field(longest + "x") + number(0)));
}

TEST(WorkerMessage, WhetherItMayBeKeptIsZeroOrOne)
{
    const std::string response = number(200) + number(0) + field("") + field("");
    for (const uint32_t mayBeKept : {0U, 1U}) {
        httpd::Response decoded;
        ASSERT_TRUE(host::decodeResponse(response + number(mayBeKept), decoded));
        EXPECT_EQ(decoded.mayBeKept, mayBeKept == 1);
    }
    EXPECT_FALSE(decodes(response));
    EXPECT_FALSE(decodes(response + number(2)));
    EXPECT_FALSE(decodes(response + number(UINT32_MAX)));
}

TEST(WorkerMessage, BodyWhereHttpHasNoneIsRefused)
{
    for (const uint32_t status : {204U, 304U}) {
        EXPECT_TRUE(decodes(number(status) + number(0) + field("") + field("") + number(0)))
            << status;
        EXPECT_FALSE(decodes(number(status) + number(0) + field("x") + field("") + number(0)))
            << status;
    }
}

} // namespace
