// Answers and connections.
#include "ServerTest.h"

#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;
using testing::MatchesRegex;
using testing::SizeIs;

TEST_F(ServerTest, AnswerCarriesStatusHeadersLengthAndDate)
{
    start();
    mAnswer.status = 404;
    HttpClient client = connect();
    const HttpAnswer answer = client.ask(kGet);
    EXPECT_EQ(answer.statusLine, "HTTP/1.1 404 Not Found");
    EXPECT_EQ(answer.header("Content-Type"), "text/plain");
    EXPECT_EQ(answer.header("X-Kind"), "test");
    EXPECT_EQ(answer.header("Content-Length"), "5");
    EXPECT_FALSE(answer.hasHeader("Connection"));
    EXPECT_THAT(answer.header("Date"),
                MatchesRegex("(Mon|Tue|Wed|Thu|Fri|Sat|Sun), [0-3][0-9] "
                             "(Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sep|Oct|Nov|Dec) [0-9]{4} "
                             "[0-2][0-9]:[0-5][0-9]:[0-6][0-9] GMT"));
    EXPECT_EQ(answer.body, "hello");
}

TEST_F(ServerTest, ConnectionIsKeptForFurtherRequests)
{
    start();
    HttpClient client = connect();
    for (const char* body : {"one", "two", "three"}) {
        mAnswer.body = body;
        EXPECT_EQ(client.ask(kGet).body, body);
    }
    EXPECT_FALSE(client.hasInput());
}

TEST_F(ServerTest, ConnectionCloseIsAnsweredInKindAndCloses)
{
    start();
    HttpClient client = connect();
    const HttpAnswer answer = client.ask("GET /x HTTP/1.1\r\nHost: h\r\nConnection: close\r\n\r\n");
    EXPECT_EQ(answer.status(), 200);
    EXPECT_EQ(answer.header("Connection"), "close");
    EXPECT_TRUE(client.isClosedByServer());
}

TEST_F(ServerTest, Http10ClosesUnlessAskedToStay)
{
    start();
    HttpClient closing = connect();
    const HttpAnswer last = closing.ask("GET /x HTTP/1.0\r\n\r\n");
    EXPECT_EQ(last.statusLine, "HTTP/1.0 200 OK");
    EXPECT_EQ(last.body, "hello");
    EXPECT_TRUE(closing.isClosedByServer());

    HttpClient staying = connect();
    const HttpAnswer first = staying.ask("GET /x HTTP/1.0\r\nConnection: keep-alive\r\n\r\n");
    EXPECT_EQ(first.header("Connection"), "keep-alive");
    EXPECT_EQ(staying.ask("GET /x HTTP/1.0\r\n\r\n").status(), 200);
}

TEST_F(ServerTest, HeadHasTheHeadersOfGetAndNoBody)
{
    start();
    HttpClient client = connect();
    const HttpAnswer get = client.ask(kGet);
    client.send("HEAD /x HTTP/1.1\r\nHost: h\r\n\r\n");
    const HttpAnswer head = client.readAnswer(true);
    EXPECT_EQ(head.statusLine, get.statusLine);
    ASSERT_THAT(head.headers, SizeIs(get.headers.size()));
    EXPECT_EQ(head.header("Content-Length"), "5");
    EXPECT_EQ(mRequests.back().method, "HEAD");
    // What follows is the next answer, not a body.
    EXPECT_EQ(client.ask(kGet).statusLine, "HTTP/1.1 200 OK");
}

TEST_F(ServerTest, BodyThatIsSharedIsSentInPlaceOfItsOwn)
{
    start();
    mAnswer.sharedBody = std::make_shared<const std::string>("shared");
    HttpClient client = connect();
    for (int i = 0; i < 2; ++i) {
        const HttpAnswer answer = client.ask(kGet);
        EXPECT_EQ(answer.body, "shared");
        EXPECT_EQ(answer.header("Content-Length"), "6");
    }
    client.send("HEAD /x HTTP/1.1\r\nHost: h\r\n\r\n");
    EXPECT_EQ(client.readAnswer(true).header("Content-Length"), "6");
    EXPECT_EQ(client.ask(kGet).body, "shared");
}

TEST_F(ServerTest, HeadersThatAreSharedFollowItsOwn)
{
    start();
    mAnswer.headers = {{"A", "1"}};
    mAnswer.sharedHeaders =
        std::make_shared<const std::string>(httpd::headerLines({{"B", "2"}, {"C", "3"}}));
    HttpClient client = connect();
    for (int i = 0; i < 2; ++i) {
        const HttpAnswer answer = client.ask(kGet);
        EXPECT_EQ(answer.header("A"), "1");
        EXPECT_EQ(answer.header("B"), "2");
        EXPECT_EQ(answer.header("C"), "3");
        EXPECT_FALSE(answer.header("Date").empty());
        EXPECT_EQ(answer.body, mAnswer.body);
    }
}

TEST_F(ServerTest, EmptyBodyHasLengthZero)
{
    start();
    mAnswer.body.clear();
    HttpClient client = connect();
    EXPECT_EQ(client.ask(kGet).header("Content-Length"), "0");
    EXPECT_EQ(client.ask(kGet).status(), 200);
}

