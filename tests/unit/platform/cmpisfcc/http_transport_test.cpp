#include "CannedServer.h"
#include "Owner.h"
#include "TempDirectory.h"

#include <CimClientLib/cimgate_local.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <vector>

using testing::HasSubstr;

namespace {

constexpr int kStartMs = 30000;

// TLS in front of a canned server, in a process of its own.
class TlsFront
{
public:
    TlsFront(const std::string& directory, const std::string& serverPort, bool wantsClient)
    {
        std::array<int, 2> in{};
        std::array<int, 2> out{};
        EXPECT_EQ(pipe(in.data()), 0);
        EXPECT_EQ(pipe(out.data()), 0);
        mPid = fork();
        if (mPid == 0) {
            dup2(in[0], STDIN_FILENO);
            dup2(out[1], STDOUT_FILENO);
            close(in[1]);
            close(out[0]);
            execl("/usr/bin/python3", "python3", "-B", TLS_FRONT, directory.c_str(),
                  serverPort.c_str(), wantsClient ? "--wants-client" : nullptr, nullptr);
            _exit(127);
        }
        close(in[0]);
        close(out[1]);
        mInput = in[1];
        mOutput = out[0];
        mPort = readLine();
    }
    ~TlsFront()
    {
        close(mInput);
        close(mOutput);
        waitpid(mPid, nullptr, 0);
    }
    TlsFront(const TlsFront&) = delete;
    TlsFront& operator=(const TlsFront&) = delete;

    const char* port() const { return mPort.c_str(); }

private:
    std::string readLine() const
    {
        std::string line;
        pollfd ready = {mOutput, POLLIN, 0};
        char byte = 0;
        while (poll(&ready, 1, kStartMs) == 1 && read(mOutput, &byte, 1) == 1 && byte != '\n') {
            line += byte;
        }
        return line;
    }

    pid_t mPid = -1;
    int mInput = -1;
    int mOutput = -1;
    std::string mPort;
};

class Tls : public testing::Test
{
protected:
    void start(bool wantsClient = false)
    {
        mFront = std::make_unique<TlsFront>(mDirectory.File(""), mServer.port(), wantsClient);
        ASSERT_NE(std::string(mFront->port()), "");
    }

    // Reads an instance over a connection that is made so; false where it fails.
    bool read(int verifyMode, const char* trustStore, const char* certFile = nullptr,
              const char* keyFile = nullptr, const char* host = "127.0.0.1")
    {
        return readOver(own(cmciConnect2(host, "https", mFront->port(), "me", "secret", verifyMode,
                                         trustStore, certFile, keyFile, mStatus.out())));
    }

    bool readLocal()
    {
        return readOver(
            own(cmciConnect("SfcbLocal", nullptr, nullptr, nullptr, nullptr, mStatus.out())));
    }

    void TearDown() override
    {
        (void)cimgate_cmpisfcc_set_local_url(nullptr);
        (void)cimgate_cmpisfcc_set_local_ca(nullptr);
    }

    std::string file(const char* name) const { return mDirectory.File(name); }

