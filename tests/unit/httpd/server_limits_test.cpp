// Greedy and slow clients.
#include "ServerTest.h"

#include <gmock/gmock.h>
#include <sys/resource.h>

#include <algorithm>
#include <deque>

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
    EXPECT_EQ(client.ask(requestWithHeaders(httpd::Limits().headerBytes)).status(), 200);
    EXPECT_EQ(client.ask(requestWithHeaders(httpd::Limits().headerBytes)).status(), 200);
}

TEST_F(ServerTest, HeadersAboveTheLimitAre431)
{
    start();
    for (const size_t more : {1UL, 16UL, 1000UL, 100000UL}) {
        HttpClient client = connect();
        const HttpAnswer answer =
            client.ask(requestWithHeaders(httpd::Limits().headerBytes + more));
        EXPECT_EQ(answer.statusLine, "HTTP/1.1 431 Request Header Fields Too Large");
        EXPECT_EQ(answer.body, "page 431");
        EXPECT_EQ(answer.header("Connection"), "close");
        EXPECT_TRUE(client.isClosedByServer());
    }
    EXPECT_THAT(mRequests, IsEmpty());
}

TEST_F(ServerTest, HeadersAboveTheLimitAreNotBlamedOnTheRequestLine)
{
    start();
    for (const size_t targetBytes : {1UL, 480UL, 500UL, 1000UL, 8000UL}) {
        const std::string line = "GET /" + std::string(targetBytes, 'x') + " HTTP/1.1\r\n";
        const std::string rest =
            "Host: h\r\nX-Fill: " + std::string(httpd::Limits().headerBytes, 'f') + "\r\n\r\n";
        HttpClient whole = connect();
        EXPECT_EQ(whole.ask(line + rest).status(), 431) << targetBytes;
        HttpClient halves = connect();
        halves.send(line.substr(0, line.size() / 2));
        settle();
        EXPECT_EQ(halves.ask(line.substr(line.size() / 2) + rest).status(), 431) << targetBytes;
    }
    EXPECT_THAT(mRequests, IsEmpty());
}