TEST_F(ServerTest, LargeBodyArrivesWhole)
{
    start();
    mAnswer.body.clear();
    constexpr size_t kLargeBytes = 5UL * 1024 * 1024;
    while (mAnswer.body.size() < kLargeBytes) {
        mAnswer.body += std::to_string(mAnswer.body.size());
    }
    HttpClient client = connect();
    EXPECT_EQ(client.ask(kGet).body, mAnswer.body);
}

TEST_F(ServerTest, AnswerMayComeLater)
{
    start();
    mAnswersLater = true;
    HttpClient slow = connect();
    HttpClient other = connect();
    slow.send(kGet);
    ASSERT_TRUE(hasRequests(1));
    mAnswersLater = false;
    EXPECT_EQ(other.ask(kGet).status(), 200);
    EXPECT_FALSE(slow.hasInput());
    mReplies.front()({201, {}, "late"});
    const HttpAnswer answer = slow.readAnswer();
    EXPECT_EQ(answer.status(), 201);
    EXPECT_EQ(answer.body, "late");
}

TEST_F(ServerTest, PipelinedRequestsAreAnsweredOneByOneInOrder)
{
    start();
    mAnswersLater = true;
    HttpClient client = connect();
    client.send("GET /1 HTTP/1.1\r\nHost: h\r\n\r\n"
                "POST /2 HTTP/1.1\r\nHost: h\r\nContent-Length: 4\r\n\r\nbody"
                "GET /3 HTTP/1.1\r\nHost: h\r\nConnection: close\r\n\r\n");
    for (size_t i = 0; i < 3; ++i) {
        ASSERT_TRUE(hasRequests(i + 1));
        settle();
        ASSERT_THAT(mRequests, SizeIs(i + 1)); // the next one waits for this answer
        EXPECT_EQ(mRequests[i].target, "/" + std::to_string(i + 1));
        mReplies[i]({200, {}, mRequests[i].target});
        EXPECT_EQ(client.readAnswer().body, mRequests[i].target);
    }
    EXPECT_TRUE(client.isClosedByServer());
}

TEST_F(ServerTest, ClientThatLeavesBeforeItsAnswerHarmsNobody)
{
    start();
    mAnswersLater = true;
    {
        HttpClient client = connect();
        client.send(kGet);
        ASSERT_TRUE(hasRequests(1));
    }
    mReplies.front()({200, {}, std::string(1000000, 'x')});
    settle();
    mReplies.clear();
    mAnswersLater = false;
    HttpClient other = connect();
    EXPECT_EQ(other.ask(kGet).status(), 200);
}

TEST_F(ServerTest, AnswerAfterStopIsDropped)
{
    start();
    mAnswersLater = true;
    HttpClient client = connect();
    client.send(kGet);
    ASSERT_TRUE(hasRequests(1));
    mServer->stop();
    mReplies.front()({200, {}, "late"});
    EXPECT_TRUE(client.isClosedByServer());
}

TEST_F(ServerTest, DrainClosesIdleConnectionsAndAwaitsAnswers)
{
    start();
    mAnswersLater = true;
    HttpClient idle = connect();
    HttpClient busy = connect();
    busy.send(kGet);
    ASSERT_TRUE(hasRequests(1));
    settle(); // both are accepted
    int drained = 0;
    mServer->drain([&] { ++drained; });
    EXPECT_TRUE(idle.isClosedByServer());
    EXPECT_EQ(drained, 0);
    mReplies.front()({200, {}, "last"});
    mReplies.clear();
    const HttpAnswer answer = busy.readAnswer();
    EXPECT_EQ(answer.body, "last");
    EXPECT_EQ(answer.header("Connection"), "close");
    EXPECT_TRUE(busy.isClosedByServer());
    busy.close();
    EXPECT_TRUE(runUntil(mContext, [&] { return drained == 1; }));
}

TEST_F(ServerTest, DrainWithoutConnectionsIsDoneAtOnce)
{
    start();
    int drained = 0;
    mServer->drain([&] { ++drained; });
    EXPECT_EQ(drained, 0); // later, never from within the call
    EXPECT_TRUE(runUntil(mContext, [&] { return drained == 1; }));
}

TEST_F(ServerTest, PortInUseIsReported)
{
    start();
    httpd::Server second(
        mContext, [](const httpd::Request& /*request*/, const httpd::Reply& /*reply*/) {},
        [](unsigned int /*status*/) { return httpd::Response(); });
    std::string problem;
    EXPECT_FALSE(second.listen("127.0.0.1", mServer->port(), problem));
    EXPECT_THAT(problem, HasSubstr("in use"));
}

TEST_F(ServerTest, AddressThatIsNoneIsReported)
{
    httpd::Server server(
        mContext, [](const httpd::Request& /*request*/, const httpd::Reply& /*reply*/) {},
        [](unsigned int /*status*/) { return httpd::Response(); });
    std::string problem;
    EXPECT_FALSE(server.listen("nowhere", 0, problem));
    EXPECT_FALSE(problem.empty());
}

TEST(HeaderLookup, IgnoresCaseAndTakesTheFirst)
{
    const std::vector<httpd::Header> headers = {{"Accept", "a"}, {"ACCEPT", "b"}, {"X", ""}};
    EXPECT_EQ(httpd::findHeader(headers, "accept"), "a");
    EXPECT_EQ(httpd::findHeader(headers, "Accep"), "");
    EXPECT_EQ(httpd::findHeader(headers, "x"), "");
}

} // namespace
