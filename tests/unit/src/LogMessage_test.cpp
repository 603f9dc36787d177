#include "LogCapture.h"
#include "LogMessage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

using support::LogCapture;
using support::LogLine;
using ::testing::MatchesRegex;

namespace {

class LogMessage : public ::testing::Test
{
protected:
    LogMessage() { LogCapture::Reset(); }

    // The one line that was logged.
    static LogLine onlyLine()
    {
        const std::vector<LogLine> lines = LogCapture::Lines();
        EXPECT_EQ(lines.size(), 1U);
        return lines.empty() ? LogLine{} : lines.front();
    }
};

TEST_F(LogMessage, LineHasTimestampCallerAndMessage)
{
    EXPECT_EQ(logMessage(1, "/src/folder/File.cpp", 42, "doIt", "%s has %d", "it", 7), 0);
    EXPECT_THAT(onlyLine().text,
                MatchesRegex("[0-9]{4}\\.[0-9]{3}:\\[File\\.cpp\\.42 doIt\\] it has 7"));
}

TEST_F(LogMessage, FileWithoutDirectoryIsPrintedWhole)
{
    logMessage(1, "File.cpp", 1, "f", "text");
    EXPECT_EQ(onlyLine().file(), "File.cpp");
}

TEST_F(LogMessage, ArgumentsAreNotTakenForAFormat)
{
    logMessage(1, "File.cpp", 1, "f", "%s", "100%s of %n");
    EXPECT_EQ(onlyLine().message(), "100%s of %n");
}

TEST_F(LogMessage, LevelsZeroToFourGoToTheLoggerAtOneSeverityAbove)
{
    for (int level = 0; level <= 4; ++level) {
        LogCapture::Reset();
        logMessage(level, "File.cpp", 1, "f", "level %d", level);
        EXPECT_EQ(onlyLine().severity, level + 1);
        EXPECT_EQ(onlyLine().module, 139);
    }
}

TEST_F(LogMessage, OtherLevelsAreDropped)
{
    for (const int level : {5, 6, 100, -1, -100}) {
        EXPECT_EQ(logMessage(level, "File.cpp", 1, "f", "level %d", level), 0);
    }
    EXPECT_TRUE(LogCapture::Lines().empty());
}

TEST_F(LogMessage, MessageOf159CharactersIsKeptWhole)
{
    logMessage(1, "F.c", 1, "f", "%s", std::string(159, 'm').c_str());
    EXPECT_EQ(onlyLine().message(), std::string(159, 'm'));
}

TEST_F(LogMessage, LongerMessageIsCutTo159Characters)
{
    logMessage(1, "F.c", 1, "f", "%s!", std::string(159, 'm').c_str());
    EXPECT_EQ(onlyLine().message(), std::string(159, 'm'));
}

TEST_F(LogMessage, CallerIsCutTo79Characters)
{
    logMessage(1, "F.c", 1, std::string(200, 'f').c_str(), "message");
    const std::string prefix = "[F.c.1 " + std::string(79 - 7, 'f');
    EXPECT_EQ(onlyLine().text.substr(9), prefix + "message");
}

TEST_F(LogMessage, LineNeverExceeds239Characters)
{
    const std::string function(200, 'f');
    const std::string message(1000, 'm');
    logMessage(1, "F.c", 1, function.c_str(), "%s", message.c_str());
    EXPECT_EQ(onlyLine().text.size(), 239U);
    EXPECT_EQ(onlyLine().text.back(), 'm');
}

TEST_F(LogMessage, LinesThatTheLoggerWouldDropAreNotHandedOver)
{
    for (int threshold = 0; threshold <= 5; ++threshold) {
        LogCapture::Reset();
        LogCapture::SetThreshold(threshold);
        for (int level = 0; level <= 4; ++level) {
            logMessage(level, "File.cpp", 1, "f", "level %d", level);
        }
        EXPECT_EQ(LogCapture::Lines().size(), static_cast<size_t>(threshold));
    }
}

TEST_F(LogMessage, ThresholdIsAskedForEachLine)
{
    LogCapture::SetThreshold(1);
    logMessage(3, "File.cpp", 1, "f", "dropped");
    LogCapture::SetThreshold(4);
    logMessage(3, "File.cpp", 1, "f", "kept");
    EXPECT_EQ(onlyLine().message(), "kept");
}

// A process of its own: the time base is the first line of the process.
TEST(LogMessageDeathTest, TimeStartsWithTheFirstLineOfTheProcess)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            logMessage(1, "File.cpp", 1, "f", "first");
            (void)std::fputs(LogCapture::Lines().front().text.c_str(), stderr);
            std::quick_exit(0);
        },
        ::testing::ExitedWithCode(0), "^0000\\.[0-9]{3}:");
}

} // namespace
