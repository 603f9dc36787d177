// What the server makes of the bytes of a request.
#include "ServerTest.h"

#include <gmock/gmock.h>

namespace {

using testing::IsEmpty;

TEST_F(ServerTest, HandlerGetsMethodTargetHeadersAndBody)
{
    start();
    HttpClient client = connect();
    client.ask(
        "POST /a%20b?q=1&r HTTP/1.1\r\nHost: h\r\nX-One: 1\r\nContent-Length: 7\r\n\r\n{\"a\":1}");
    const httpd::Request& request = mRequests.front();
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.target, "/a%20b?q=1&r");
    EXPECT_EQ(httpd::findHeader(request.headers, "x-one"), "1");
    EXPECT_EQ(request.body, "{\"a\":1}");
}

TEST_F(ServerTest, MethodsAreTakenAsTheyCome)
{
    start();
    HttpClient client = connect();
    for (const char* method : {"PATCH", "OPTIONS", "BREW"}) {
        client.ask(std::string(method) + " /x HTTP/1.1\r\nHost: h\r\n\r\n");
        EXPECT_EQ(mRequests.back().method, method);
    }
}

TEST_F(ServerTest, ChunkedBodyIsPutTogether)
{
    start();
    HttpClient client = connect();
    client.ask("POST /x HTTP/1.1\r\nHost: h\r\nTransfer-Encoding: chunked\r\n\r\n"
               "3\r\nabc\r\n4;note=1\r\ndefg\r\n0\r\n\r\n");
    EXPECT_EQ(mRequests.front().body, "abcdefg");
    EXPECT_EQ(client.ask("GET /y HTTP/1.1\r\nHost: h\r\n\r\n").status(), 200);
}

TEST_F(ServerTest, RequestMayComeByteByByte)
{
    start();
    HttpClient client = connect();
    for (const char byte :
         std::string("PUT /x HTTP/1.1\r\nHost: h\r\nContent-Length: 2\r\n\r\nab")) {
        client.send(std::string(1, byte));
        mContext.restart();
        mContext.poll();
    }
    EXPECT_EQ(client.readAnswer().status(), 200);
    EXPECT_EQ(mRequests.front().body, "ab");
}

TEST_F(ServerTest, BodyIsAskedForWhenTheClientWaits)
{
    start();
    HttpClient client = connect();
    client.send("POST /x HTTP/1.1\r\nHost: h\r\nExpect: 100-Continue\r\nContent-Length: 3\r\n\r\n");
    const HttpAnswer interim = client.readAnswer();
    EXPECT_EQ(interim.statusLine, "HTTP/1.1 100 Continue");
    EXPECT_THAT(interim.headers, IsEmpty());
    EXPECT_THAT(mRequests, IsEmpty());
    EXPECT_EQ(client.ask("abc").status(), 200);
    EXPECT_EQ(mRequests.front().body, "abc");
}

struct TargetCase
{
    const char* sent;
    const char* target;
};

TEST_F(ServerTest, AbsoluteTargetsLoseSchemeAndHost)
{
    start();
    HttpClient client = connect();
    for (const auto& [sent, target] :
         {TargetCase{"http://h/a/b?c", "/a/b?c"}, TargetCase{"HTTPS://h:1/a", "/a"},
          TargetCase{"http://h", "/"}, TargetCase{"http://h?q", "/?q"}, TargetCase{"*", "*"},
          TargetCase{"/http://h/a", "/http://h/a"}}) {
        client.ask("GET " + std::string(sent) + " HTTP/1.1\r\nHost: h\r\n\r\n");
        EXPECT_EQ(mRequests.back().target, target);
    }
}

class MalformedRequest : public ServerTest, public testing::WithParamInterface<const char*>
{};

