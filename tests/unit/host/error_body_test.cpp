// Redfish errors that the host makes itself.
#include "error_body.h"

#include <ExtendedErrorInfoHandling.h>
#include <ResourceMapper.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class ErrorBody : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        ExtendedErrorInfoHandling::SetRegistryDirectory(REGISTRY_DIRECTORY);
        std::string problem;
        ASSERT_TRUE(ExtendedErrorInfoHandling::LoadRegistries(problem)) << problem;
    }

    static std::vector<std::string> messageIds(const httpd::Response& response)
    {
        std::istringstream in(response.body);
        Json::Value body;
        in >> body;
        std::vector<std::string> ids;
        for (const Json::Value& message : body["error"]["@Message.ExtendedInfo"]) {
            ids.push_back(message["MessageId"].asString());
        }
        return ids;
    }
};

TEST_F(ErrorBody, BaseMessageWithItsArgument)
{
    const httpd::Response response = host::errorResponse(400, "InvalidURI", "/a%zz");
    EXPECT_EQ(response.status, 400U);
    EXPECT_EQ(httpd::findHeader(response.headers, "Content-Type"), "application/json");
    EXPECT_THAT(messageIds(response), ElementsAre("Base.1.18.InvalidURI"));
    EXPECT_THAT(response.body, HasSubstr("\"MessageArgs\":[\"/a%zz\"]"));
}

TEST_F(ErrorBody, MethodNotAllowedNamesTheMethodsThatAre)
{
    const httpd::Response response = host::methodNotAllowed("GET, HEAD");
    EXPECT_EQ(response.status, 405U);
    EXPECT_EQ(httpd::findHeader(response.headers, "Allow"), "GET, HEAD");
    EXPECT_THAT(messageIds(response),
                ElementsAre("Vexo.1.0.SYS402", "Base.1.18.OperationNotAllowed"));
}

TEST_F(ErrorBody, BusyServiceSaysWhenToComeBack)
{
    const httpd::Response response = host::temporarilyUnavailable("5");
    EXPECT_EQ(response.status, 503U);
    EXPECT_EQ(httpd::findHeader(response.headers, "Retry-After"), "5");
    EXPECT_THAT(messageIds(response), ElementsAre("Base.1.18.ServiceTemporarilyUnavailable"));
    EXPECT_THAT(response.body, HasSubstr("\"MessageArgs\":[\"5\"]"));
}

TEST_F(ErrorBody, LibraryCodeHasTheLibrarysStatusAndMessages)
{
    const httpd::Response response = host::errorResponseOfCode(RM_QUERY_NOT_SUPPORTED, "$count");
    EXPECT_EQ(response.status, 501U);
    EXPECT_THAT(messageIds(response),
                ElementsAre("Vexo.1.0.SYS451", "Base.1.18.QueryNotSupported"));
    EXPECT_THAT(response.body, HasSubstr("$count"));
}

} // namespace
