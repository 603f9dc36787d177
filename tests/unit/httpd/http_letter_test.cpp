// What HTTP says of requests that are unusual.
#include "ServerTest.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;
using testing::SizeIs;

std::string postWith(const std::string& headers)
{
    return "POST /x HTTP/1.1\r\nHost: h\r\n" + headers + "Content-Length: 2\r\n\r\nab";
}

TEST_F(ServerTest, LaterMinorVersionsAreTakenAsTheOneThatIsSpoken)
{
    start();
    HttpClient client = connect();
    for (const char* version : {"1.2", "1.5", "1.9"}) {
        const HttpAnswer answer =
            client.ask(std::string("GET /x HTTP/") + version + "\r\nHost: h\r\n\r\n");
        EXPECT_EQ(answer.statusLine, "HTTP/1.1 200 OK");
    }
    EXPECT_EQ(client.ask("GET /x HTTP/1.2\r\n\r\n").status(), 400); // what 1.1 asks for holds
}

class LaterMajorVersion : public ServerTest, public testing::WithParamInterface<const char*>
{};

TEST_P(LaterMajorVersion, Is505)
{
    start();
    HttpClient client = connect();
    const HttpAnswer answer = client.ask(GetParam());
    EXPECT_EQ(answer.statusLine, "HTTP/1.1 505 HTTP Version Not Supported");
    EXPECT_EQ(answer.header("Connection"), "close");
    EXPECT_TRUE(client.isClosedByServer());
    EXPECT_THAT(mRequests, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(, LaterMajorVersion,
                         testing::Values("GET /x HTTP/2.0\r\nHost: h\r\n\r\n",
                                         "GET /x HTTP/3.0\r\n\r\n",
                                         "PRI * HTTP/2.0\r\n\r\nSM\r\n\r\n"));

TEST_F(ServerTest, LineEndsAheadOfARequestAreSkipped)
{
    start();
    HttpClient client = connect();
    EXPECT_EQ(client.ask(std::string("\r\n") + kGet).status(), 200);
    EXPECT_EQ(client.ask(std::string("\r\n\r\n\r\n") + kGet).status(), 200);
    client.send("\r");
    settle();
    EXPECT_EQ(client.ask(std::string("\n") + kGet).status(), 200);
    client.send(std::string(kGet) + "\r\n" + kGet);
    EXPECT_EQ(client.readAnswer().status(), 200);
    EXPECT_EQ(client.readAnswer().status(), 200);
}

TEST_F(ServerTest, LineEndsAloneAreSilence)
{
    httpd::Limits limits;
    limits.headerTimeout = std::chrono::milliseconds(20);
    limits.idleTimeout = std::chrono::milliseconds(200);
    start(limits);
    HttpClient client = connect();
    client.send("\r\n\r\n");
    EXPECT_TRUE(client.isClosedByServer());
}

class UnlawfulHead : public ServerTest, public testing::WithParamInterface<const char*>
{};

TEST_P(UnlawfulHead, Is400)
{
    start();
    HttpClient client = connect();
    EXPECT_EQ(client.ask(GetParam()).status(), 400);
    EXPECT_TRUE(client.isClosedByServer());
    EXPECT_THAT(mRequests, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    , UnlawfulHead,
    testing::Values(
        "GET /x HTTP/1.1\r\nHost: h\r\nA: 1\r\n 2\r\n\r\n", // a folded line
        "GET /x HTTP/1.1\r\nHost: h\r\nA: 1\r\n\t2\r\n\r\n",
        "GET /x HTTP/1.1\r\nHost: h\r\n \r\n\r\n", "GET /x HTTP/1.1\r\n Host: h\r\n\r\n",
        "POST /x HTTP/1.1\r\nHost: h\r\nContent-Type: a/b\r\nContent-Type: a/b\r\n"
        "Content-Length: 0\r\n\r\n",
        "GET /x HTTP/1.1\r\nHost: a b\r\n\r\n", "GET /x HTTP/1.1\r\nHost: user@h\r\n\r\n",
        "GET /x HTTP/1.1\r\nHost: h:8x\r\n\r\n", "GET /x HTTP/1.1\r\nHost: :80\r\n\r\n",
        "GET /x HTTP/1.0\r\nHost: a b\r\n\r\n", "GET /x HTTP/1.0\r\nHost: a\r\nHost: a\r\n\r\n"));

TEST_F(ServerTest, HostMayBeEmpty)
{
    start();
    HttpClient client = connect();
    EXPECT_EQ(client.ask("GET /x HTTP/1.1\r\nHost:\r\n\r\n").status(), 200);
}

TEST_F(ServerTest, ContentCodingsAre415)
{
    start();
    for (const char* coding : {"gzip", "deflate, gzip", "identity, br", "x"}) {
        HttpClient client = connect();
        const HttpAnswer answer =
            client.ask(postWith(std::string("Content-Encoding: ") + coding + "\r\n"));
        EXPECT_EQ(answer.status(), 415) << coding;
        EXPECT_TRUE(client.isClosedByServer());
    }
    EXPECT_THAT(mRequests, IsEmpty());
}

TEST_F(ServerTest, ContentCodingOfNothingIsNone)
{
    start();
    HttpClient client = connect();
    EXPECT_EQ(client.ask(postWith("Content-Encoding: Identity\r\n")).status(), 200);
    EXPECT_EQ(client.ask("GET /x HTTP/1.1\r\nHost: h\r\nContent-Encoding: gzip\r\n\r\n").status(),
              200);
}

TEST_F(ServerTest, UnknownExpectationsAre417)
{
    start();
    for (const char* expectation : {"200-ok", "100-continue, more", "\"\""}) {
        HttpClient client = connect();
        EXPECT_EQ(client.ask(postWith(std::string("Expect: ") + expectation + "\r\n")).status(),
                  417);
    }
    EXPECT_THAT(mRequests, IsEmpty());
}

TEST_F(ServerTest, Http10HasNoExpectations)
{
    start();
    HttpClient client = connect();
    const HttpAnswer answer =
        client.ask("POST /x HTTP/1.0\r\nExpect: 100-continue\r\nContent-Length: 2\r\n\r\nab");
    EXPECT_EQ(answer.statusLine, "HTTP/1.0 200 OK");
}

TEST_F(ServerTest, RefusedBodyIsNotAskedForFirst)
{
    start();
    const std::string expecting = "POST /x HTTP/1.1\r\nHost: h\r\nExpect: 100-continue\r\n";
    for (const auto& [rest, status] :
         {std::pair{"Content-Length: 99999999\r\n\r\n", 413},
          std::pair{"Content-Length: 3\r\nContent-Encoding: gzip\r\n\r\n", 415},
          std::pair{"Content-Length: 3\r\nTransfer-Encoding: chunked\r\n\r\n", 400}}) {
        HttpClient client = connect();
        EXPECT_EQ(client.ask(expecting + rest).status(), status);
        EXPECT_TRUE(client.isClosedByServer());
    }
}

TEST_F(ServerTest, HeadIsJudgedBeforeItsBodyIsAskedFor)
{
    start();
    std::vector<std::string> judged;
    mServer->setHeadJudge([&](const httpd::Request& request) {
        judged.push_back(request.target);
        return request.target == "/no" ? std::optional(httpd::Response{405, {}, "no"})
                                       : std::nullopt;
    });
    const std::string rest = " HTTP/1.1\r\nHost: h\r\nExpect: 100-continue\r\n"
                             "Content-Length: 3\r\n\r\n";
    HttpClient refused = connect();
    EXPECT_EQ(refused.ask("POST /no" + rest).status(), 405);
    EXPECT_TRUE(refused.isClosedByServer());
    HttpClient asked = connect();
    EXPECT_EQ(asked.ask("POST /yes" + rest).status(), 100);
    EXPECT_EQ(asked.ask("abc").status(), 200);
    EXPECT_THAT(judged, ElementsAre("/no", "/yes"));
    EXPECT_THAT(mRequests, ElementsAre(Field(&httpd::Request::target, "/yes")));
}

TEST_F(ServerTest, AnswersWithoutContentSaySo)
{
    start();
    HttpClient client = connect();
    mAnswer = {204, {}, "body"};
    client.send(kGet);
    EXPECT_FALSE(client.readAnswer().hasHeader("Content-Length"));
    mAnswer = {200, {}, "next"};
    EXPECT_EQ(client.ask(kGet).body, "next");
    EXPECT_THAT(mRequests, SizeIs(2));
}

} // namespace
