#include "CannedServer.h"
#include "Owner.h"
#include "TempDirectory.h"

#include <CimClientLib/cimgate_local.h>
#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <thread>

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

// A port of the loopback that nobody listens on while this lives.
class ClosedPort
{
public:
    ClosedPort() : mSocket(::socket(AF_INET, SOCK_STREAM, 0))
    {
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        EXPECT_EQ(::bind(mSocket, reinterpret_cast<sockaddr*>(&address), length), 0);
        EXPECT_EQ(::getsockname(mSocket, reinterpret_cast<sockaddr*>(&address), &length), 0);
        mPort = std::to_string(ntohs(address.sin_port));
    }
    ~ClosedPort() { ::close(mSocket); }
    ClosedPort(const ClosedPort&) = delete;
    ClosedPort& operator=(const ClosedPort&) = delete;
    const char* port() const { return mPort.c_str(); }

private:
    int mSocket;
    std::string mPort;
};

void expectEnumeration(CMCIClient* client, CannedServer& server)
{
    ASSERT_NE(client, nullptr);
    server.addXml(CannedServer::message("EnumerateInstances", "<IRETURNVALUE/>"));
    const auto path = own(newCMPIObjectPath("root/xcim", "XCIM_Fan", nullptr));
    Status status;
    const auto enumeration =
        own(client->ft->enumInstances(client, path.get(), 0, nullptr, status.out()));
    EXPECT_EQ(status.code(), CMPI_RC_OK) << status.message();
    EXPECT_NE(enumeration, nullptr);
}

class Connect : public testing::Test
{
protected:
    void TearDown() override
    {
        (void)cimgate_cmpisfcc_set_local_url(nullptr);
        (void)cimgate_cmpisfcc_set_local_credentials(nullptr, nullptr);
        (void)cimgate_cmpisfcc_set_local_ca(nullptr);
    }

    // The request that a client of the local object manager sends, which connects as "root".
    static std::string localRequest()
    {
        CannedServer server;
        const std::string url = "http://127.0.0.1:" + server.port();
        EXPECT_EQ(cimgate_cmpisfcc_set_local_url(url.c_str()), CMPI_RC_OK);
        const auto client =
            own(cmciConnect("SfcbLocal", nullptr, "5988", "root", nullptr, nullptr));
        expectEnumeration(client.get(), server);
        return server.requests().empty() ? "" : server.requests()[0];
    }

    Status mStatus;
};

TEST_F(Connect, ARemoteObjectManagerIsNotContactedYet)
{
    const ClosedPort closed;
    const auto client =
        own(cmciConnect("127.0.0.1", "http", closed.port(), "me", "secret", mStatus.out()));
    ASSERT_NE(client, nullptr);
    EXPECT_EQ(mStatus.code(), CMPI_RC_OK);
    EXPECT_EQ(mStatus.message(), "(none)");
    const auto path = own(newCMPIObjectPath("root/xcim", "XCIM_Fan", nullptr));
    EXPECT_EQ(client->ft->enumInstances(client.get(), path.get(), 0, nullptr, mStatus.out()),
              nullptr);
    EXPECT_EQ(mStatus.code(), CMPI_RC_ERR_FAILED);
    EXPECT_THAT(mStatus.message(), StartsWith("Couldn't connect to server"));
}

TEST_F(Connect, MessageOfAFailureNeedNotBeReleasedAndMayBe)
{
    CMPIStatus first{};
    CMPIStatus second{};
    EXPECT_EQ(cmciConnect("h", "foo", nullptr, nullptr, nullptr, &first), nullptr);
    EXPECT_THAT(CMGetCharPtr(first.msg), HasSubstr("'foo'"));
    CMRelease(first.msg);
    EXPECT_THAT(CMGetCharPtr(first.msg), HasSubstr("'foo'"));
    EXPECT_EQ(cmciConnect("h", "bar", nullptr, nullptr, nullptr, &second), nullptr);
    EXPECT_THAT(CMGetCharPtr(second.msg), HasSubstr("'bar'"));
    EXPECT_EQ(cmciConnect("h", "bar", nullptr, nullptr, nullptr, nullptr), nullptr);
}

