#include "front/kept_answers.h"
#include "host_limits.h"

#include <gtest/gtest.h>

namespace {

using host::KeptAnswers;

constexpr size_t kRoom = size_t{64} * 1024;
const KeptAnswers::TimePoint kNow = KeptAnswers::TimePoint() + std::chrono::hours(1);

httpd::Response answerOf(const std::string& body)
{
    return {200, {{"Allow", "GET"}}, body};
}

std::string keyOf(std::string_view target)
{
    return host::keptKeyOf(target, false);
}

// "" where there is none.
std::string bodyOf(KeptAnswers& kept, const std::string& key, uint64_t state)
{
    const httpd::Response* const found = kept.find(key, state);
    return found == nullptr ? "" : found->body;
}

TEST(KeptKey, HasThePathAndWhatMayBeAnOption)
{
    EXPECT_EQ(keyOf("/a/b%2F"), "/a/b%2F");
    EXPECT_EQ(keyOf("/a?"), "/a");
    EXPECT_EQ(keyOf("/a?$skip=50&$top=2"), "/a?$skip=50&$top=2");
    EXPECT_EQ(keyOf("/a?x=1&$top=2&only&time-stamp=3&_=4"), "/a?$top=2&only");
    EXPECT_EQ(keyOf("/a?%24top=2"), "/a?%24top=2");
    EXPECT_EQ(keyOf("/a?$top=2?x=1"), "/a?$top=2?x=1");
    EXPECT_NE(keyOf("/a?x=/b?c"), keyOf("/a"));
    EXPECT_NE(keyOf("/a&$top=2"), keyOf("/a?$top=2"));
    EXPECT_NE(keyOf("/a?$top=1&$skip=2"), keyOf("/a?$skip=2&$top=1"));
}

TEST(KeptKey, TellsCompressedAnswersApart)
{
    EXPECT_NE(host::keptKeyOf("/a", true), host::keptKeyOf("/a", false));
}

TEST(KeptAnswers, GivesWhatIsKeptOfThisState)
{
    KeptAnswers kept(kRoom);
    EXPECT_EQ(kept.find("/a", 1), nullptr);
    kept.keep("/a", 1, answerOf("one"));
    const httpd::Response* const found = kept.find("/a", 1);
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found->status, 200U);
    EXPECT_EQ(found->body, "one");
    ASSERT_EQ(found->headers.size(), 1U);
    EXPECT_EQ(found->headers[0].value, "GET");
    EXPECT_EQ(bodyOf(kept, "/b", 1), "");
    EXPECT_EQ(kept.figures().hits, 1U);
    EXPECT_EQ(kept.figures().misses, 2U);
}

TEST(KeptAnswers, AnotherStateDropsAll)
{
    KeptAnswers kept(kRoom);
    kept.keep("/a", 1, answerOf("one"));
    kept.keep("/b", 1, answerOf("two"));
    EXPECT_EQ(bodyOf(kept, "/a", 2), "");
    EXPECT_EQ(kept.figures().answers, 0U);
    EXPECT_EQ(kept.figures().bytes, 0U);
    EXPECT_EQ(kept.figures().dropped, 2U);
    // States do not come again, and what was dropped does not either.
    EXPECT_EQ(bodyOf(kept, "/a", 1), "");
    kept.keep("/a", 3, answerOf("three"));
    EXPECT_EQ(bodyOf(kept, "/a", 3), "three");
}

TEST(KeptAnswers, WhatWasAskedForLeastRecentlyGoesFirst)
{
    KeptAnswers kept(kRoom);
    const std::string body(kRoom / host::kLargestKeptPart - 600, 'x');
    for (int i = 0; i < 100; ++i) {
        kept.keep("/" + std::to_string(i), 1, answerOf(body));
        EXPECT_EQ(bodyOf(kept, "/0", 1), body) << i;
        EXPECT_LE(kept.figures().bytes, kRoom);
    }
    EXPECT_EQ(bodyOf(kept, "/1", 1), "");
    EXPECT_EQ(bodyOf(kept, "/99", 1), body);
    EXPECT_GE(kept.figures().answers, host::kLargestKeptPart);
    EXPECT_EQ(kept.figures().answers + kept.figures().dropped, 100U);
}

TEST(KeptAnswers, OneTakesASixteenthAtMost)
{
    KeptAnswers kept(kRoom);
    kept.keep("/a", 1, answerOf(std::string(kRoom / host::kLargestKeptPart, 'x')));
    EXPECT_EQ(kept.find("/a", 1), nullptr);
    EXPECT_EQ(kept.figures().bytes, 0U);
}

TEST(KeptAnswers, AreWantedAtTheSecondRequestWithinAWhile)
{
    KeptAnswers kept(kRoom);
    EXPECT_FALSE(kept.isAskedAgain("/a", kNow));
    EXPECT_TRUE(kept.isAskedAgain("/a", kNow + host::kAskedAgainWindow / 2));
    EXPECT_FALSE(kept.isAskedAgain("/a", kNow + host::kAskedAgainWindow * 3));
    EXPECT_FALSE(kept.isAskedAgain("/b", kNow + host::kAskedAgainWindow * 3));
}

TEST(KeptAnswers, NoneAreKeptWithoutRoom)
{
    KeptAnswers kept(0);
    EXPECT_FALSE(kept.isOn());
    kept.keep("/a", 1, answerOf(""));
    EXPECT_EQ(kept.find("/a", 1), nullptr);
}

} // namespace
