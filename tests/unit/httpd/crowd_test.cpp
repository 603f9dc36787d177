// Many clients, of whom some take places that others need.
#include "ServerTest.h"

#include <address_share.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <unistd.h>

#include <deque>

namespace {

using testing::SizeIs;

constexpr const char* kHalfHead = "GET /x HTTP/1.1\r\nHo";

// As many files as this process has open now, and some more; as before when it is over.
class OpenFiles
{
public:
    explicit OpenFiles(rlim_t more)
    {
        EXPECT_EQ(getrlimit(RLIMIT_NOFILE, &mBefore), 0);
        const int next = dup(0);
        close(next);
        rlimit fewer = mBefore;
        fewer.rlim_cur = static_cast<rlim_t>(next) + more;
        EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &fewer), 0);
    }
    ~OpenFiles() { EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &mBefore), 0); }
    OpenFiles(const OpenFiles&) = delete;
    OpenFiles& operator=(const OpenFiles&) = delete;

private:
    rlimit mBefore{};
};

class Crowd : public ServerTest
{
protected:
    void start(size_t connections)
    {
        httpd::Limits limits;
        limits.connections = connections;
        limits.connectionsPerShare = connections;
        ServerTest::start(limits);
    }

    // Where no test is too slow for who arrives to be still arriving.
    void startWithLongArrivals(size_t connections, size_t perShare)
    {
        httpd::Limits limits;
        limits.connections = connections;
        limits.connectionsPerShare = perShare;
        limits.arrivalTime = std::chrono::hours(1);
        limits.newcomerTime = limits.arrivalTime;
        ServerTest::start(limits);
    }

    // With descriptors at hand: the sanitizer opens some when it meets a class for the first time.
    void makeRoomOnce()
    {
        start(1);
        (void)join("127.0.0.2", kHalfHead);
        EXPECT_EQ(connect().ask(kGet).status(), 200);
        mRequests.clear();
    }

    // A client that has sent this, and which the server has read.
    HttpClient& join(const std::string& from, std::string_view text)
    {
        mClients.emplace_back(mContext, mServer->port(), from);
        mClients.back().send(text);
        settle();
        return mClients.back();
    }

    std::deque<HttpClient> mClients;
};

TEST_F(Crowd, HalfHeadsMakeRoomBeforeIdleConnections)
{
    start(3);
    HttpClient& idle = join("127.0.0.2", kGet);
    EXPECT_EQ(idle.readAnswer().status(), 200);
    HttpClient& older = join("127.0.0.3", kHalfHead);
    HttpClient& younger = join("127.0.0.4", kHalfHead);
    HttpClient fourth = connect();
    EXPECT_EQ(fourth.ask(kGet).status(), 200);
    EXPECT_TRUE(older.isClosedByServer());
    HttpClient fifth = connect();
    EXPECT_EQ(fifth.ask(kGet).status(), 200);
    EXPECT_TRUE(younger.isClosedByServer());
    EXPECT_EQ(idle.ask(kGet).status(), 200);
    EXPECT_EQ(fourth.ask(kGet).status(), 200);
}

TEST_F(Crowd, HalfHeadIsNoYoungerForEachByteOfIt)
{
    start(2);
    HttpClient& older = join("127.0.0.2", kHalfHead);
    HttpClient& younger = join("127.0.0.3", kHalfHead);
    older.send("s");
    settle();
    HttpClient third = connect();
    EXPECT_EQ(third.ask(kGet).status(), 200);
    EXPECT_TRUE(older.isClosedByServer());
    EXPECT_EQ(younger.ask("st: h\r\n\r\n").status(), 200);
}

TEST_F(Crowd, WhoHasJustComeIsLeftTimeToAsk)
{
    start(2);
    HttpClient& newcomer = join("127.0.0.2", "");
    HttpClient& answered = join("127.0.0.3", kGet);
    EXPECT_EQ(answered.readAnswer().status(), 200);
    HttpClient third = connect();
    EXPECT_EQ(third.ask(kGet).status(), 200);
    EXPECT_TRUE(answered.isClosedByServer());
    EXPECT_EQ(newcomer.ask(kGet).status(), 200);
}

TEST_F(Crowd, WhoArrivesIsNotDisplacedByTheNext)
{
    startWithLongArrivals(2, 2);
    mAnswersLater = true;
    HttpClient& busy = join("127.0.0.2", kGet);
    HttpClient& arriving = join("127.0.0.3", "");
    (void)join("127.0.0.4", kGet);
    arriving.send(kGet);
    ASSERT_TRUE(hasRequests(2));
    mReplies.front()({200, {}, "busy"});
    EXPECT_EQ(busy.readAnswer().body, "busy");
    ASSERT_TRUE(hasRequests(3));
    mReplies[1]({200, {}, "arrived"});
    EXPECT_EQ(arriving.readAnswer().body, "arrived");
}

TEST_F(Crowd, HalfBodyMakesRoomBeforeWhoArrives)
{
    startWithLongArrivals(2, 2);
    HttpClient& body =
        join("127.0.0.2", "POST /x HTTP/1.1\r\nHost: h\r\nContent-Length: 9\r\n\r\na");
    HttpClient& arriving = join("127.0.0.3", "");
    EXPECT_EQ(connect().ask(kGet).status(), 200);
    EXPECT_TRUE(body.isClosedByServer());
    EXPECT_EQ(arriving.ask(kGet).status(), 200);
}

TEST_F(Crowd, WhoSendsNothingUponArrivalMakesRoom)
{
    start(1);
    HttpClient& silent = join("127.0.0.2", "");
    EXPECT_EQ(connect().ask(kGet).status(), 200);
    EXPECT_TRUE(silent.isClosedByServer());
}

