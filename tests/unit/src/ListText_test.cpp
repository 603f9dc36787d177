#include "ListText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using ::testing::ElementsAre;

TEST(ListText, ItemsStandBetweenCommas)
{
    EXPECT_THAT(cimgate::itemsOf("a"), ElementsAre("a"));
    EXPECT_THAT(cimgate::itemsOf("a,b c,d"), ElementsAre("a", "b c", "d"));
    EXPECT_THAT(cimgate::itemsOf(",a,,"), ElementsAre("", "a", "", ""));
    EXPECT_THAT(cimgate::itemsOf(""), ElementsAre(""));
}

TEST(ListText, SelectorIsSplitAtItsFirstEqualsSign)
{
    const std::optional<cimgate::Selector> selector = cimgate::selectorOf("Name=a=b");
    ASSERT_TRUE(selector.has_value());
    EXPECT_EQ(selector->name, "Name");
    EXPECT_EQ(selector->value, "a=b");
    EXPECT_FALSE(cimgate::selectorOf("Name").has_value());
    EXPECT_FALSE(cimgate::selectorOf("").has_value());
}

} // namespace
