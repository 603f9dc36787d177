#include "UriText.h"

#include <gtest/gtest.h>

namespace {

TEST(UriText, EscapesAreCounted)
{
    std::string uri = "/r/#1 #2";
    EXPECT_EQ(cimgate::escapeHashes(uri), 2U);
    EXPECT_EQ(uri, "/r/%231 %232");
    EXPECT_EQ(cimgate::escapeSpaces(uri), 1U);
    EXPECT_EQ(uri, "/r/%231%20%232");
    EXPECT_EQ(cimgate::escapeHashes(uri), 0U);
}

TEST(UriText, QueryAndOneSlashAreCutOff)
{
    for (const char* text : {"/r/a", "/r/a/", "/r/a?b=/", "/r/a/?"}) {
        std::string uri = text;
        cimgate::removeQueryAndSlash(uri);
        EXPECT_EQ(uri, "/r/a") << text;
    }
}

TEST(UriText, LastSegmentIsCutOff)
{
    std::string uri = "/r/a";
    EXPECT_TRUE(cimgate::removeLastSegment(uri));
    EXPECT_EQ(uri, "/r");
    EXPECT_TRUE(cimgate::removeLastSegment(uri));
    EXPECT_EQ(uri, "");
    EXPECT_FALSE(cimgate::removeLastSegment(uri));
}

} // namespace
