// The library with a platform logger that has no vexoThreshold(), as the controller's own.
#include "LogCapture.h"
#include "LogMessage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using support::LogCapture;
using support::LogLine;
using ::testing::MatchesRegex;

namespace {

TEST(PlainLogger, EveryLineIsFormattedAndHandedOver)
{
    LogCapture::Reset();
    for (int level = 0; level <= 4; ++level) {
        logMessage(level, "/src/File.cpp", 42, "doIt", "level %d", level);
    }
    const std::vector<LogLine> lines = LogCapture::Lines();
    ASSERT_EQ(lines.size(), 5U);
    for (int level = 0; level <= 4; ++level) {
        const LogLine& line = lines[static_cast<size_t>(level)];
        EXPECT_EQ(line.severity, level + 1);
        EXPECT_EQ(line.module, 139);
        EXPECT_THAT(line.text,
                    MatchesRegex("[0-9]{4}\\.[0-9]{3}:\\[File\\.cpp\\.42 doIt\\] level " +
                                 std::to_string(level)));
    }
}

TEST(PlainLogger, LevelsOutsideTheRangeAreDropped)
{
    LogCapture::Reset();
    logMessage(5, "File.cpp", 1, "f", "above");
    logMessage(-1, "File.cpp", 1, "f", "below");
    EXPECT_TRUE(LogCapture::Lines().empty());
}

} // namespace
