// Requests that a page of somebody else has a browser send.
#include "front/own_names.h"

#include <ExtendedErrorInfoHandling.h>
#include <gtest/gtest.h>

namespace {

class OwnNamesTest : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        std::string problem;
        ExtendedErrorInfoHandling::SetRegistryDirectory(REGISTRY_DIRECTORY);
        ASSERT_TRUE(ExtendedErrorInfoHandling::LoadRegistries(problem)) << problem;
    }

    // 0 where it is not refused.
    unsigned int statusOf(const std::string& method,
                          const std::vector<httpd::Header>& headers) const
    {
        const auto refusal = mNames.refusalOf({method, "/a", headers, ""});
        return refusal ? refusal->status : 0;
    }

    host::OwnNames mNames{{"bmc.example.net", "BMC"}};
};

TEST_F(OwnNamesTest, AddressesLocalhostAndOwnNamesAreServed)
{
    for (const char* host :
         {"127.0.0.1", "127.0.0.1:8000", "[::1]", "[::1]:8000", "10.1.2.3:80", "localhost",
          "LocalHost:8000", "bmc.example.net", "BMC.example.NET:443", "bmc", ""}) {
        for (const char* method : {"GET", "POST"}) {
            EXPECT_EQ(statusOf(method, {{"Host", host}}), 0U) << host;
        }
    }
    EXPECT_EQ(statusOf("GET", {}), 0U);
}

TEST_F(OwnNamesTest, OtherHostsAreMisdirected)
{
    for (const char* host :
         {"evil.example", "evil.example:8000", "localhost.evil.example", "127.0.0.1.evil.example",
          "bmc.example.net.", "xbmc", "127.0.0.256", "0x7f.1", "127.1", "localhost%00"}) {
        for (const char* method : {"GET", "HEAD", "POST", "DELETE"}) {
            EXPECT_EQ(statusOf(method, {{"Host", host}}), 421U) << host;
        }
    }
}

TEST_F(OwnNamesTest, PostForAPageOfAnotherHostIsForbidden)
{
    const auto post = [this](const std::string& host, const std::string& origin) {
        return statusOf("POST", {{"Host", host}, {"Origin", origin}});
    };
    for (const char* origin :
         {"http://evil.example", "https://evil.example:8000", "null", "http://localhost",
          "http://127.0.0.1.evil.example", "127.0.0.1", "http://", "http://127.0.0.1/x"}) {
        EXPECT_EQ(post("127.0.0.1:8000", origin), 403U) << origin;
    }
    EXPECT_EQ(post("127.0.0.1:8000", "http://127.0.0.1:8000"), 0U);
    EXPECT_EQ(post("127.0.0.1:8000", "http://127.0.0.1"), 0U);
    EXPECT_EQ(post("bmc", "https://BMC"), 0U);
    EXPECT_EQ(post("[::1]:8000", "http://[::1]:8000"), 0U);
    EXPECT_EQ(statusOf("GET", {{"Host", "localhost"}, {"Origin", "http://evil.example"}}), 0U);
}

TEST_F(OwnNamesTest, PostFromAnotherSiteIsForbidden)
{
    const auto post = [this](const std::string& site) {
        return statusOf("POST", {{"Host", "localhost"}, {"Sec-Fetch-Site", site}});
    };
    EXPECT_EQ(post("cross-site"), 403U);
    EXPECT_EQ(post("Cross-Site"), 403U);
    for (const char* site : {"same-origin", "same-site", "none"}) {
        EXPECT_EQ(post(site), 0U) << site;
    }
    EXPECT_EQ(statusOf("GET", {{"Host", "localhost"}, {"Sec-Fetch-Site", "cross-site"}}), 0U);
}

} // namespace
