#include "front/kept_answers.h"
#include "host_limits.h"

#include <gtest/gtest.h>

namespace {

using host::KeptAnswers;

constexpr size_t kRoom = size_t{64} * 1024;
const KeptAnswers::TimePoint kNow = KeptAnswers::TimePoint() + std::chrono::hours(1);

host::ReadyAnswer answerOf(const std::string& body)
{
    httpd::Response response{200, {{"ETag", "\"1\""}}, body};
    return host::readyAnswerOf(response);
}

std::string keyOf(std::string_view target, bool wantsGzip = false)
{
    std::string room = "what was before";
    return std::string(host::keptKeyOf(target, wantsGzip, room));
}

void keep(KeptAnswers& kept, const std::string& key, uint64_t state, const std::string& body)
{
    kept.enter(state, kNow);
    kept.keep(key, answerOf(body));
}

// "" where there is none.
std::string bodyOf(KeptAnswers& kept, const std::string& key)
{
    const host::ReadyAnswer* const found = kept.find(key);
    return found == nullptr ? "" : found->whole.content();
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
    EXPECT_NE(keyOf("/a", true), keyOf("/a"));
    EXPECT_NE(keyOf("/a?$top=1", true), keyOf("/a?$top=1"));
}

TEST(KeptAnswers, GivesWhatIsKept)
{
    KeptAnswers kept(kRoom);
    EXPECT_EQ(kept.find("/a"), nullptr);
    keep(kept, "/a", 1, "one");
    EXPECT_TRUE(kept.areOf(1));
    EXPECT_FALSE(kept.areOf(2));
    EXPECT_EQ(bodyOf(kept, "/a"), "one");
    EXPECT_EQ(bodyOf(kept, "/b"), "");
    EXPECT_EQ(kept.figures().answers, 1U);
    kept.noteGiven();
    kept.noteMissing();
    kept.noteMissing();
    EXPECT_EQ(kept.figures().hits, 1U);
    EXPECT_EQ(kept.figures().misses, 2U);
}

TEST(KeptAnswers, AnotherStateDropsAll)
{
    KeptAnswers kept(kRoom);
    keep(kept, "/a", 1, "one");
    keep(kept, "/b", 1, "two");
    kept.enter(2, kNow);
    EXPECT_EQ(bodyOf(kept, "/a"), "");
    EXPECT_EQ(kept.figures().answers, 0U);
    EXPECT_EQ(kept.figures().bytes, 0U);
    EXPECT_EQ(kept.figures().dropped, 2U);
    keep(kept, "/a", 3, "three");
    EXPECT_EQ(bodyOf(kept, "/a"), "three");
}

TEST(KeptAnswers, WhatWasAskedForLeastRecentlyGoesFirst)
{
    KeptAnswers kept(kRoom);
    const std::string body(kRoom / host::kLargestKeptPart - 600, 'x');
    for (int i = 0; i < 100; ++i) {
        keep(kept, "/" + std::to_string(i), 1, body);
        EXPECT_EQ(bodyOf(kept, "/0"), body) << i;
        EXPECT_LE(kept.figures().bytes, kRoom);
    }
    EXPECT_EQ(bodyOf(kept, "/1"), "");
    EXPECT_EQ(bodyOf(kept, "/99"), body);
    EXPECT_GE(kept.figures().answers, host::kLargestKeptPart);
    EXPECT_EQ(kept.figures().answers + kept.figures().dropped, 100U);
}

TEST(KeptAnswers, OneTakesASixteenthAtMost)
{
    KeptAnswers kept(kRoom);
    keep(kept, "/a", 1, std::string(kRoom / host::kLargestKeptPart, 'x'));
    EXPECT_EQ(kept.find("/a"), nullptr);
    EXPECT_EQ(kept.figures().bytes, 0U);
}

TEST(KeptAnswers, OneMayTakeASixteenth)
{
    KeptAnswers kept(kRoom);
    keep(kept, "/a", 1, "");
    const std::string largest(kRoom / host::kLargestKeptPart - kept.figures().bytes, 'x');
    keep(kept, "/b", 2, largest + "x");
    EXPECT_EQ(kept.find("/b"), nullptr);
    keep(kept, "/b", 3, largest);
    EXPECT_EQ(bodyOf(kept, "/b"), largest);
    EXPECT_EQ(kept.figures().bytes, kRoom / host::kLargestKeptPart);
}

TEST(KeptAnswers, CountWhatTheyTakeBesideTheirBodies)
{
    constexpr size_t kTagBytes = 1000;
    KeptAnswers kept(kRoom);
    kept.enter(1, kNow);
    httpd::Response response{200, {{"ETag", std::string(kTagBytes, 't')}}, ""};
    kept.keep("/a", host::readyAnswerOf(response));
    // To be compared, with the body, and without it.
    EXPECT_GE(kept.figures().bytes, 3 * kTagBytes);
    for (int i = 0; i < 1000; ++i) {
        kept.keep("/" + std::to_string(i), answerOf(""));
    }
    constexpr size_t kLeastOfOne = 256; // two places, and what memory is cut into
    EXPECT_LE(kept.figures().answers, kRoom / kLeastOfOne);
    EXPECT_GT(kept.figures().dropped, 0U);
}

TEST(KeptAnswers, AreWantedAtTheSecondRequestWithinAWhile)
{
    KeptAnswers kept(kRoom);
    EXPECT_FALSE(kept.isAskedAgain("/a", kNow));
    EXPECT_TRUE(kept.isAskedAgain("/a", kNow + host::kAskedAgainWindow / 2));
    EXPECT_FALSE(kept.isAskedAgain("/a", kNow + host::kAskedAgainWindow * 3));
    EXPECT_FALSE(kept.isAskedAgain("/b", kNow + host::kAskedAgainWindow * 3));
}

// Some of them share a place in the table of what was asked for.
TEST(KeptAnswers, AreWantedOfSomeHundredTargetsThatTakeTurns)
{
    KeptAnswers kept(kRoom);
    int again = 0;
    for (int i = 0; i < 1200; ++i) {
        again += kept.isAskedAgain("/a/" + std::to_string(i % 400), kNow) ? 1 : 0;
    }
    EXPECT_EQ(again, 800);
}

TEST(KeptAnswers, AreWantedAtOnceAfterAnotherStateHasDroppedThem)
{
    KeptAnswers kept(kRoom);
    keep(kept, "/a", 1, "one");
    const KeptAnswers::TimePoint later = kNow + 5 * host::kAskedAgainWindow;
    kept.enter(2, later);
    EXPECT_TRUE(kept.isAskedAgain("/a", later));
    EXPECT_FALSE(kept.isAskedAgain("/b", later));
}

TEST(KeptAnswers, NoneAreKeptWithoutRoom)
{
    KeptAnswers kept(0);
    EXPECT_FALSE(kept.isOn());
    kept.keep("/a", answerOf(""));
    EXPECT_EQ(kept.find("/a"), nullptr);
}

TEST(ReadyAnswer, IsWhatAResponseWouldBe)
{
    httpd::Response response{
        200, {{"Allow", "GET"}, {"ETag", "\"1\""}, {"Vary", "Accept-Encoding"}}, "body"};
    const host::ReadyAnswer answer = host::readyAnswerOf(response);
    EXPECT_EQ(response.content(), "body");
    for (const char* known : {"\"1\"", "\"2\""}) {
        const std::vector<httpd::Header> headers = {{"If-None-Match", known}};
        const httpd::Response expected = host::finalOf(response, headers);
        const httpd::Response& got = answer.finalFor(headers);
        EXPECT_EQ(got.status, expected.status);
        ASSERT_NE(got.sharedHeaders, nullptr);
        EXPECT_EQ(*got.sharedHeaders, httpd::headerLines(expected.headers));
        EXPECT_EQ(got.content(), expected.content());
    }
}

} // namespace
