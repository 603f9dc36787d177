// Requests whose clients have gone.
#include "ServerTest.h"

#include <gmock/gmock.h>

namespace {

class WaitingClient : public ServerTest
{
protected:
    void ask(HttpClient& client)
    {
        mAnswersLater = true;
        client.send(kGet);
        ASSERT_TRUE(hasRequests(mRequests.size() + 1));
    }

    bool hasGone() const { return mRequests.back().client->hasGone(); }
};

TEST_F(WaitingClient, IsThere)
{
    start();
    HttpClient client = connect();
    ask(client);
    EXPECT_FALSE(hasGone());
    EXPECT_EQ(mRequests.back().client->share(), "127.0.0.1");
}

TEST_F(WaitingClient, HasGoneOnceItsSocketIsClosed)
{
    start();
    HttpClient client = connect();
    ask(client);
    client.close();
    EXPECT_TRUE(hasGone());
}

TEST_F(WaitingClient, IsThereWhileItReadsWhateverItSends)
{
    start();
    HttpClient client = connect();
    ask(client);
    client.shutdownSend();
    settle();
    EXPECT_FALSE(hasGone());
    mReplies.front()({200, {}, "late"});
    EXPECT_EQ(client.readAnswer().body, "late");
}

TEST_F(WaitingClient, MayGoAfterItHasEndedWhatItSends)
{
    start();
    HttpClient client = connect();
    ask(client);
    client.shutdownSend();
    settle();
    client.close();
    EXPECT_TRUE(hasGone());
}

TEST_F(WaitingClient, HasGoneEvenWithRequestsThatNobodyHasRead)
{
    start();
    HttpClient client = connect();
    ask(client);
    client.send(kGet);
    client.close();
    EXPECT_TRUE(hasGone());
}

TEST_F(WaitingClient, HasGoneWhenItsConnectionIsNoMore)
{
    start();
    HttpClient client = connect();
    ask(client);
    mServer->stop();
    EXPECT_TRUE(hasGone());
}

TEST_F(WaitingClient, WhoseRequestIsDroppedIsDisconnected)
{
    start();
    HttpClient client = connect();
    ask(client);
    mReplies.clear();
    EXPECT_TRUE(client.isClosedByServer());
}

} // namespace
