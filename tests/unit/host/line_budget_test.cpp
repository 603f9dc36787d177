// Lines that come in numbers, each a little different.
#include "host_limits.h"
#include "line_budget.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

namespace {

using host::kLinesOfAKind;
using host::LineBudget;
using testing::ElementsAre;
using testing::IsEmpty;

// How many of so many lines are written.
uint32_t written(LineBudget& budget, const std::string& kind, uint32_t lines)
{
    uint32_t count = 0;
    for (uint32_t i = 0; i < lines; ++i) {
        count += budget.admits(kind) ? 1U : 0U;
    }
    return count;
}

std::vector<std::string> renewed(LineBudget& budget)
{
    std::vector<std::string> texts;
    for (const auto& [kind, lines] : budget.renew()) {
        texts.push_back(kind + ' ' + std::to_string(lines));
    }
    return texts;
}

TEST(LineBudget, FirstLinesOfAKindAreWrittenAndTheOthersCounted)
{
    LineBudget budget;
    EXPECT_EQ(written(budget, "a", kLinesOfAKind), kLinesOfAKind);
    EXPECT_THAT(renewed(budget), IsEmpty());
    EXPECT_EQ(written(budget, "a", kLinesOfAKind + 7), kLinesOfAKind);
    EXPECT_THAT(renewed(budget), ElementsAre("a 7"));
    EXPECT_EQ(written(budget, "a", 1), 1U);
}

TEST(LineBudget, NoKindTakesLinesOfAnother)
{
    LineBudget budget;
    (void)written(budget, "a", 1000);
    EXPECT_EQ(written(budget, "b", kLinesOfAKind), kLinesOfAKind);
    EXPECT_THAT(renewed(budget), ElementsAre("a " + std::to_string(1000 - kLinesOfAKind)));
}

TEST(LineBudget, KindsBeyondTheLastAreOne)
{
    LineBudget budget;
    for (size_t i = 0; i < host::kLineKinds; ++i) {
        EXPECT_EQ(written(budget, std::to_string(i), 2), 2U);
    }
    for (size_t i = 0; i < kLinesOfAKind; ++i) {
        EXPECT_TRUE(budget.admits("x" + std::to_string(i)));
    }
    EXPECT_EQ(written(budget, "y", 3), 0U);
    EXPECT_EQ(written(budget, "0", 1), 1U);
    EXPECT_THAT(renewed(budget), ElementsAre("lines of other kinds 3"));
    EXPECT_EQ(written(budget, "y", 3), 3U);
}

TEST(LineBudget, ProcessesShareIt)
{
    LineBudget budget;
    for (int i = 0; i < 2; ++i) {
        const pid_t child = fork();
        if (child == 0) {
            _exit(static_cast<int>(written(budget, "a", kLinesOfAKind - 1)));
        }
        int status = 0;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(WEXITSTATUS(status), i == 0 ? kLinesOfAKind - 1 : 1);
    }
    EXPECT_FALSE(budget.admits("a"));
    EXPECT_THAT(renewed(budget), ElementsAre("a " + std::to_string(kLinesOfAKind - 1)));
}

TEST(LineBudget, LongKindsAreShownInPart)
{
    LineBudget budget;
    const std::string kind(5000, 'x');
    (void)written(budget, kind, kLinesOfAKind + 1);
    const std::vector<LineBudget::Withheld> withheld = budget.renew();
    ASSERT_EQ(withheld.size(), 1U);
    EXPECT_LT(withheld.front().kind.size(), 200U);
    EXPECT_EQ(withheld.front().kind, kind.substr(0, withheld.front().kind.size()));
}

} // namespace
