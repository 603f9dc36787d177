// What clients may make the server hold.
#include "ServerTest.h"

#include <ExhaustedMemory.h>
#include <gmock/gmock.h>

#include <deque>

namespace {

using std::chrono::milliseconds;
using testing::IsEmpty;
using testing::SizeIs;

constexpr size_t kKiB = 1024;

std::string post(size_t bodyBytes, size_t sentBytes)
{
    return "POST /x HTTP/1.1\r\nHost: h\r\nContent-Length: " + std::to_string(bodyBytes) +
           "\r\n\r\n" + std::string(sentBytes, 'b');
}

TEST(MemoryAccount, GivesEachKindItsPart)
{
    const auto budget = std::make_shared<httpd::MemoryBudget>(100);
    httpd::MemoryShare body(budget);
    httpd::MemoryShare answer(budget);
    httpd::MemoryShare head(budget);
    EXPECT_FALSE(body.resize(51, httpd::Holding::LargeBody));
    EXPECT_TRUE(body.resize(50, httpd::Holding::LargeBody));
    EXPECT_FALSE(answer.resize(26, httpd::Holding::Answer));
    EXPECT_TRUE(answer.resize(25, httpd::Holding::Answer));
    EXPECT_FALSE(head.resize(26, httpd::Holding::Small));
    EXPECT_TRUE(head.resize(25, httpd::Holding::Small));
    EXPECT_EQ(budget->held(), 100U);
}

TEST(MemoryAccount, GetsBackWhatIsNotHeldAnyMore)
{
    const auto budget = std::make_shared<httpd::MemoryBudget>(100);
    int told = 0;
    budget->setRoomMade([&] { ++told; });
    {
        httpd::MemoryShare share(budget);
        share.force(120);
        EXPECT_EQ(told, 0);
        EXPECT_TRUE(share.resize(110, httpd::Holding::Small)); // less is never refused
        EXPECT_EQ(told, 1);
    }
    EXPECT_EQ(told, 2);
    EXPECT_EQ(budget->held(), 0U);
    EXPECT_EQ(budget->mostHeld(), 120U);
}

class ClientMemory : public ServerTest
{
protected:
    void start(size_t bytes)
    {
        mLimits.clientMemoryBytes = bytes;
        ServerTest::start(mLimits);
    }

    HttpClient& send(std::string_view text)
    {
        mClients.emplace_back(mContext, mServer->port());
        mClients.back().send(text);
        settle();
        return mClients.back();
    }

    size_t held() const { return mServer->memory().held(); }

