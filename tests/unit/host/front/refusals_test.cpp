// What the front answers to requests that the HTTP server could not read.
#include "front/refusals.h"

#include <ExtendedErrorInfoHandling.h>
#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;

struct UnreadableCase
{
    unsigned int status;
    const char* message;
};

class UnreadableRequest : public testing::TestWithParam<UnreadableCase>
{
protected:
    static void SetUpTestSuite()
    {
        ExtendedErrorInfoHandling::SetRegistryDirectory(REGISTRY_DIRECTORY);
        std::string problem;
        ASSERT_TRUE(ExtendedErrorInfoHandling::LoadRegistries(problem)) << problem;
    }
};

TEST_P(UnreadableRequest, IsAnsweredWithAMessageOfItsOwn)
{
    const httpd::Response response = host::unreadable(GetParam().status);
    EXPECT_EQ(response.status, GetParam().status);
    EXPECT_EQ(httpd::findHeader(response.headers, "Content-Type"), "application/json");
    EXPECT_THAT(response.body, HasSubstr("\"Base.1.18." + std::string(GetParam().message) + "\""));
}

INSTANTIATE_TEST_SUITE_P(
    , UnreadableRequest,
    testing::Values(UnreadableCase{400, "UnrecognizedRequestBody"},
                    UnreadableCase{408, "OperationTimeout"}, UnreadableCase{413, "PayloadTooLarge"},
                    UnreadableCase{414, "InvalidURI"}, UnreadableCase{415, "HeaderInvalid"},
                    UnreadableCase{417, "HeaderInvalid"}, UnreadableCase{431, "HeaderTooLong"},
                    UnreadableCase{501, "UnrecognizedRequestBody"},
                    UnreadableCase{503, "ServiceTemporarilyUnavailable"},
                    UnreadableCase{505, "HttpVersionNotSupported"}));

TEST_F(UnreadableRequest, NamesTheHeaderThatIsInTheWay)
{
    EXPECT_THAT(host::unreadable(415).body, HasSubstr("[\"Content-Encoding\"]"));
    EXPECT_THAT(host::unreadable(417).body, HasSubstr("[\"Expect\"]"));
}

TEST_F(UnreadableRequest, ForWantOfMemoryMayComeAgain)
{
    EXPECT_EQ(httpd::findHeader(host::unreadable(503).headers, "Retry-After"), "5");
}

} // namespace