    support::TempDirectory mDirectory;
    CannedServer mServer;
    std::unique_ptr<TlsFront> mFront;
    Status mStatus;

private:
    bool readOver(const Owner<CMCIClient>& client)
    {
        if (client == nullptr) { // the local object manager is looked at at once
            return false;
        }
        mServer.addXml(CannedServer::message("EnumerateInstances", "<IRETURNVALUE/>"));
        const auto path = own(newCMPIObjectPath("root/xcim", "XCIM_Fan", nullptr));
        auto* enumeration =
            client->ft->enumInstances(client.get(), path.get(), 0, nullptr, mStatus.out());
        if (enumeration != nullptr) {
            EXPECT_EQ(mStatus.code(), CMPI_RC_OK);
            (void)enumeration->ft->release(enumeration);
        }
        return enumeration != nullptr;
    }
};

TEST_F(Tls, APeerThatTheTrustStoreKnowsIsTalkedTo)
{
    start();
    EXPECT_TRUE(read(CMCI_VERIFY_PEER, file("server.pem").c_str())) << mStatus.message();
    ASSERT_EQ(mServer.requests().size(), 1U);
    EXPECT_THAT(mServer.requests()[0], HasSubstr("EnumerateInstances"));
}

TEST_F(Tls, APeerThatTheTrustStoreLacksIsSentNothing)
{
    start();
    EXPECT_FALSE(read(CMCI_VERIFY_PEER, file("client.pem").c_str()));
    EXPECT_EQ(mStatus.code(), CMPI_RC_ERR_FAILED);
    EXPECT_THAT(mStatus.message(), HasSubstr("certificate"));
    EXPECT_TRUE(mServer.requests().empty());
}

TEST_F(Tls, TheLocalObjectManagerIsCheckedAgainstTheAuthoritiesThatAreNamed)
{
    start();
    const std::string url = std::string("https://127.0.0.1:") + mFront->port();
    ASSERT_EQ(cimgate_cmpisfcc_set_local_url(url.c_str()), CMPI_RC_OK);
    EXPECT_FALSE(readLocal());
    EXPECT_THAT(mStatus.message(), HasSubstr("certificate"));
    ASSERT_EQ(cimgate_cmpisfcc_set_local_ca(file("server.pem").c_str()), CMPI_RC_OK);
    EXPECT_EQ(cimgate_cmpisfcc_set_local_ca(file("none.pem").c_str()),
              CMPI_RC_ERR_INVALID_PARAMETER);
    EXPECT_TRUE(readLocal()) << mStatus.message();
    ASSERT_EQ(cimgate_cmpisfcc_set_local_ca(nullptr), CMPI_RC_OK);
    EXPECT_FALSE(readLocal());
}

TEST_F(Tls, WithoutATrustStoreTheSystemsOneDecides)
{
    start();
    EXPECT_FALSE(read(CMCI_VERIFY_PEER, nullptr));
    EXPECT_THAT(mStatus.message(), HasSubstr("certificate"));
    EXPECT_TRUE(mServer.requests().empty());
}

TEST_F(Tls, APeerOfAnotherNameIsSentNothing)
{
    start();
    EXPECT_FALSE(read(CMCI_VERIFY_PEER, file("server.pem").c_str(), nullptr, nullptr, "localhost"));
    EXPECT_EQ(mStatus.code(), CMPI_RC_ERR_FAILED);
    EXPECT_THAT(mStatus.message(), HasSubstr("localhost"));
    EXPECT_TRUE(mServer.requests().empty());
}

TEST_F(Tls, WithoutVerificationAnyPeerIsTalkedTo)
{
    start();
    EXPECT_TRUE(read(CMCI_VERIFY_NONE, nullptr)) << mStatus.message();
}

TEST_F(Tls, AMissingTrustStoreIsNamed)
{
    start();
    EXPECT_FALSE(read(CMCI_VERIFY_PEER, file("absent.pem").c_str()));
    EXPECT_THAT(mStatus.message(), HasSubstr("absent.pem"));
    EXPECT_TRUE(mServer.requests().empty());
}

TEST_F(Tls, AClientShowsItsCertificateWhereThePeerWantsOne)
{
    start(true);
    EXPECT_TRUE(read(CMCI_VERIFY_PEER, file("server.pem").c_str(), file("client.pem").c_str(),
                     file("client.key").c_str()))
        << mStatus.message();
}

// What the message says depends on whether the peer's alert or its reset arrives first.
TEST_F(Tls, AClientWithoutACertificateFailsWhereThePeerWantsOne)
{
    start(true);
    EXPECT_FALSE(read(CMCI_VERIFY_PEER, file("server.pem").c_str()));
    EXPECT_EQ(mStatus.code(), CMPI_RC_ERR_FAILED);
    EXPECT_NE(mStatus.message(), "(none)");
    EXPECT_TRUE(mServer.requests().empty());
}

} // namespace