TEST_F(Crowd, WhoArrivesMakesRoomWithinItsShare)
{
    startWithLongArrivals(2, 1);
    HttpClient& arriving = join("127.0.0.2", "");
    HttpClient& next = join("127.0.0.2", kGet);
    EXPECT_EQ(next.readAnswer().status(), 200);
    EXPECT_TRUE(arriving.isClosedByServer());
}

TEST_F(Crowd, HalfBodiesMakeRoomAfterIdleConnections)
{
    start(2);
    HttpClient& body =
        join("127.0.0.2", "POST /x HTTP/1.1\r\nHost: h\r\nContent-Length: 9\r\n\r\na");
    HttpClient& idle = join("127.0.0.3", kGet);
    EXPECT_EQ(idle.readAnswer().status(), 200);
    mAnswersLater = true;
    HttpClient third = connect();
    third.send(kGet);
    ASSERT_TRUE(hasRequests(2));
    EXPECT_TRUE(idle.isClosedByServer());
    HttpClient fourth = connect();
    fourth.send(kGet);
    ASSERT_TRUE(hasRequests(3));
    EXPECT_TRUE(body.isClosedByServer());
}

TEST_F(Crowd, RequestThatIsBeingAnsweredKeepsItsPlace)
{
    start(1);
    mAnswersLater = true;
    HttpClient& busy = join("127.0.0.2", kGet);
    HttpClient next = connect();
    next.send(kGet);
    settle();
    EXPECT_THAT(mRequests, SizeIs(1));
    mReplies.front()({200, {}, "first"});
    EXPECT_EQ(busy.readAnswer().body, "first");
    ASSERT_TRUE(hasRequests(2));
}

TEST_F(Crowd, AnswerThatNobodyTakesMakesRoom)
{
    constexpr size_t kBeyondKernelBuffers = 16UL * 1024 * 1024;
    httpd::Limits limits;
    limits.connections = 1;
    limits.stallTimeout = std::chrono::milliseconds(50);
    limits.acceptRetry = std::chrono::milliseconds(10);
    ServerTest::start(limits);
    mAnswer.body = std::string(kBeyondKernelBuffers, 'x');
    HttpClient& lazy = join("127.0.0.2", kGet);
    mAnswer.body = "small";
    HttpClient next = connect();
    EXPECT_EQ(next.ask(kGet).body, "small");
    EXPECT_LT(lazy.readToEnd().size(), kBeyondKernelBuffers);
}

TEST_F(Crowd, HalfHeadsOfAFewAddressesKeepNobodyWaiting)
{
    constexpr size_t kPerAddress = 48;
    start(64);
    for (size_t i = 0; i < 3 * kPerAddress; ++i) {
        mClients.emplace_back(mContext, mServer->port(), "127.0.0." + std::to_string(2 + i % 3));
        mClients.back().send(kHalfHead);
    }
    HttpClient good = connect();
    for (size_t i = 0; i < kPerAddress; ++i) {
        ASSERT_EQ(good.ask(kGet).status(), 200);
        mClients.emplace_back(mContext, mServer->port(), "127.0.0.2");
        mClients.back().send(kHalfHead);
    }
    EXPECT_EQ(connect().ask(kGet).status(), 200);
}

TEST_F(Crowd, WithoutAnotherOpenFileThereIsRoomForAClient)
{
    makeRoomOnce();
    start(64);
    HttpClient& half = join("127.0.0.2", kHalfHead);
    HttpClient good = connect();
    {
        const OpenFiles none(0);
        EXPECT_EQ(good.ask(kGet).status(), 200);
    }
    EXPECT_TRUE(half.isClosedByServer());
}

TEST_F(Crowd, ClientWaitsForAnOpenFileWhileAllAreBeingAnswered)
{
    makeRoomOnce();
    start(64);
    mAnswersLater = true;
    HttpClient& busy = join("127.0.0.2", kGet);
    HttpClient good = connect();
    good.send(kGet);
    {
        const OpenFiles none(0);
        settle();
        EXPECT_EQ(mRequests.size(), 1U);
    }
    ASSERT_TRUE(hasRequests(2));
    mReplies.front()({200, {}, "kept"});
    EXPECT_EQ(busy.readAnswer().body, "kept");
}

TEST(ClientShare, IsAnAddressOrTheNetworkThatOneCustomerHas)
{
    const auto share = [](const char* address) {
        return httpd::shareOf(boost::asio::ip::make_address(address));
    };
    EXPECT_EQ(share("127.0.0.1"), "127.0.0.1");
    EXPECT_EQ(share("::ffff:10.1.2.3"), "10.1.2.3");
    EXPECT_EQ(share("2001:db8:0:1:2:3:4:5"), "2001:db8:0:1::/64");
    EXPECT_EQ(share("2001:db8:0:1::9"), "2001:db8:0:1::/64");
    EXPECT_NE(share("2001:db8:0:2::9"), "2001:db8:0:1::/64");
    EXPECT_EQ(share("::1"), "::/64");
}

TEST(OpenFileLimit, LeavesTheProcessItsOwn)
{
    const httpd::Limits usual = httpd::withinOpenFiles({}, 1024);
    EXPECT_EQ(usual.connections, httpd::Limits().connections);
    EXPECT_EQ(usual.connectionsPerShare, httpd::Limits().connectionsPerShare);
    const httpd::Limits few = httpd::withinOpenFiles({}, 256);
    EXPECT_EQ(few.connections, 256 - httpd::kOwnOpenFiles);
    EXPECT_EQ(few.connectionsPerShare, few.connections / 4 * 3);
    EXPECT_EQ(httpd::withinOpenFiles({}, 64).connections, 32U);
    EXPECT_EQ(httpd::withinOpenFiles({}, 0).connections, 1U);
}

} // namespace