TEST_F(Connect, DefaultsAreSeenInTheClientsData)
{
    const auto client = own(cmciConnect(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
    ASSERT_NE(client, nullptr);
    const auto* data = static_cast<const CMCIClientData*>(client->hdl);
    EXPECT_STREQ(data->hostName, "localhost");
    EXPECT_STREQ(data->scheme, "http");
    EXPECT_STREQ(data->port, "5988");
    EXPECT_EQ(data->user, nullptr);
    const auto secure = own(cmciConnect("h", "https", nullptr, "u", nullptr, nullptr));
    EXPECT_STREQ(static_cast<const CMCIClientData*>(secure->hdl)->port, "5989");
}

TEST_F(Connect, UnknownSchemesPortsAndHostsAreRefused)
{
    EXPECT_EQ(cmciConnect("h", "foo", nullptr, nullptr, nullptr, mStatus.out()), nullptr);
    EXPECT_EQ(mStatus.code(), CMPI_RC_ERR_FAILED);
    EXPECT_THAT(mStatus.message(), HasSubstr("'foo'"));
    for (const char* port : {"", "0", "65536", "80x"}) {
        EXPECT_EQ(cmciConnect("h", "http", port, nullptr, nullptr, mStatus.out()), nullptr);
        EXPECT_THAT(mStatus.message(), HasSubstr("no port"));
    }
    for (const char* host : {"", "a b", "a/b"}) {
        EXPECT_EQ(cmciConnect(host, "http", nullptr, nullptr, nullptr, mStatus.out()), nullptr)
            << host;
        EXPECT_THAT(mStatus.message(), HasSubstr("no host name"));
    }
}

TEST_F(Connect, TheLocalObjectManagerIsFoundAtItsPort)
{
    CannedServer server;
    for (const char* scheme : {static_cast<const char*>(nullptr), "SfcbLocal"}) {
        const char* host = scheme == nullptr ? "SfcbLocal" : "localhost";
        const auto client =
            own(cmciConnect(host, scheme, server.port().c_str(), "root", nullptr, mStatus.out()));
        EXPECT_EQ(mStatus.code(), CMPI_RC_OK);
        expectEnumeration(client.get(), server);
    }
}

TEST_F(Connect, ALocalObjectManagerThatIsAwayFailsAtOnce)
{
    const ClosedPort closed;
    EXPECT_EQ(cmciConnect("SfcbLocal", nullptr, closed.port(), "root", nullptr, mStatus.out()),
              nullptr);
    EXPECT_EQ(mStatus.code(), CMPI_RC_ERR_FAILED);
    EXPECT_THAT(mStatus.message(), StartsWith("Couldn't connect to server"));
    EXPECT_EQ(cmciConnect("SfcbLocal", nullptr, closed.port(), "root", nullptr, nullptr), nullptr);
}

TEST_F(Connect, AUnixSocketTakesThePlaceOfAPort)
{
    const support::TempDirectory directory;
    const std::string path = directory.File("socket");
    CannedServer server(path);
    const auto client =
        own(cmciConnect("localhost", "http", path.c_str(), "root", nullptr, mStatus.out()));
    expectEnumeration(client.get(), server);
    EXPECT_STREQ(static_cast<const CMCIClientData*>(client->hdl)->port, path.c_str());
    const auto local =
        own(cmciConnect("SfcbLocal", nullptr, path.c_str(), "root", nullptr, mStatus.out()));
    expectEnumeration(local.get(), server);
}

TEST_F(Connect, TheLocalObjectManagerCanBeElsewhere)
{
    CannedServer server;
    const std::string url = "http://localhost:" + server.port() + "/";
    EXPECT_EQ(cimgate_cmpisfcc_set_local_url(url.c_str()), CMPI_RC_OK);
    const auto client =
        own(cmciConnect("SfcbLocal", nullptr, "5988", "root", nullptr, mStatus.out()));
    expectEnumeration(client.get(), server);
}

TEST_F(Connect, OnlyUrlsOfObjectManagersDirectTheLocalOne)
{
    for (const char* url :
         {"", "localhost:5988", "ftp://localhost", "http://h/path", "http://u:p@h", "http://h?q",
          "http://h#f", "http://", "http://h:99999"}) {
        EXPECT_EQ(cimgate_cmpisfcc_set_local_url(url), CMPI_RC_ERR_INVALID_PARAMETER) << url;
    }
    for (const char* url : {"http://h", "https://h:5989", "http://[::1]:5988", "/run/socket"}) {
        EXPECT_EQ(cimgate_cmpisfcc_set_local_url(url), CMPI_RC_OK) << url;
    }
}

TEST_F(Connect, TheLocalObjectManagerIsToldOtherCredentialsOrNone)
{
    EXPECT_THAT(localRequest(), HasSubstr("\r\nAuthorization: Basic cm9vdDo=\r\n")); // root:
    EXPECT_EQ(cimgate_cmpisfcc_set_local_credentials("me", "se:cret"), CMPI_RC_OK);
    EXPECT_THAT(localRequest(), HasSubstr("\r\nAuthorization: Basic bWU6c2U6Y3JldA==\r\n"));
    EXPECT_EQ(cimgate_cmpisfcc_set_local_credentials("m:e", "secret"),
              CMPI_RC_ERR_INVALID_PARAMETER);
    EXPECT_THAT(localRequest(), HasSubstr("\r\nAuthorization: Basic bWU6c2U6Y3JldA==\r\n"));
    EXPECT_EQ(cimgate_cmpisfcc_set_local_credentials("", nullptr), CMPI_RC_OK);
    EXPECT_THAT(localRequest(), Not(HasSubstr("Authorization")));
    EXPECT_EQ(cimgate_cmpisfcc_set_local_credentials(nullptr, nullptr), CMPI_RC_OK);
    EXPECT_THAT(localRequest(), HasSubstr("\r\nAuthorization: Basic cm9vdDo=\r\n"));
}

TEST_F(Connect, CredentialsOfTheLocalObjectManagerReachNoOther)
{
    EXPECT_EQ(cimgate_cmpisfcc_set_local_credentials("me", "secret"), CMPI_RC_OK);
    CannedServer server;
    const auto client =
        own(cmciConnect("127.0.0.1", "http", server.port().c_str(), nullptr, nullptr, nullptr));
    expectEnumeration(client.get(), server);
    ASSERT_EQ(server.requests().size(), 1U);
    EXPECT_THAT(server.requests()[0], Not(HasSubstr("Authorization")));
}

TEST_F(Connect, ThreadsWithAClientEachNeedNoLock)
{
    const auto work = [] {
        CannedServer server;
        const auto client =
            own(cmciConnect("127.0.0.1", "http", server.port().c_str(), "me", "x", nullptr));
        for (int i = 0; i < 20; ++i) {
            expectEnumeration(client.get(), server);
        }
        EXPECT_EQ(server.connections(), 1U);
    };
    std::thread other(work);
    work();
    other.join();
}

} // namespace
