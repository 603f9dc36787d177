// What LIKE matches.
#include "like_pattern.h"

#include <gtest/gtest.h>

namespace {

using cimomd::LikePattern;

bool cql(std::string_view pattern, std::string_view text)
{
    LikePattern read;
    std::string problem;
    EXPECT_TRUE(LikePattern::readCql(pattern, read, problem)) << problem;
    return read.matches(text);
}

bool wql(std::string_view pattern, std::string_view text)
{
    LikePattern read;
    std::string problem;
    EXPECT_TRUE(LikePattern::readWql(pattern, read, problem)) << problem;
    return read.matches(text);
}

std::string cqlProblem(std::string_view pattern)
{
    LikePattern read;
    std::string problem;
    EXPECT_FALSE(LikePattern::readCql(pattern, read, problem));
    return problem;
}

TEST(LikePattern, CoversTheWholeText)
{
    EXPECT_TRUE(cql("Fan", "Fan"));
    EXPECT_FALSE(cql("Fan", "Fan1"));
    EXPECT_FALSE(cql("Fan", "MyFan"));
    EXPECT_FALSE(cql("Fan", "fan"));
    EXPECT_TRUE(wql("Fan", "Fan"));
    EXPECT_FALSE(wql("an", "Fan"));
    EXPECT_TRUE(cql("", ""));
    EXPECT_FALSE(cql("", "x"));
}

TEST(LikePattern, CqlRepeats)
{
    EXPECT_TRUE(cql("Fan.*", "Fan"));
    EXPECT_TRUE(cql("Fan.*", "Fan.12"));
    EXPECT_TRUE(cql(".*1.*", "Fan.12"));
    EXPECT_FALSE(cql("Fan.+", "Fan"));
    EXPECT_TRUE(cql("Fan.+", "Fan12"));
    EXPECT_TRUE(cql("Fa?n", "Fn"));
    EXPECT_TRUE(cql("Fa?n", "Fan"));
    EXPECT_FALSE(cql("Fa?n", "Faan"));
    EXPECT_TRUE(cql("[0-9]+[a-f]*", "12ab"));
    EXPECT_FALSE(cql("[0-9]+[a-f]*", "ab"));
}

TEST(LikePattern, CqlAnchorsAndEscapes)
{
    EXPECT_TRUE(cql("^Fan$", "Fan"));
    EXPECT_TRUE(cql("Fan\\.1", "Fan.1"));
    EXPECT_FALSE(cql("Fan\\.1", "Fanx1"));
    EXPECT_TRUE(cql("5\\$", "5$"));
    EXPECT_TRUE(cql("100%_", "100%_"));
}

TEST(LikePattern, WqlWildcards)
{
    EXPECT_TRUE(wql("Fan%", "Fan"));
    EXPECT_TRUE(wql("%an%1", "Fan.21"));
    EXPECT_FALSE(wql("%an%1", "Fan.12"));
    EXPECT_TRUE(wql("F_n", "Fan"));
    EXPECT_FALSE(wql("F_n", "Fn"));
    EXPECT_TRUE(wql("a.*", "a.*"));
    EXPECT_FALSE(wql("a.*", "abc"));
    EXPECT_TRUE(wql("[^a-c]x", "dx"));
    EXPECT_FALSE(wql("[^a-c]x", "bx"));
}

TEST(LikePattern, SetsHoldBracketsAndDashes)
{
    EXPECT_TRUE(cql("[]]", "]"));
    EXPECT_TRUE(cql("[a-]", "-"));
    EXPECT_FALSE(cql("[a-]", "b"));
}

TEST(LikePattern, CharactersAreThoseOfUtf8)
{
    EXPECT_TRUE(cql("L.fter", "Lüfter"));
    EXPECT_TRUE(wql("L_fter", "Lüfter"));
    EXPECT_FALSE(cql("L..fter", "Lüfter"));
    EXPECT_TRUE(cql("[à-ü]+", "éü"));
}

TEST(LikePattern, TimeDoesNotExplode)
{
    std::string pattern;
    for (int i = 0; i < 40; ++i) {
        pattern += "a?";
    }
    EXPECT_TRUE(cql(pattern + std::string(40, 'a'), std::string(40, 'a')));
    EXPECT_FALSE(cql(".*.*.*.*.*.*.*.*b", std::string(2000, 'a')));
}

TEST(LikePattern, RefusesWhatIsNoPattern)
{
    EXPECT_EQ(cqlProblem("[a-"), "\"[\" without \"]\" in a LIKE pattern");
    EXPECT_EQ(cqlProblem("*a"), "nothing to repeat before \"*\" in a LIKE pattern");
    EXPECT_EQ(cqlProblem("a**"), "nothing to repeat before \"*\" in a LIKE pattern");
    EXPECT_EQ(cqlProblem("a|b"), "groups and alternatives are not supported in a LIKE pattern");
    EXPECT_EQ(cqlProblem("a\\"), "a LIKE pattern ends in \"\\\"");
    LikePattern read;
    std::string problem;
    EXPECT_FALSE(LikePattern::readWql("%[", read, problem));
    EXPECT_EQ(problem, "\"[\" without \"]\" in a LIKE pattern");
}

} // namespace
