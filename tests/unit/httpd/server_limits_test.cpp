// Greedy and slow clients.
#include "ServerTest.h"

#include <gmock/gmock.h>

namespace {

using std::chrono::milliseconds;
using testing::IsEmpty;
using testing::SizeIs;

// A request of exactly this many bytes up to the end of its headers.
std::string requestWithHeaders(size_t bytes)
{
    std::string text = "GET /x HTTP/1.1\r\nHost: h\r\nX-Fill: ";
    text.append(bytes - text.size() - 4, 'f');
    return text + "\r\n\r\n";
}

TEST_F(ServerTest, HeadersUpToTheLimitAreTaken)
{
    start();
    HttpClient client = connect();
    EXPECT_EQ(client.ask(requestWithHeaders(httpd::Limits().headerBytes - 2)).status(), 200);
    EXPECT_EQ(client.ask(requestWithHeaders(httpd::Limits().headerBytes - 2)).status(), 200);
}

TEST_F(ServerTest, HeadersAboveTheLimitAre431)
{
    start();
    HttpClient client = connect();
    const HttpAnswer answer = client.ask(requestWithHeaders(httpd::Limits().headerBytes + 100));
    EXPECT_EQ(answer.statusLine, "HTTP/1.1 431 Request Header Fields Too Large");
    EXPECT_EQ(answer.body, "page 431");
    EXPECT_EQ(answer.header("Connection"), "close");
    EXPECT_THAT(mRequests, IsEmpty());
}

TEST_F(ServerTest, ManySmallHeadersAboveTheLimitAre431)
{
    start();
    std::string text = "GET /x HTTP/1.1\r\nHost: h\r\n";
    while (text.size() < size_t{2} * httpd::Limits().headerBytes) {
        text += "A: b\r\n";
    }
    HttpClient client = connect();
    EXPECT_EQ(client.ask(text + "\r\n").status(), 431);
}

TEST_F(ServerTest, RequestLineAboveTheLimitIs414)
{
    start();
    HttpClient client = connect();
    const HttpAnswer answer = client.ask("GET /" + std::string(httpd::Limits().headerBytes, 'x') +
                                         " HTTP/1.1\r\nHost: h\r\n\r\n");
    EXPECT_EQ(answer.statusLine, "HTTP/1.1 414 URI Too Long");
    EXPECT_EQ(answer.body, "page 414");
}

TEST_F(ServerTest, BodyUpToTheLimitIsTaken)
{
    start();
    const std::string body(httpd::Limits().bodyBytes, 'b');
    HttpClient client = connect();
    const HttpAnswer answer =
        client.ask("POST /x HTTP/1.1\r\nHost: h\r\nContent-Length: " + std::to_string(body.size()) +
                   "\r\n\r\n" + body);
    EXPECT_EQ(answer.status(), 200);
    EXPECT_EQ(mRequests.front().body, body);
}

TEST_F(ServerTest, AnnouncedBodyAboveTheLimitIs413WithoutReadingIt)
{
    start();
    HttpClient client = connect();
    const HttpAnswer answer =
        client.ask("POST /x HTTP/1.1\r\nHost: h\r\nExpect: 100-continue\r\n"
                   "Content-Length: " +
                   std::to_string(httpd::Limits().bodyBytes + 1) + "\r\n\r\n");
    EXPECT_EQ(answer.statusLine, "HTTP/1.1 413 Payload Too Large");
    EXPECT_EQ(answer.header("Connection"), "close");
    EXPECT_THAT(mRequests, IsEmpty());
}

TEST_F(ServerTest, ChunkedBodyAboveTheLimitIs413)
{
    httpd::Limits limits;
    limits.bodyBytes = 8;
    start(limits);
    HttpClient client = connect();
    const HttpAnswer answer =
        client.ask("POST /x HTTP/1.1\r\nHost: h\r\nTransfer-Encoding: chunked\r\n"
                   "\r\n5\r\nabcde\r\n5\r\nfghij\r\n0\r\n\r\n");
    EXPECT_EQ(answer.status(), 413);
    EXPECT_THAT(mRequests, IsEmpty());
}

TEST_F(ServerTest, RefusalReachesAClientThatGoesOnSending)
{
    start();
    HttpClient client = connect();
    client.send("POST /x HTTP/1.1\r\nHost: h\r\nContent-Length: 99999999\r\n\r\n" +
                std::string(httpd::Limits().lingerBytes / 2, 'x'));
    EXPECT_EQ(client.readAnswer().status(), 413);
}

TEST_F(ServerTest, RefusedHeadHasNoBody)
{
    start();
    HttpClient client = connect();
    client.send("HEAD /x HTTP/1.1\r\n\r\n");
    EXPECT_EQ(client.readAnswer(true).status(), 400);
    EXPECT_TRUE(client.isClosedByServer());
}

TEST_F(ServerTest, SilentConnectionIsClosedWithoutAWord)
{
    httpd::Limits limits;
    limits.idleTimeout = milliseconds(30);
    start(limits);
    HttpClient fresh = connect();
    EXPECT_TRUE(fresh.isClosedByServer());
    HttpClient used = connect();
    EXPECT_EQ(used.ask("GET /x HTTP/1.1\r\nHost: h\r\n\r\n").status(), 200);
    EXPECT_TRUE(used.isClosedByServer());
}

TEST_F(ServerTest, UnfinishedHeadersAre408)
{
    httpd::Limits limits;
    limits.requestTimeout = milliseconds(30);
    start(limits);
    HttpClient client = connect();
    const HttpAnswer answer = client.ask("GET /x HTTP/1.1\r\nHo");
    EXPECT_EQ(answer.statusLine, "HTTP/1.1 408 Request Timeout");
    EXPECT_EQ(answer.body, "page 408");
    EXPECT_EQ(answer.header("Connection"), "close");
    EXPECT_TRUE(client.isClosedByServer());
}

TEST_F(ServerTest, UnfinishedBodyIs408)
{
    httpd::Limits limits;
    limits.requestTimeout = milliseconds(30);
    start(limits);
    HttpClient client = connect();
    EXPECT_EQ(client.ask("POST /x HTTP/1.1\r\nHost: h\r\nContent-Length: 9\r\n\r\nabc").status(),
              408);
    EXPECT_THAT(mRequests, IsEmpty());
}

TEST_F(ServerTest, HandlerMayTakeLongerThanTheClient)
{
    httpd::Limits limits;
    limits.requestTimeout = milliseconds(20);
    limits.idleTimeout = milliseconds(20);
    limits.writeTimeout = milliseconds(20);
    start(limits);
    mAnswersLater = true;
    HttpClient client = connect();
    client.send("GET /x HTTP/1.1\r\nHost: h\r\n\r\n");
    ASSERT_TRUE(hasRequests(1));
    const auto later = std::chrono::steady_clock::now() + milliseconds(100);
    runUntil(mContext, [&] { return std::chrono::steady_clock::now() > later; });
    mReplies.front()({200, {}, "late"});
    EXPECT_EQ(client.readAnswer().body, "late");
}

TEST_F(ServerTest, ClientThatDoesNotReadIsCutOff)
{
    httpd::Limits limits;
    limits.writeTimeout = milliseconds(30);
    limits.connections = 1;
    start(limits);
    mAnswer.body = std::string(16UL * 1024 * 1024, 'x'); // beyond what the kernel buffers
    HttpClient lazy = connect();
    lazy.send("GET /x HTTP/1.1\r\nHost: h\r\n\r\n");
    HttpClient next = connect();
    ASSERT_TRUE(hasRequests(1));
    mAnswer.body = "small";
    // The only place is free again once the lazy client has been cut off.
    EXPECT_EQ(next.ask("GET /y HTTP/1.1\r\nHost: h\r\n\r\n").body, "small");
    EXPECT_LT(lazy.readToEnd().size(), 16UL * 1024 * 1024);
}

TEST_F(ServerTest, ConnectionsAboveTheLimitWaitForAPlace)
{
    httpd::Limits limits;
    limits.connections = 2;
    start(limits);
    HttpClient first = connect();
    HttpClient second = connect();
    EXPECT_EQ(first.ask("GET /1 HTTP/1.1\r\nHost: h\r\n\r\n").status(), 200);
    EXPECT_EQ(second.ask("GET /2 HTTP/1.1\r\nHost: h\r\n\r\n").status(), 200);
    HttpClient third = connect();
    third.send("GET /3 HTTP/1.1\r\nHost: h\r\n\r\n");
    settle();
    EXPECT_THAT(mRequests, SizeIs(2));
    first.close();
    EXPECT_EQ(third.readAnswer().status(), 200);
}

} // namespace
