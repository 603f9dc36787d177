// What can go wrong on the way to an answer and in it: each a code and a message, and a client that
// goes on.
#include "CannedServer.h"
#include "Owner.h"
#include "client.h"
#include "connect.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::HasSubstr;
using testing::StartsWith;
using Then = CannedServer::Reply::Then;

namespace {

constexpr const char* kXmlHeader = "Content-Type: application/xml; charset=\"utf-8\"\r\n";

class ClientFailures : public testing::Test
{
protected:
    void connect(const cmpisfcc::TransportLimits& limits = {})
    {
        const std::string port = mServer.port();
        mClient = own(cmpisfcc::connectClient(
            {"127.0.0.1", "http", port.c_str(), "root", nullptr, 0, nullptr, nullptr, nullptr},
            limits, mStatus.out()));
        ASSERT_NE(mClient, nullptr);
    }

    // Enumerates; expects failure.
    void expectFailure(int code)
    {
        if (!mClient) {
            ASSERT_NO_FATAL_FAILURE(connect());
        }
        const auto path = own(newCMPIObjectPath("root/xcim", "XCIM_Fan", nullptr));
        EXPECT_EQ(mClient->ft->enumInstances(mClient.get(), path.get(), 0, nullptr, mStatus.out()),
                  nullptr);
        EXPECT_EQ(mStatus.code(), code);
    }

    // The next operation of the same client works.
    void expectRecovery()
    {
        mServer.addXml(CannedServer::message("EnumerateInstances", "<IRETURNVALUE/>"));
        const auto path = own(newCMPIObjectPath("root/xcim", "XCIM_Fan", nullptr));
        const auto empty =
            own(mClient->ft->enumInstances(mClient.get(), path.get(), 0, nullptr, mStatus.out()));
        EXPECT_EQ(mStatus.code(), CMPI_RC_OK) << mStatus.message();
        EXPECT_NE(empty, nullptr);
    }

    void replyBody(const std::string& body) { mServer.addXml(body); }