    httpd::Limits mLimits;
    std::deque<HttpClient> mClients;
};

TEST_F(ClientMemory, IsThatOfTheConnectionsAloneWhenNothingIsAskedFor)
{
    start(1024 * kKiB);
    EXPECT_EQ(held(), 0U);
    HttpClient& client = send("");
    const size_t ofConnection = held();
    EXPECT_GT(ofConnection, 0U);
    client.send(post(100 * kKiB, 100 * kKiB));
    EXPECT_EQ(client.readAnswer().status(), 200);
    mRequests.clear();
    settle();
    EXPECT_EQ(held(), ofConnection);
    client.close();
    settle();
    EXPECT_EQ(held(), 0U);
}

TEST_F(ClientMemory, HoldsARequestForAsLongAsItsShareIsKept)
{
    start(1024 * kKiB);
    mAnswersLater = true;
    send(post(100 * kKiB, 100 * kKiB));
    ASSERT_TRUE(hasRequests(1));
    EXPECT_GT(held(), 100 * kKiB);
    mReplies.clear();
    settle();
    EXPECT_GT(held(), 100 * kKiB);
    mRequests.clear();
    EXPECT_LT(held(), kKiB);
}

TEST_F(ClientMemory, OfBodiesThatAreOnlyAnnouncedIsNotTaken)
{
    start(1024 * kKiB);
    for (int i = 0; i < 4; ++i) {
        send(post(400 * kKiB, 1));
    }
    EXPECT_LT(held(), 100 * kKiB);
    EXPECT_EQ(connect().ask(post(400 * kKiB, 400 * kKiB)).status(), 200);
}

TEST_F(ClientMemory, LargeBodyWaitsForRoomAndGoesOn)
{
    start(1024 * kKiB);
    mAnswersLater = true;
    HttpClient& first = send(post(400 * kKiB, 400 * kKiB));
    ASSERT_TRUE(hasRequests(1));
    HttpClient& second = send(post(400 * kKiB, 0));
    second.send(std::string(100 * kKiB, 'b'));
    settle();
    EXPECT_THAT(mRequests, SizeIs(1));
    EXPECT_LT(held(), 512 * kKiB);
    EXPECT_EQ(mServer->memory().limit(), 1024 * kKiB);

    mReplies.front()({200, {}, "first"});
    EXPECT_EQ(first.readAnswer().body, "first");
    mRequests.clear();
    second.send(std::string(300 * kKiB, 'b'));
    ASSERT_TRUE(hasRequests(1));
    EXPECT_EQ(mRequests.front().body, std::string(400 * kKiB, 'b'));
}

TEST_F(ClientMemory, LargeBodyThatFindsNoRoomIs503)
{
    mLimits.bodyTimeout = milliseconds(50);
    start(1024 * kKiB);
    mAnswersLater = true;
    send(post(400 * kKiB, 400 * kKiB));
    ASSERT_TRUE(hasRequests(1));
    HttpClient& second = send(post(400 * kKiB, 100 * kKiB));
    const HttpAnswer answer = second.readAnswer();
    EXPECT_EQ(answer.status(), 503);
    EXPECT_EQ(answer.header("Connection"), "close");
    EXPECT_THAT(mRequests, SizeIs(1));
    mRequests.clear(); // what comes free now is not for the one that was refused
    settle();
    mAnswersLater = false;
    EXPECT_EQ(connect().ask(kGet).status(), 200);
}

TEST_F(ClientMemory, LargeBodyThatWaitsKeepsNoPlaceOnceItsClientHasGone)
{
    mLimits.connections = 3;
    start(1024 * kKiB);
    mAnswersLater = true;
    send(post(400 * kKiB, 400 * kKiB));
    ASSERT_TRUE(hasRequests(1));
    send(post(400 * kKiB, 100 * kKiB)).close();
    HttpClient& idle = send("");
    mAnswersLater = false;
    EXPECT_EQ(connect().ask(kGet).status(), 200);
    EXPECT_EQ(idle.ask(kGet).status(), 200);
}

TEST_F(ClientMemory, SmallRequestsAreServedBesideLargeBodiesThatWait)
{
    start(1024 * kKiB);
    for (int i = 0; i < 8; ++i) {
        send(post(400 * kKiB, 399 * kKiB));
    }
    EXPECT_EQ(connect().ask(kGet).status(), 200);
    EXPECT_EQ(connect().ask(post(8 * kKiB, 8 * kKiB)).status(), 200);
    EXPECT_LT(held(), 1024 * kKiB);
}

TEST_F(ClientMemory, BodiesInChunksAreHeldToTheSame)
{
    mLimits.bodyTimeout = milliseconds(50);
    mLimits.bodyBytes = 600 * kKiB; // above the half that bodies get
    start(1024 * kKiB);
    const std::string head = "POST /x HTTP/1.1\r\nHost: h\r\nTransfer-Encoding: chunked\r\n\r\n";
    EXPECT_EQ(connect().ask(head + "3\r\nabc\r\n0\r\n\r\n").status(), 200);
    EXPECT_EQ(connect().ask(head + "10000\r\n" + std::string(0x10000, 'x')).status(), 503);
}

TEST_F(ClientMemory, HeadThatFindsNoRoomIs503AtOnce)
{
    start(64 * kKiB);
    mAnswersLater = true;
    HttpClient& first = send(kGet);
    HttpClient* last = &first;
    for (int i = 0; i < 64 && !last->hasInput(); ++i) {
        last = &send(kGet);
    }
    const HttpAnswer answer = last->readAnswer();
    EXPECT_EQ(answer.status(), 503);
    EXPECT_EQ(answer.header("Connection"), "close");
    EXPECT_TRUE(last->isClosedByServer());
    EXPECT_THAT(mRequests, SizeIs(mClients.size() - 1));
    mReplies.front()({200, {}, "first"});
    EXPECT_EQ(first.readAnswer().body, "first");
}

TEST_F(ClientMemory, OfAnswersThatNobodyTakesIsBounded)
{
    constexpr size_t kAnswerBytes = size_t{8} * 1024 * kKiB; // beyond what the kernel takes of it
    start(3 * kAnswerBytes);
    mAnswer.body = std::string(kAnswerBytes, 'x');
    send(kGet);
    send(kGet);
    EXPECT_GT(held(), 2 * kAnswerBytes);
    HttpClient third = connect();
    const HttpAnswer answer = third.ask(kGet);
    EXPECT_EQ(answer.status(), 503);
    EXPECT_EQ(answer.header("Connection"), "close");
    EXPECT_TRUE(third.isClosedByServer());
    mClients.clear();
    settle();
    EXPECT_EQ(connect().ask(kGet).body.size(), kAnswerBytes);
}

TEST_F(ClientMemory, ThatRunsOutCostsTheConnectionItWasFor)
{
    start(1024 * kKiB);
    mAnswer.body = std::string(100 * kKiB, 'a');
    HttpClient bystander = connect();
    EXPECT_EQ(bystander.ask(kGet).status(), 200);
    bool hasFailed = true;
    int allowed = 0;
    for (; hasFailed; ++allowed) {
        HttpClient client = connect();
        (void)client.sendSome(post(40 * kKiB, 40 * kKiB));
        {
            const ExhaustedMemory memory(allowed);
            settle();
            hasFailed = ExhaustedMemory::hasFailed();
        }
        mRequests.clear();
        ASSERT_EQ(bystander.ask(kGet).status(), 200) << allowed;
    }
    EXPECT_GT(allowed, 10);
    EXPECT_EQ(connect().ask(kGet).status(), 200);
}

TEST_F(ClientMemory, ThatRunsOutInTheHandlerCostsItsConnection)
{
    ServerTest::start();
    mServer = std::make_unique<httpd::Server>(
        mContext,
        [](const httpd::Request& request, const httpd::Reply& reply) {
            if (request.target == "/none") {
                throw std::bad_alloc();
            }
            reply({});
        },
        [](unsigned int /*status*/) { return httpd::Response(); });
    std::string problem;
    ASSERT_TRUE(mServer->listen("127.0.0.1", 0, problem)) << problem;
    HttpClient client = connect();
    client.send("GET /none HTTP/1.1\r\nHost: h\r\n\r\n");
    EXPECT_TRUE(client.isClosedByServer());
    EXPECT_EQ(connect().ask(kGet).status(), 200);
    EXPECT_THAT(mRequests, IsEmpty());
}

} // namespace
