// How the front answers for the service's own resources.
#include "front/native_resources.h"

#include <ExtendedErrorInfoHandling.h>
#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;

class NativeAnswers : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        ExtendedErrorInfoHandling::SetRegistryDirectory(REGISTRY_DIRECTORY);
        std::string problem;
        ASSERT_TRUE(ExtendedErrorInfoHandling::LoadRegistries(problem)) << problem;
    }

    NativeAnswers()
    {
        while (mResources.compressNext()) {
        }
    }

    std::optional<httpd::Response> ask(const std::string& target, const std::string& method = "GET",
                                       std::vector<httpd::Header> headers = {})
    {
        return mResources.answerTo({method, target, std::move(headers), "", {}, {}});
    }

    unsigned int statusOf(const std::string& target, std::vector<httpd::Header> headers = {})
    {
        const auto response = ask(target, "GET", std::move(headers));
        return response ? response->status : 0;
    }

    static host::native::Documents documents()
    {
        using host::native::makeDocument;
        using host::native::MediaType;
        return {{"/redfish/v1",
                 makeDocument(MediaType::Json, "{}", "http://redfish.dmtf.org/schemas/v1/S.json")},
                {"/redfish/v1/$metadata", makeDocument(MediaType::Xml, kLarge)}};
    }

    inline static const std::string kLarge = "<a>" + std::string(5000, ' ') + "</a>";
    host::NativeResources mResources{documents()};
};

std::string headerOf(const std::optional<httpd::Response>& response, const char* name)
{
    return response ? std::string(httpd::findHeader(response->headers, name)) : "no answer";
}

TEST_F(NativeAnswers, SchemasAreAwaitedUntilTheyHaveCome)
{
    const char* const schema = "/redfish/v1/JsonSchemas/VexoA.json";
    EXPECT_TRUE(mResources.isAwaited(schema));
    EXPECT_TRUE(mResources.isAwaited("/redfish/v1/Schemas/VexoA_v1.xml"));
    EXPECT_FALSE(mResources.isAwaited("/redfish/v1"));
    EXPECT_FALSE(mResources.isAwaited("/redfish/v1/Systems/1"));
    mResources.addSchemas(
        {{schema, host::native::makeDocument(host::native::MediaType::Json, kLarge)}});
    EXPECT_FALSE(mResources.isAwaited(schema));
    EXPECT_FALSE(mResources.isAwaited("/redfish/v1/Schemas/VexoA_v1.xml"));
    EXPECT_EQ(statusOf(schema), 200U);
    EXPECT_EQ(statusOf("/redfish/v1"), 200U);
}

TEST_F(NativeAnswers, HaveTheHeadersOfAResource)
{
    const auto response = ask("/redfish/v1");
    ASSERT_TRUE(response);
    EXPECT_EQ(response->status, 200U);
    EXPECT_EQ(response->body, "{}");
    EXPECT_EQ(headerOf(response, "Content-Type"), "application/json;charset=utf-8");
    EXPECT_EQ(headerOf(response, "Allow"), "GET, HEAD, OPTIONS");
    EXPECT_EQ(headerOf(response, "Link"),
              "<http://redfish.dmtf.org/schemas/v1/S.json>; rel=describedby");
    EXPECT_THAT(headerOf(response, "ETag"), testing::MatchesRegex("\"[0-9a-f]{32}\""));
    EXPECT_EQ(headerOf(response, "Vary"), "");
}

TEST_F(NativeAnswers, AreFoundWithASlashAndAQueryBehindThem)
{
    EXPECT_EQ(statusOf("/redfish/v1/"), 200U);
    EXPECT_EQ(statusOf("/redfish/v1/?unknown=1"), 200U);
    EXPECT_EQ(statusOf("/redfish/v1/%24metadata"), 200U);
    EXPECT_EQ(statusOf("/redfish/v1//"), 0U);
    EXPECT_EQ(statusOf("/redfish/v1/nothing"), 0U);
    EXPECT_EQ(statusOf(""), 0U);
}