    CannedServer mServer;
    Status mStatus;
    Owner<CMCIClient> mClient;
};

TEST_F(ClientFailures, TheObjectManagersErrorIsPassedOn)
{
    replyBody(CannedServer::message(
        "EnumerateInstances", "<ERROR CODE=\"5\" DESCRIPTION=\"No class &lt;XCIM_Fan&gt;\"/>"));
    expectFailure(CMPI_RC_ERR_INVALID_CLASS);
    EXPECT_EQ(mStatus.message(), "No class <XCIM_Fan>");
    expectRecovery();
}

TEST_F(ClientFailures, ErrorCodesThatAreNoneAreGeneralFailures)
{
    for (const char* code : {"0", "many", "-3"}) {
        replyBody(CannedServer::message("EnumerateInstances",
                                        std::string("<ERROR CODE=\"") + code + "\"/>"));
        expectFailure(CMPI_RC_ERR_FAILED);
    }
    expectRecovery();
}

TEST_F(ClientFailures, RefusedCredentialsAreAccessDenied)
{
    mServer.add({CannedServer::http("401 Unauthorized", "WWW-Authenticate: Basic\r\n", "no")});
    expectFailure(CMPI_RC_ERR_ACCESS_DENIED);
    EXPECT_EQ(mStatus.message(), "Invalid username/password");
    expectRecovery();
}

TEST_F(ClientFailures, HttpErrorsTellWhatTheirHeadersSay)
{
    mServer.add({CannedServer::http("400 Bad Request",
                                    "CIMError: request-not-valid\r\n"
                                    "PGErrorDetail: no%20method%20%22X%22\r\n",
                                    "<html/>")});
    expectFailure(CMPI_RC_ERR_FAILED);
    EXPECT_EQ(mStatus.message(), "HTTP status 400, request-not-valid: no method \"X\"");
    expectRecovery();
}

TEST_F(ClientFailures, AStatusInTheHeadersIsPassedOn)
{
    mServer.add({CannedServer::http("500 Error",
                                    "CIMStatusCode: 3\r\n"
                                    "CIMStatusCodeDescription: Invalid%20namespace\r\n",
                                    "")});
    expectFailure(CMPI_RC_ERR_INVALID_NAMESPACE);
    EXPECT_EQ(mStatus.message(), "Invalid namespace");
}

TEST_F(ClientFailures, ARedirectIsNotFollowed)
{
    mServer.add({CannedServer::http("302 Found", "Location: /elsewhere\r\n", "")});
    expectFailure(CMPI_RC_ERR_FAILED);
    EXPECT_EQ(mStatus.message(), "HTTP status 302");
    EXPECT_EQ(mServer.requests().size(), 1U);
}

TEST_F(ClientFailures, OnlyXmlIsRead)
{
    mServer.add({CannedServer::http("200 OK", "Content-Type: text/html\r\n", "<html/>")});
    expectFailure(CMPI_RC_ERR_FAILED);
    EXPECT_THAT(mStatus.message(), HasSubstr("'text/html'"));
    mServer.add({CannedServer::http("200 OK", "Content-Type: application/xmlish\r\n", "<x/>")});
    expectFailure(CMPI_RC_ERR_FAILED);
    mServer.add({CannedServer::http("200 OK", "", "<x/>")});
    expectFailure(CMPI_RC_ERR_FAILED);
    expectRecovery();
}

TEST_F(ClientFailures, TheOlderXmlTypeIsReadToo)
{
    mServer.add({CannedServer::http(
        "200 OK", "content-type: Text/XML;charset=utf-8\r\n",
        CannedServer::message("EnumerateInstances", "<ERROR CODE=\"6\" DESCRIPTION=\"r\"/>"))});
    expectFailure(CMPI_RC_ERR_NOT_FOUND);
}

TEST_F(ClientFailures, AnEmptyAnswerIsNoEmptyList)
{
    replyBody("");
    expectFailure(CMPI_RC_ERR_FAILED);
    EXPECT_EQ(mStatus.message(), "No data received from server");
}

TEST_F(ClientFailures, ABodyThatIsCutOffFails)
{
    const std::string whole = CannedServer::http(
        "200 OK", kXmlHeader, CannedServer::message("EnumerateInstances", "<IRETURNVALUE/>"));
    mServer.add({whole.substr(0, whole.size() - 30), Then::Close});
    expectFailure(CMPI_RC_ERR_FAILED);
    EXPECT_THAT(mStatus.message(), StartsWith("Transferred a partial file"));
    expectRecovery();
}

TEST_F(ClientFailures, XmlThatIsCutOffFails)
{
    const std::string whole = CannedServer::message("EnumerateInstances", "<IRETURNVALUE/>");
    for (const std::size_t length : {std::size_t{1}, std::size_t{60}, whole.size() - 1}) {
        replyBody(whole.substr(0, length));
        expectFailure(CMPI_RC_ERR_FAILED);
        EXPECT_THAT(mStatus.message(), StartsWith("The answer is no valid CIM-XML: ")) << length;
    }
    expectRecovery();
}

TEST_F(ClientFailures, GarbageFails)
{
    for (const char* garbage : {"garbage", "<html></html>", "<CIM", "\xff\xfe\x00", "<a></b>"}) {
        replyBody(garbage);
        expectFailure(CMPI_RC_ERR_FAILED);
        EXPECT_THAT(mStatus.message(), StartsWith("The answer is no valid CIM-XML: ")) << garbage;
    }
    expectRecovery();
}

TEST_F(ClientFailures, AnAnswerOfAnotherKindFails)
{
    replyBody(CannedServer::returning("EnumerateInstances", "<CLASSNAME NAME=\"XCIM_Fan\"/>"));
    expectFailure(CMPI_RC_ERR_FAILED);
    EXPECT_EQ(mStatus.message(), "The answer returns something else than the operation does");
    expectRecovery();
}

TEST_F(ClientFailures, AValueThatIsNotOfItsTypeFails)
{
    replyBody(CannedServer::returning(
        "EnumerateInstances",
        "<VALUE.NAMEDINSTANCE><INSTANCENAME CLASSNAME=\"XCIM_Fan\"/><INSTANCE "
        "CLASSNAME=\"XCIM_Fan\">"
        "<PROPERTY NAME=\"Speed\" TYPE=\"uint8\"><VALUE>300</VALUE></PROPERTY></INSTANCE>"
        "</VALUE.NAMEDINSTANCE>"));
    expectFailure(CMPI_RC_ERR_FAILED);
    EXPECT_EQ(mStatus.message(), "The value '300' of 'Speed' is no uint8");
    expectRecovery();
}

TEST_F(ClientFailures, AnAnswerThatIsTooLongFails)
{
    cmpisfcc::TransportLimits limits;
    limits.answerBytes = 1000;
    connect(limits);
    replyBody(CannedServer::returning("EnumerateInstances", std::string(1000, ' ')));
    expectFailure(CMPI_RC_ERR_FAILED);
    EXPECT_EQ(mStatus.message(), "The answer is longer than 1000 bytes");
    expectRecovery();
}

TEST_F(ClientFailures, SilenceEndsInATimeout)
{
    cmpisfcc::TransportLimits limits;
    limits.stallTimeoutSeconds = 1;
    connect(limits);
    mServer.add({"", Then::Stall});
    expectFailure(CMPI_RC_ERR_FAILED);
    EXPECT_THAT(mStatus.message(), StartsWith("Timeout was reached"));
    expectRecovery();
}

TEST_F(ClientFailures, OnlyTheTimeAltogetherEndsASilentMethod)
{
    cmpisfcc::TransportLimits limits;
    limits.stallTimeoutSeconds = 1; // of silence, which libcurl notices within seven
    limits.operationTimeoutMs = 9000;
    connect(limits);
    mServer.add({"", Then::Stall});
    const auto path = own(newCMPIObjectPath("root/xcim", "XCIM_Fan", nullptr));
    const auto begin = std::chrono::steady_clock::now();
    (void)mClient->ft->invokeMethod(mClient.get(), path.get(), "Slow", nullptr, nullptr,
                                    mStatus.out());
    EXPECT_EQ(mStatus.code(), CMPI_RC_ERR_FAILED);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(8900));
}

