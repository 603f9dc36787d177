// Lines that come again and again.
#include "host_limits.h"
#include "repeated_lines.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

namespace {

using host::RepeatedLines;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr RepeatedLines::TimePoint kStart{std::chrono::hours(1)};

host::LogLine line(const std::string& text)
{
    return {2, 139, text};
}

// Whether the line is written, as whoever logs it does.
bool isWritten(RepeatedLines& lines, const host::LogLine& line, RepeatedLines::TimePoint now)
{
    const bool isNew = !lines.holdsBack(line, now);
    if (isNew) {
        lines.written(line, now);
    }
    return isNew;
}

std::vector<std::string> told(const std::vector<RepeatedLines::HeldBack>& heldBack)
{
    std::vector<std::string> texts;
    texts.reserve(heldBack.size());
    for (const auto& [of, times] : heldBack) {
        texts.push_back(of.text + ' ' + std::to_string(times));
    }
    return texts;
}

TEST(RepeatedLines, LineIsWrittenOnceInItsWindow)
{
    RepeatedLines lines;
    EXPECT_TRUE(isWritten(lines, line("a"), kStart));
    EXPECT_FALSE(lines.nextDue());
    EXPECT_FALSE(isWritten(lines, line("a"), kStart));
    EXPECT_TRUE(isWritten(lines, line("b"), kStart));
    EXPECT_FALSE(isWritten(lines, line("a"), kStart + host::kRepeatWindow / 2));
    EXPECT_EQ(lines.nextDue(), kStart + host::kRepeatWindow);
    EXPECT_THAT(lines.takeDue(kStart + host::kRepeatWindow / 2), IsEmpty());
    EXPECT_THAT(told(lines.takeDue(kStart + host::kRepeatWindow)), ElementsAre("a 2"));
    EXPECT_FALSE(lines.nextDue());
    EXPECT_TRUE(isWritten(lines, line("a"), kStart + host::kRepeatWindow));
}

TEST(RepeatedLines, LineThatWasNotWrittenIsNotKnown)
{
    RepeatedLines lines;
    EXPECT_FALSE(lines.holdsBack(line("a"), kStart));
    EXPECT_FALSE(lines.holdsBack(line("a"), kStart));
    EXPECT_THAT(told(lines.takeAll()), IsEmpty());
}

TEST(RepeatedLines, SeverityAndModuleMakeALineAnotherOne)
{
    RepeatedLines lines;
    EXPECT_TRUE(isWritten(lines, {2, 139, "a"}, kStart));
    EXPECT_TRUE(isWritten(lines, {3, 139, "a"}, kStart));
    EXPECT_TRUE(isWritten(lines, {2, 140, "a"}, kStart));
    EXPECT_FALSE(isWritten(lines, {2, 140, "a"}, kStart));
}

TEST(RepeatedLines, LineThatGivesWayIsToldOf)
{
    RepeatedLines lines;
    EXPECT_TRUE(isWritten(lines, line("first"), kStart));
    EXPECT_FALSE(isWritten(lines, line("first"), kStart));
    for (size_t i = 0; i < host::kRememberedLines; ++i) {
        EXPECT_TRUE(isWritten(lines, line(std::to_string(i)), kStart));
    }
    EXPECT_LE(lines.nextDue(), kStart);
    EXPECT_THAT(told(lines.takeDue(kStart)), ElementsAre("first 1"));
    EXPECT_TRUE(isWritten(lines, line("first"), kStart));
}

TEST(RepeatedLines, AllCanBeTakenBeforeTheirTime)
{
    RepeatedLines lines;
    for (const char* text : {"a", "b", "a", "b", "a"}) {
        (void)isWritten(lines, line(text), kStart);
    }
    EXPECT_THAT(told(lines.takeAll()), ElementsAre("a 2", "b 1"));
    EXPECT_THAT(told(lines.takeAll()), IsEmpty());
}

} // namespace