TEST_P(MalformedRequest, IsAnsweredWithTheErrorPageAndTheConnectionEnds)
{
    start();
    HttpClient client = connect();
    const HttpAnswer answer = client.ask(GetParam());
    EXPECT_EQ(answer.statusLine, "HTTP/1.1 400 Bad Request");
    EXPECT_EQ(answer.header("Connection"), "close");
    EXPECT_EQ(answer.header("Content-Type"), "text/plain");
    EXPECT_EQ(answer.body, "page 400");
    EXPECT_TRUE(client.isClosedByServer());
    EXPECT_THAT(mRequests, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    , MalformedRequest,
    testing::Values(
        "nonsense\r\n\r\n",                               //
        "\x16\x03\x01\x02\x01\x01\r\n\r\n",               // a TLS client
        "GET /x\r\n\r\n",                                 // no version
        "GET /x HTTP/0.9\r\nHost: h\r\n\r\n",             //
        "GET /a b HTTP/1.1\r\nHost: h\r\n\r\n",           //
        "GET /x HTTP/1.1\r\nHost h\r\n\r\n",              //
        "GET /x HTTP/1.1\r\nHost: h\r\n: v\r\n\r\n",      //
        "GET /x HTTP/1.1\r\nHost: h\r\nA\x01: v\r\n\r\n", //
        "GET /x HTTP/1.1\r\n\r\n",                        // no host
        "GET /x HTTP/1.1\r\nHost: a\r\nHost: b\r\n\r\n",  //
        "POST /x HTTP/1.1\r\nHost: h\r\nContent-Length: -1\r\n\r\n",
        "POST /x HTTP/1.1\r\nHost: h\r\nContent-Length: 1\r\nContent-Length: 2\r\n\r\na",
        "POST /x HTTP/1.1\r\nHost: h\r\nContent-Length: 1\r\n"
        "Transfer-Encoding: chunked\r\n\r\n0\r\n\r\n",
        "POST /x HTTP/1.1\r\nHost: h\r\nTransfer-Encoding: chunked\r\n\r\nzz\r\n",
        "POST /x HTTP/1.1\r\nHost: h\r\nTransfer-Encoding: gzip\r\n\r\n0\r\n\r\n",
        "POST /x HTTP/1.1\r\nHost: h\r\nTransfer-Encoding: identity\r\n\r\n0\r\n\r\n",
        "POST /x HTTP/1.1\r\nHost: h\r\nTransfer-Encoding: chunked, gzip\r\n\r\n0\r\n\r\n",
        "POST /x HTTP/1.1\r\nHost: h\r\nTransfer-Encoding: chunked, chunked\r\n\r\n0\r\n\r\n",
        "POST /x HTTP/1.1\r\nHost: h\r\nTransfer-Encoding: chunked,\r\n\r\n0\r\n\r\n",
        "POST /x HTTP/1.1\r\nHost: h\r\nTransfer-Encoding: \r\n\r\n0\r\n\r\n",
        "POST /x HTTP/1.1\r\nHost: h\r\nTransfer-Encoding: gzip;chunked\r\n\r\n0\r\n\r\n",
        "POST /x HTTP/1.1\r\nHost: h\r\nTransfer-Encoding: chunked\r\nTransfer-Encoding: "
        "chunked\r\n\r\n0\r\n\r\n",
        "POST /x HTTP/1.1\r\nHost: h\r\nTransfer-Encoding: gzip\r\nTransfer-Encoding: "
        "chunked\r\n\r\n0\r\n\r\n",
        "POST /x HTTP/1.1\r\nHost: h\r\nTransfer-Encoding: chunked\r\nTransfer-Encoding: "
        "identity\r\n\r\n0\r\n\r\n",
        "POST /x HTTP/1.1\r\nHost: h\r\nTransfer-Encoding: identity\r\nContent-Length: "
        "5\r\n\r\n0\r\n\r\n",
        "POST /x HTTP/1.1\r\nHost: h\r\nContent-Length: 5\r\nTransfer-Encoding: "
        "gzip\r\n\r\n0\r\n\r\n",
        "POST /x HTTP/1.1\r\nHost: h\r\nContent-Length: 5\r\nTransfer-Encoding: "
        "chunked\r\n\r\n0\r\n\r\n"));

class UnknownTransferCoding : public ServerTest, public testing::WithParamInterface<const char*>
{};

TEST_P(UnknownTransferCoding, Is501AndTheConnectionEnds)
{
    start();
    HttpClient client = connect();
    const HttpAnswer answer =
        client.ask(std::string("POST /x HTTP/1.1\r\nHost: h\r\nTransfer-Encoding: ") + GetParam() +
                   "\r\n\r\n0\r\n\r\n");
    EXPECT_EQ(answer.statusLine, "HTTP/1.1 501 Not Implemented");
    EXPECT_EQ(answer.header("Connection"), "close");
    EXPECT_TRUE(client.isClosedByServer());
    EXPECT_THAT(mRequests, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(, UnknownTransferCoding,
                         testing::Values("gzip, chunked", "gzip;q=1,deflate ,\tCHUNKED"));

TEST_F(ServerTest, Http10WithATransferCodingIsRefusedAndNotKept)
{
    start();
    HttpClient client = connect();
    const HttpAnswer answer = client.ask("POST /x HTTP/1.0\r\nConnection: keep-alive\r\n"
                                         "Transfer-Encoding: chunked\r\n\r\n0\r\n\r\n");
    EXPECT_EQ(answer.statusLine, "HTTP/1.0 400 Bad Request");
    EXPECT_TRUE(client.isClosedByServer());
    EXPECT_THAT(mRequests, IsEmpty());
}

TEST_F(ServerTest, TrailersAreNotTakenForHeaders)
{
    start();
    HttpClient client = connect();
    client.ask("POST /x HTTP/1.1\r\nHost: h\r\nTransfer-Encoding: Chunked\r\n\r\n"
               "3\r\nabc\r\n0\r\nX-Late: 1\r\n\r\n");
    EXPECT_EQ(mRequests.front().body, "abc");
    EXPECT_EQ(httpd::findHeader(mRequests.front().headers, "X-Late"), "");
}

TEST_F(ServerTest, MalformedRequestAfterAGoodOneLeavesTheFirstAnswer)
{
    start();
    HttpClient client = connect();
    client.send("GET /x HTTP/1.1\r\nHost: h\r\n\r\nnonsense\r\n\r\n");
    EXPECT_EQ(client.readAnswer().status(), 200);
    EXPECT_EQ(client.readAnswer().status(), 400);
    EXPECT_TRUE(client.isClosedByServer());
}

TEST_F(ServerTest, ConnectionThatClosesWithoutARequestGetsNothing)
{
    start();
    HttpClient client = connect();
    client.shutdownSend();
    EXPECT_TRUE(client.isClosedByServer());
}

} // namespace