TEST_F(NativeAnswers, AreCompressedForWhoTakesThat)
{
    const auto gzip = ask("/redfish/v1/$metadata", "GET", {{"Accept-Encoding", "gzip"}});
    EXPECT_EQ(headerOf(gzip, "Content-Encoding"), "gzip");
    EXPECT_EQ(headerOf(gzip, "Vary"), "Accept-Encoding");
    EXPECT_THAT(headerOf(gzip, "ETag"), HasSubstr("-gzip\""));
    EXPECT_LT(gzip->body.size(), 200U);
    const auto plain = ask("/redfish/v1/$metadata");
    EXPECT_EQ(plain->body, kLarge);
    EXPECT_EQ(headerOf(plain, "Content-Encoding"), "");
    EXPECT_EQ(headerOf(plain, "Vary"), "Accept-Encoding");
    EXPECT_EQ(headerOf(plain, "Content-Type"), "application/xml;charset=utf-8");
    EXPECT_EQ(headerOf(plain, "Link"), "");
}

TEST_F(NativeAnswers, ArePlainUntilTheyAreCompressed)
{
    const host::NativeResources resources(documents());
    const auto answer = resources.answerTo(
        {"GET", "/redfish/v1/$metadata", {{"Accept-Encoding", "gzip"}}, "", {}, {}});
    EXPECT_EQ(answer->body, kLarge);
    EXPECT_EQ(headerOf(answer, "Content-Encoding"), "");
    EXPECT_EQ(headerOf(answer, "Vary"), "Accept-Encoding");
    EXPECT_EQ(headerOf(answer, "ETag"), headerOf(ask("/redfish/v1/$metadata"), "ETag"));
}

TEST_F(NativeAnswers, TakeNoOtherMethod)
{
    for (const char* method : {"POST", "PATCH", "PUT", "DELETE", "TRACE"}) {
        const auto response = ask("/redfish/v1", method);
        ASSERT_TRUE(response) << method;
        EXPECT_EQ(response->status, 405U) << method;
        EXPECT_EQ(headerOf(response, "Allow"), "GET, HEAD, OPTIONS") << method;
    }
    const auto options = ask("/redfish/v1", "OPTIONS");
    EXPECT_EQ(options->status, 204U);
    EXPECT_EQ(headerOf(options, "Allow"), "GET, HEAD, OPTIONS");
}

TEST_F(NativeAnswers, RefuseAnotherODataVersion)
{
    EXPECT_EQ(statusOf("/redfish/v1", {{"OData-Version", "4.0"}}), 200U);
    EXPECT_EQ(statusOf("/redfish/v1", {{"odata-version", "4.1"}}), 412U);
    EXPECT_THAT(ask("/redfish/v1", "GET", {{"OData-Version", "4.1"}})->body,
                HasSubstr("[\"OData-Version\"]"));
}

TEST_F(NativeAnswers, RefuseEachQueryOptionOfOData)
{
    for (const char* option : {"$select=Id", "$expand=.", "$filter=a", "$top=1", "$skip=1",
                               "%24select=Id", "$unknown=1"}) {
        EXPECT_EQ(statusOf(std::string("/redfish/v1?") + option), 501U) << option;
    }
    EXPECT_THAT(ask("/redfish/v1?$select=Id")->body, HasSubstr("$select"));
}

struct AcceptCase
{
    const char* accept;
    unsigned int json; // status of a JSON document, and of one in XML
    unsigned int xml;
};

TEST_F(NativeAnswers, AreWhatTheClientAccepts)
{
    const AcceptCase cases[] = {{"*/*", 200, 200},
                                {"application/*", 200, 200},
                                {"application/json", 200, 406},
                                {"Application/JSON; charset=utf-8", 200, 406},
                                {"application/xml", 406, 200},
                                {"text/html, application/xhtml+xml", 406, 406},
                                {"text/html, */*;q=0.1", 200, 200},
                                {"application/json;q=0, */*", 406, 200},
                                {"application/json;q=0.0", 406, 406},
                                {"application/json;charset=utf-8; Q=0", 406, 406},
                                {"application/json;q=0.001", 200, 406},
                                {"", 200, 200}};
    for (const AcceptCase& one : cases) {
        EXPECT_EQ(statusOf("/redfish/v1", {{"Accept", one.accept}}), one.json) << one.accept;
        EXPECT_EQ(statusOf("/redfish/v1/$metadata", {{"Accept", one.accept}}), one.xml)
            << one.accept;
    }
}

} // namespace
