#include <ExhaustedMemory.h>
#include <gtest/gtest.h>
#include <odata/odata.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <utility>

namespace {

TEST(OdataScope, beginsEmpty)
{
    const odata::Scope scope = odata::Scope::New();
    EXPECT_STREQ("", scope.GetRequestURL());
    EXPECT_EQ(200, scope.GetStatus());
    EXPECT_EQ(0U, scope.GetHeaderCount());
    EXPECT_STREQ("", scope.GetContentType());
    EXPECT_EQ("", scope.GetBody());
    EXPECT_FALSE(scope.IsCompleted());
    EXPECT_EQ(-1, scope.GetResult());
    EXPECT_STREQ("", scope.GetResultText());
}

TEST(OdataScope, keepsTheRequestUrlWithItsQuery)
{
    std::string url = "/redfish/v1/%41?$select=Name&x=%zz";
    const odata::Scope scope = odata::Scope::ForRequest(url);
    url.assign(url.size(), '#');
    EXPECT_STREQ("/redfish/v1/%41?$select=Name&x=%zz", scope.GetRequestURL());
}

TEST(OdataScope, aNewRequestUrlReplacesTheOldOne)
{
    OL_Scope* scope = __OL_Scope_New();
    OL_Scope_SetRequestURL(scope, "/old");
    OL_Scope_SetRequestURL(scope, "/new/url");
    OL_URI* uri = OL_Scope_NewURI(scope);
    EXPECT_STREQ("/new/url", OL_URI_GetText(uri));
    OL_URI_Release(uri);
    OL_Scope_SetRequestURL(scope, nullptr);
    EXPECT_STREQ("", OL_Scope_GetRequestURL(scope));
    OL_Scope_Release(scope);
}

TEST(OdataScope, keepsHeadersInTheOrderOfTheirFirstSetting)
{
    odata::Scope scope = odata::Scope::New();
    scope.SetHeader("Link", "");
    scope.SetHeader("Allow", "GET");
    scope.SetHeader("Link", "<a>");
    ASSERT_EQ(2U, scope.GetHeaderCount());
    EXPECT_STREQ("Link", scope.GetHeaderName(0));
    EXPECT_STREQ("<a>", scope.GetHeaderValue(0));
    EXPECT_STREQ("Allow", scope.GetHeaderName(1));
    EXPECT_STREQ("GET", scope.GetHeaderValue(1));
}

TEST(OdataScope, comparesHeaderNamesWithoutCase)
{
    odata::Scope scope = odata::Scope::New();
    scope.SetHeader("Retry-After", "5");
    scope.SetHeader("RETRY-aFTER", "7");
    scope.SetHeader("Retry-Afte", "8");
    scope.SetHeader("Retry\rAfter", "9");
    ASSERT_EQ(3U, scope.GetHeaderCount());
    EXPECT_STREQ("RETRY-aFTER", scope.GetHeaderName(0));
    EXPECT_STREQ("7", scope.GetHeaderValue(0));
}

TEST(OdataScope, onlyLettersHaveACase)
{
    odata::Scope scope = odata::Scope::New();
    scope.SetHeader("X-[", "1");
    scope.SetHeader("X-{", "2");
    scope.SetHeader("X-\xC4", "3");
    scope.SetHeader("X-\xE4", "4");
    EXPECT_EQ(4U, scope.GetHeaderCount());
}

TEST(OdataScope, cutsAHeaderAtItsLineEnd)
{
    odata::Scope scope = odata::Scope::New();
    scope.SetHeader("Location\r\nX: y", "/a\nSet-Cookie: b");
    scope.SetHeader("Link", "\rb");
    ASSERT_EQ(2U, scope.GetHeaderCount());
    EXPECT_STREQ("Location", scope.GetHeaderName(0));
    EXPECT_STREQ("/a", scope.GetHeaderValue(0));
    EXPECT_STREQ("", scope.GetHeaderValue(1));
}

TEST(OdataScope, aHeaderWithoutANameIsNotSet)
{
    odata::Scope scope = odata::Scope::New();
    scope.SetHeader("", "a");
    scope.SetHeader("\nLink", "b");
    scope.SetHeader(nullptr, "c");
    EXPECT_EQ(0U, scope.GetHeaderCount());
    scope.SetHeader("Link", nullptr);
    EXPECT_STREQ("", scope.GetHeaderValue(0));
}

TEST(OdataScope, headerOutsideTheRangeIsNull)
{
    odata::Scope scope = odata::Scope::New();
    scope.SetHeader("Allow", "GET");
    EXPECT_EQ(nullptr, scope.GetHeaderName(1));
    EXPECT_EQ(nullptr, scope.GetHeaderValue(1));
    EXPECT_EQ(nullptr, scope.GetHeaderValue(SIZE_MAX));
}

TEST(OdataScope, headerTextStaysValidWhileOthersAreSet)
{
    odata::Scope scope = odata::Scope::New();
    scope.SetHeader("A", "1");
    const char* name = scope.GetHeaderName(0);
    const char* value = scope.GetHeaderValue(0);
    for (int i = 0; i < 100; ++i) {
        scope.SetHeader(("X" + std::to_string(i)).c_str(), "y");
    }
    EXPECT_STREQ("A", name);
    EXPECT_STREQ("1", value);
}

TEST(OdataScope, keepsTheStatus)
{
    odata::Scope scope = odata::Scope::New();
    scope.SetStatus(404);
    EXPECT_EQ(404, scope.GetStatus());
}

TEST(OdataScope, aNewBodyReplacesTheOldOne)
{
    odata::Scope scope = odata::Scope::New();
    scope.WriteBody("text/plain", "first and longer");
    const std::string_view bytes("a\0b\xFF", 4);
    scope.WriteBody("application/json", bytes);
    EXPECT_EQ(bytes, scope.GetBody());
    EXPECT_STREQ("application/json", scope.GetContentType());
    scope.WriteBody("", std::string_view());
    EXPECT_EQ("", scope.GetBody());
    EXPECT_STREQ("", scope.GetContentType());
}

TEST(OdataScope, completesOnce)
{
    odata::Scope scope = odata::Scope::New();
    EXPECT_EQ(1, scope.SendResult(1, "no such chassis"));
    EXPECT_TRUE(scope.IsCompleted());
    EXPECT_EQ(0, scope.SendResult(0, "other"));
    EXPECT_EQ(1, scope.GetResult());
    EXPECT_STREQ("no such chassis", scope.GetResultText());
}

TEST(OdataScope, aResultIsSuccessOrError)
{
    odata::Scope good = odata::Scope::New();
    good.SendResult(0, "");
    EXPECT_EQ(0, good.GetResult());
    odata::Scope bad = odata::Scope::New();
    bad.SendResult(-7, "");
    EXPECT_EQ(1, bad.GetResult());
}

TEST(OdataScope, formatsTheResultText)
{
    OL_Scope* scope = __OL_Scope_New();
    const std::string longText(5000, 'x');
    EXPECT_EQ(1, OL_Scope_SendResult(scope, 1, "%s %d%%", longText.c_str(), 42));
    EXPECT_EQ(longText + " 42%", OL_Scope_GetResultText(scope));
    OL_Scope_Release(scope);
}

TEST(OdataScope, textIsNoFormatInTheWrapper)
{
    odata::Scope scope = odata::Scope::New();
    scope.SendResult(1, "%s%n%d");
    EXPECT_STREQ("%s%n%d", scope.GetResultText());
}

TEST(OdataScope, scopesAreIndependent)
{
    odata::Scope one = odata::Scope::New();
    const odata::Scope other = odata::Scope::New();
    one.SetStatus(500);
    one.SendResult(1, "");
    EXPECT_EQ(200, other.GetStatus());
    EXPECT_FALSE(other.IsCompleted());
}

TEST(OdataScope, releaseAllowsNull)
{
    OL_Scope_Release(nullptr);
}

TEST(OdataScope, newScopeIsNullWhenMemoryIsExhausted)
{
    const ExhaustedMemory exhausted(0);
    EXPECT_EQ(nullptr, __OL_Scope_New());
}

// What the host must not take for a complete response: one of its parts could not be stored.
TEST(OdataScope, aResponseThatLostAPartCannotBeCompleted)
{
    OL_Scope* handle = __OL_Scope_New();
    odata::Scope scope(handle);
    scope.WriteBody("application/json", "{}");
    OL_Scope_WriteBody(handle, "text/plain", "x", SIZE_MAX);
    EXPECT_EQ("{}", scope.GetBody());
    EXPECT_STREQ("application/json", scope.GetContentType());
    EXPECT_EQ(0, scope.SendResult(0, ""));
    EXPECT_FALSE(scope.IsCompleted());
    EXPECT_EQ(-1, scope.GetResult());
}

TEST(OdataScope, aRequestThatWasLostIsNotParsed)
{
    const std::string url(100, '/');
    OL_Scope* scope = __OL_Scope_New();
    {
        const ExhaustedMemory exhausted(0);
        OL_Scope_SetRequestURL(scope, url.c_str());
    }
    EXPECT_STREQ("", OL_Scope_GetRequestURL(scope));
    EXPECT_EQ(nullptr, OL_Scope_NewURI(scope));
    OL_Scope_Release(scope);
}

TEST(OdataScope, anyFailedAllocationIsReportedByTheCompletion)
{
    const std::string text(100, 'x');
    int allowed = 0;
    for (bool hasFailed = true; hasFailed; ++allowed) {
        OL_Scope* scope = __OL_Scope_New();
        int isSent = 0;
        {
            const ExhaustedMemory exhausted(allowed);
            OL_Scope_SetHeader(scope, "Location", text.c_str());
            OL_Scope_WriteBody(scope, text.c_str(), text.c_str(), text.size());
            isSent = OL_Scope_SendResult(scope, 0, "%s", text.c_str());
            hasFailed = ExhaustedMemory::hasFailed();
        }
        EXPECT_EQ(hasFailed ? 0 : 1, isSent) << allowed;
        EXPECT_EQ(isSent, OL_Scope_IsCompleted(scope)) << allowed;
        OL_Scope_Release(scope);
    }
    EXPECT_GT(allowed, 4);
}

TEST(OdataScopeDeathTest, wrapperAbortsOnANullHandle)
{
    EXPECT_DEATH(const odata::Scope scope(nullptr), "odata: null handle: Scope");
    odata::Scope scope = odata::Scope::New();
    const odata::Scope owner = std::move(scope);
    // NOLINTNEXTLINE(bugprone-use-after-move,clang-analyzer-cplusplus.Move): what is tested
    EXPECT_DEATH(scope.SetStatus(1), "odata: null handle: Scope");
}

} // namespace
