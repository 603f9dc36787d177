// What the server tells of each answer.
#include "ServerTest.h"

#include <gmock/gmock.h>

#include <chrono>
#include <string>

namespace {

using testing::SizeIs;

class ObserverTest : public ServerTest
{
protected:
    // The one exchange that is over, without what differs from run to run.
    httpd::Exchange only() const
    {
        EXPECT_THAT(mExchanges, SizeIs(1));
        return mExchanges.empty() ? httpd::Exchange() : mExchanges.back();
    }

    void expectTold(const std::string& method, const std::string& target, unsigned int status,
                    size_t bodyBytes) const
    {
        const httpd::Exchange told = only();
        EXPECT_EQ(told.client, "127.0.0.1");
        EXPECT_EQ(told.method, method);
        EXPECT_EQ(told.target, target);
        EXPECT_EQ(told.status, status);
        EXPECT_EQ(told.bodyBytes, bodyBytes);
        EXPECT_TRUE(told.isSent);
    }
};

TEST_F(ObserverTest, IsToldOfEachAnswer)
{
    start();
    HttpClient client = connect();
    client.ask(kGet);
    expectTold("GET", "/x", 200, 5);
    mAnswer = {503, {}, "no", "why it failed"};
    client.ask("POST /y?z HTTP/1.1\r\nHost: h\r\nContent-Length: 3\r\n\r\nabc");
    ASSERT_THAT(mExchanges, SizeIs(2));
    EXPECT_EQ(mExchanges[1].method, "POST");
    EXPECT_EQ(mExchanges[1].target, "/y?z");
    EXPECT_EQ(mExchanges[1].status, 503U);
    EXPECT_EQ(mExchanges[1].bodyBytes, 2U);
    EXPECT_EQ(mExchanges[1].remark, "why it failed");
    EXPECT_EQ(mExchanges[0].remark, "");
}

TEST_F(ObserverTest, BodyThatHeadHasNotGotIsNotCounted)
{
    start();
    HttpClient client = connect();
    client.send("HEAD /x HTTP/1.1\r\nHost: h\r\n\r\n");
    EXPECT_TRUE(runUntil(mContext, [&] { return !mExchanges.empty(); }));
    expectTold("HEAD", "/x", 200, 0);
}

TEST_F(ObserverTest, RequestThatIsNotHttpHasNoMethodAndNoTarget)
{
    start();
    HttpClient client = connect();
    client.ask("nonsense\r\n\r\n");
    expectTold("", "", 400, 8);
}

TEST_F(ObserverTest, RequestThatIsRefusedByItsHeadersHasBoth)
{
    start();
    HttpClient client = connect();
    client.ask("GET /x HTTP/1.1\r\n\r\n");
    expectTold("GET", "/x", 400, 8);
}

TEST_F(ObserverTest, LongTargetIsCut)
{
    start();
    HttpClient client = connect();
    const std::string target = "/" + std::string(3000, 'x');
    client.ask("GET " + target + " HTTP/1.1\r\nHost: h\r\n\r\n");
    expectTold("GET", target.substr(0, httpd::kNotedTargetBytes), 200, 5);
}

TEST_F(ObserverTest, DurationCountsFromTheFirstByteToTheLast)
{
    using std::chrono::steady_clock;
    mAnswersLater = true;
    start();
    HttpClient client = connect();
    client.send("GET /x HTTP");
    settle();
    const auto begun = steady_clock::now();
    client.send("/1.1\r\nHost: h\r\n\r\n");
    ASSERT_TRUE(hasRequests(1));
    settle();
    mReplies[0](mAnswer);
    EXPECT_GE(only().duration, steady_clock::now() - begun);
}

TEST_F(ObserverTest, ClientThatHasGoneGetsNoBytes)
{
    mAnswersLater = true;
    start();
    {
        HttpClient client = connect();
        client.send(kGet);
        ASSERT_TRUE(hasRequests(1));
    }
    mServer->stop();
    EXPECT_THAT(mExchanges, SizeIs(0));
    mAnswer.status = 500;
    mReplies[0](mAnswer);
    const httpd::Exchange told = only();
    EXPECT_EQ(told.method, "GET");
    EXPECT_EQ(told.status, 500U);
    EXPECT_EQ(told.bodyBytes, 0U);
    EXPECT_FALSE(told.isSent);
}

TEST_F(ObserverTest, AnswerThatIsNotTakenWholeIsToldWithWhatWasSent)
{
    start();
    mAnswer.body = std::string(size_t{20} * 1024 * 1024, 'x');
    HttpClient client = connect();
    client.send(kGet);
    ASSERT_TRUE(hasRequests(1));
    settle();
    EXPECT_THAT(mExchanges, SizeIs(0));
    mServer->stop();
    const httpd::Exchange told = only();
    EXPECT_FALSE(told.isSent);
    EXPECT_GT(told.bodyBytes, 0U);
    EXPECT_LT(told.bodyBytes, mAnswer.body.size());
}

} // namespace