TEST_F(ClientFailures, AnAnswerThatStopsHalfWayEndsInATimeout)
{
    cmpisfcc::TransportLimits limits;
    limits.operationTimeoutMs = 200;
    connect(limits);
    mServer.add({"HTTP/1.1 200 OK\r\nContent-Type: text/xml\r\nContent-Length: 99\r\n\r\n<CIM",
                 Then::Stall});
    expectFailure(CMPI_RC_ERR_FAILED);
    EXPECT_THAT(mStatus.message(), StartsWith("Timeout was reached"));
}

TEST_F(ClientFailures, AnswersThatAreNoHttpFail)
{
    mServer.add({"SSH-2.0-OpenSSH\r\n", Then::Close});
    expectFailure(CMPI_RC_ERR_FAILED);
    EXPECT_NE(mStatus.message(), "(none)");
    expectRecovery();
}

TEST_F(ClientFailures, ACallerThatWantsNoStatusGetsNull)
{
    connect();
    replyBody("garbage");
    const auto path = own(newCMPIObjectPath("root/xcim", "XCIM_Fan", nullptr));
    EXPECT_EQ(mClient->ft->getInstance(mClient.get(), path.get(), 0, nullptr, nullptr), nullptr);
}

TEST_F(ClientFailures, AKeptConnectionThatHasBrokenIsReplaced)
{
    connect();
    const std::string empty = CannedServer::message("EnumerateInstances", "<IRETURNVALUE/>");
    mServer.add({CannedServer::http("200 OK", kXmlHeader, empty), Then::Close});
    const auto path = own(newCMPIObjectPath("root/xcim", "XCIM_Fan", nullptr));
    const auto first =
        own(mClient->ft->enumInstances(mClient.get(), path.get(), 0, nullptr, mStatus.out()));
    EXPECT_EQ(mStatus.code(), CMPI_RC_OK);
    expectRecovery();
    EXPECT_EQ(mServer.connections(), 2U);
}

TEST_F(ClientFailures, AMethodIsNotSentTwice)
{
    connect();
    expectRecovery();
    mServer.add({"", Then::Close});
    const auto path = own(newCMPIObjectPath("root/xcim", "XCIM_Fan", nullptr));
    const CMPIData result = mClient->ft->invokeMethod(mClient.get(), path.get(), "Reset", nullptr,
                                                      nullptr, mStatus.out());
    EXPECT_EQ(mStatus.code(), CMPI_RC_ERR_FAILED);
    EXPECT_EQ(result.state, CMPI_nullValue | CMPI_notFound);
    EXPECT_EQ(mServer.requests().size(), 2U);
}

} // namespace