TEST_F(ServerTest, HeadersUpToTheirCountAreTakenAndMoreAre431)
{
    httpd::Limits limits;
    limits.headerCount = 3;
    start(limits);
    HttpClient client = connect();
    EXPECT_EQ(client.ask("GET /x HTTP/1.1\r\nHost: h\r\nA: 1\r\nA: 2\r\n\r\n").status(), 200);
    EXPECT_EQ(client.ask("GET /x HTTP/1.1\r\nHost: h\r\nA: 1\r\nA: 2\r\nB:\r\n\r\n").status(), 431);
    EXPECT_TRUE(client.isClosedByServer());
    EXPECT_THAT(mRequests, SizeIs(1));
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

// A request whose request line has exactly this many bytes without its line end.
std::string requestWithLine(size_t bytes)
{
    const std::string_view rest = "GET / HTTP/1.1";
    return "GET /" + std::string(bytes - rest.size(), 'x') + " HTTP/1.1\r\nHost: h\r\n\r\n";
}

TEST_F(ServerTest, RequestLineUpToTheLimitIsTaken)
{
    start();
    HttpClient client = connect();
    EXPECT_EQ(client.ask(requestWithLine(httpd::Limits().requestLineBytes)).status(), 200);
}

TEST_F(ServerTest, RequestLineAboveTheLimitIs414)
{
    start();
    for (const size_t bytes :
         {httpd::Limits().requestLineBytes + 1, httpd::Limits().headerBytes - 20,
          httpd::Limits().headerBytes, 4 * httpd::Limits().headerBytes}) {
        HttpClient client = connect();
        const HttpAnswer answer = client.ask(requestWithLine(bytes));
        EXPECT_EQ(answer.statusLine, "HTTP/1.1 414 URI Too Long");
        EXPECT_EQ(answer.body, "page 414");
        EXPECT_TRUE(client.isClosedByServer());
    }
    EXPECT_THAT(mRequests, IsEmpty());
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
    HttpClient greedy = connect();
    greedy.send("HEAD /x HTTP/1.1\r\nHost: h\r\nContent-Length: 99999999\r\n\r\n");
    EXPECT_EQ(greedy.readAnswer(true).status(), 413);
    EXPECT_TRUE(greedy.isClosedByServer());
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
    limits.headerTimeout = milliseconds(30);
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
    limits.bodyTimeout = milliseconds(30);
    start(limits);
    HttpClient client = connect();
    EXPECT_EQ(client.ask("POST /x HTTP/1.1\r\nHost: h\r\nContent-Length: 9\r\n\r\nabc").status(),
              408);
    EXPECT_THAT(mRequests, IsEmpty());
}

TEST_F(ServerTest, BodyThatNeverEndsIs408HoweverFastItComes)
{
    httpd::Limits limits;
    limits.bodyTimeout = milliseconds(30);
    limits.bodyBytes = uint64_t{4} * 1024 * 1024 * 1024;
    limits.clientMemoryBytes = 4 * limits.bodyBytes;
    start(limits);
    HttpClient client = connect();
    client.send("POST /x HTTP/1.1\r\nHost: h\r\nTransfer-Encoding: chunked\r\n\r\n7fffffff\r\n");
    const std::string piece(65536, 'x');
    const auto later = std::chrono::steady_clock::now() + 2 * limits.bodyTimeout;
    while (std::chrono::steady_clock::now() < later) {
        client.send(piece);
    }
    EXPECT_EQ(client.readAnswer().status(), 408);
    EXPECT_THAT(mRequests, IsEmpty());
}

TEST_F(ServerTest, HandlerMayTakeLongerThanTheClient)
{
    httpd::Limits limits;
    limits.headerTimeout = milliseconds(20);
    limits.bodyTimeout = milliseconds(20);
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

TEST_F(ServerTest, BodyHasATimeOfItsOwn)
{
    httpd::Limits limits;
    limits.headerTimeout = milliseconds(30);
    start(limits);
    HttpClient client = connect();
    client.send("POST /x HTTP/1.1\r\nHost: h\r\nContent-Length: 4\r\n\r\nab");
    const auto later = std::chrono::steady_clock::now() + 2 * limits.headerTimeout;
    runUntil(mContext, [&] { return std::chrono::steady_clock::now() > later; });
    EXPECT_EQ(client.ask("cd").status(), 200);
    EXPECT_EQ(mRequests.front().body, "abcd");
}

TEST_F(ServerTest, RequestsSentFarAheadAreAnsweredInOrder)
{
    httpd::Limits limits;
    limits.readAheadBytes = 1024;
    start(limits);
    constexpr size_t kRequests = 5000;
    std::string text;
    for (size_t i = 0; i < kRequests; ++i) {
        text += "GET /" + std::to_string(i) + " HTTP/1.1\r\nHost: h\r\n\r\n";
    }
    HttpClient client = connect();
    client.send(text);
    for (size_t i = 0; i < kRequests; ++i) {
        ASSERT_EQ(client.readAnswer().status(), 200);
        ASSERT_EQ(mRequests[i].target, "/" + std::to_string(i));
    }
    EXPECT_FALSE(client.hasInput());
}

TEST_F(ServerTest, ClientThatAsksOnAndOnWithoutAnAnswerIsNotReadAnyFurther)
{
    start();
    mAnswersLater = true;
    constexpr size_t kFarBeyondKernelBuffers = 512UL * 1024 * 1024;
    std::string text;
    while (text.size() < httpd::Limits().readAheadBytes) {
        text += "GET /x HTTP/1.1\r\nHost: h\r\n\r\n";
    }
    HttpClient client = connect();
    size_t sentBytes = 0;
    size_t lastBytes = 1;
    while (lastBytes > 0 && sentBytes < kFarBeyondKernelBuffers) {
        lastBytes = client.sendSome(text);
        if (lastBytes == 0) {
            settle();
            lastBytes = client.sendSome(text);
        }
        sentBytes += lastBytes;
    }
    EXPECT_LT(sentBytes, kFarBeyondKernelBuffers);
    EXPECT_THAT(mRequests, SizeIs(1));
}

TEST_F(ServerTest, ConnectionsAboveTheLimitWaitWhileNoneIsIdle)
{
    httpd::Limits limits;
    limits.connections = 2;
    start(limits);
    mAnswersLater = true;
    HttpClient first = connect();
    HttpClient second = connect();
    first.send(kGet);
    second.send(kGet);
    ASSERT_TRUE(hasRequests(2));
    HttpClient third = connect();
    third.send(kGet);
    settle();
    EXPECT_THAT(mRequests, SizeIs(2));
    EXPECT_FALSE(third.hasInput());
    mAnswersLater = false;
    mReplies.front()({200, {}, "first"}); // it becomes idle, which makes room
    EXPECT_EQ(first.readAnswer().body, "first");
    EXPECT_EQ(third.readAnswer().status(), 200);
    EXPECT_TRUE(first.isClosedByServer());
    mReplies.back()({200, {}, "second"});
    EXPECT_EQ(second.readAnswer().body, "second");
}

TEST_F(ServerTest, ConnectionThatIsIdleForLongestMakesRoom)
{
    httpd::Limits limits;
    limits.connections = 3;
    limits.newcomerTime = std::chrono::milliseconds(0);
    start(limits);
    HttpClient silent = connect();
    settle();
    HttpClient used = connect("127.0.0.2");
    EXPECT_EQ(used.ask(kGet).status(), 200);
    HttpClient last = connect("127.0.0.3");
    EXPECT_EQ(last.ask(kGet).status(), 200);
    EXPECT_FALSE(silent.hasInput());
    HttpClient next = connect("127.0.0.4");
    EXPECT_EQ(next.ask(kGet).status(), 200);
    EXPECT_TRUE(silent.isClosedByServer());
    EXPECT_EQ(used.ask(kGet).status(), 200);
    HttpClient another = connect("127.0.0.5");
    EXPECT_EQ(another.ask(kGet).status(), 200);
    EXPECT_TRUE(last.isClosedByServer());
    EXPECT_EQ(used.ask(kGet).status(), 200);
    EXPECT_EQ(next.ask(kGet).status(), 200);
}

TEST_F(ServerTest, AddressWithAllItsPlacesBusyGetsNoFurtherOne)
{
    httpd::Limits limits;
    limits.connectionsPerShare = 2;
    start(limits);
    mAnswersLater = true;
    HttpClient first = connect();
    HttpClient second = connect();
    first.send(kGet);
    second.send(kGet);
    ASSERT_TRUE(hasRequests(2));
    HttpClient third = connect();
    EXPECT_TRUE(third.isClosedByServer());
    mAnswersLater = false;
    HttpClient other = connect("127.0.0.2");
    EXPECT_EQ(other.ask(kGet).status(), 200);
    mReplies.front()({200, {}, "first"});
    EXPECT_EQ(first.readAnswer().body, "first");
    HttpClient fourth = connect();
    EXPECT_EQ(fourth.ask(kGet).status(), 200);
    EXPECT_TRUE(first.isClosedByServer());
}

TEST_F(ServerTest, AddressAboveItsLimitMakesRoomAtNobodyElsesExpense)
{
    httpd::Limits limits;
    limits.connectionsPerShare = 2;
    start(limits);
    HttpClient other = connect("127.0.0.2");
    EXPECT_EQ(other.ask(kGet).status(), 200);
    HttpClient first = connect();
    EXPECT_EQ(first.ask(kGet).status(), 200);
    HttpClient second = connect();
    EXPECT_EQ(second.ask(kGet).status(), 200);
    HttpClient third = connect();
    EXPECT_EQ(third.ask(kGet).status(), 200);
    EXPECT_TRUE(first.isClosedByServer());
    EXPECT_EQ(other.ask(kGet).status(), 200);
    EXPECT_EQ(second.ask(kGet).status(), 200);
}

// Room for both ends of many connections, which are in this process.
void allowManyOpenFiles()
{
    rlimit limit{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
    limit.rlim_cur = std::max<rlim_t>(limit.rlim_cur, 2048);
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
}

constexpr size_t kManyIdle = 500;

TEST_F(ServerTest, ManyIdleConnectionsOfSomeAddressesAreAllKept)
{
    ASSERT_NO_FATAL_FAILURE(allowManyOpenFiles());
    start();
    std::deque<HttpClient> idle;
    for (size_t i = 0; i < kManyIdle; ++i) {
        idle.emplace_back(mContext, mServer->port(), "127.0.0." + std::to_string(2 + i % 4));
        mContext.poll();
    }
    HttpClient client = connect();
    EXPECT_EQ(client.ask(kGet).status(), 200);
    for (HttpClient& one : idle) {
        ASSERT_EQ(one.ask(kGet).status(), 200);
    }
}

TEST_F(ServerTest, ManyIdleConnectionsOfOneAddressKeepNobodyOut)
{
    ASSERT_NO_FATAL_FAILURE(allowManyOpenFiles());
    start();
    std::deque<HttpClient> idle;
    for (size_t i = 0; i < kManyIdle; ++i) {
        idle.emplace_back(mContext, mServer->port());
        mContext.poll();
    }
    HttpClient same = connect();
    EXPECT_EQ(same.ask(kGet).status(), 200);
    HttpClient other = connect("127.0.0.2");
    EXPECT_EQ(other.ask(kGet).status(), 200);
    EXPECT_TRUE(idle.front().isClosedByServer());
    EXPECT_EQ(idle.back().ask(kGet).status(), 200);
}

} // namespace
