// What a program may do to its lines: leave some out, and say where and when they come from.
#include "VexodlogTest.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>

namespace {

// Keeps what does not begin with "no".
int keepMost(int /*severity*/, int /*module*/, const char* text)
{
    errno = ERANGE;
    return std::string_view(text).starts_with("no") ? 0 : 1;
}

TEST_F(Vexodlog, filterDropsLines)
{
    StderrMessages messages;
    vexoSetFilter(keepMost);
    errno = EDOM;
    EXPECT_EQ(0, vexoprintf(1, 7, "not this one"));
    EXPECT_EQ(1, vexoprintf(1, 7, "this one"));
    EXPECT_EQ(1, vexoprintf(1, 7, nullptr));
    EXPECT_EQ(EDOM, errno);
    EXPECT_EQ("7 1 this one\n", messages.next());
    EXPECT_EQ("7 1 \n", messages.next());
    EXPECT_EQ(1, vexoPutText("not asked"));
    EXPECT_EQ("not asked\n", messages.next());
}

TEST_F(Vexodlog, filterIsNotAskedOfWhatTheThresholdDrops)
{
    vexoSetThreshold(1);
    vexoSetFilter([](int, int, const char*) {
        ADD_FAILURE() << "was asked";
        return 1;
    });
    EXPECT_EQ(0, vexoprintf(2, 7, "a"));
}

TEST_F(Vexodlog, stampTellsTimeAndProcess)
{
    const StderrMessages messages;
    vexoSetStamp(VEXO_STAMP_AUTO);
    const std::string pid = " \\[" + std::to_string(::getpid()) + "\\] ";
    const std::string time =
        "20[0-9][0-9]-[01][0-9]-[0-3][0-9]T[0-2][0-9]:[0-5][0-9]:[0-6][0-9]\\.[0-9]{3}Z";
    vexoprintf(2, 139, "text");
    EXPECT_THAT(messages.next(), testing::MatchesRegex(time + pid + "139 2 text\n"));
    vexoPutText("told");
    EXPECT_THAT(messages.next(), testing::MatchesRegex(time + pid + "told\n"));
    vexoSetStamp(VEXO_STAMP_NONE);
    vexoPutText("told");
    EXPECT_EQ("told\n", messages.next());
}

// Says that the stream of standard error is the journal's.
void becomeJournal()
{
    struct stat about
    {};
    ASSERT_EQ(0, ::fstat(STDERR_FILENO, &about));
    const std::string stream = std::to_string(about.st_dev) + ':' + std::to_string(about.st_ino);
    // NOLINTBEGIN(concurrency-mt-unsafe): there is one thread
    ASSERT_EQ(0, ::setenv("JOURNAL_STREAM", stream.c_str(), 1));
    vexoSetStamp(VEXO_STAMP_AUTO);
    ASSERT_EQ(0, ::unsetenv("JOURNAL_STREAM"));
    // NOLINTEND(concurrency-mt-unsafe)
}

TEST_F(Vexodlog, stampOfAJournalIsTheSeverity)
{
    const StderrMessages messages;
    becomeJournal();
    for (const auto& [severity, stamp] :
         {std::pair{1, "<2>"}, {2, "<3>"}, {3, "<4>"}, {4, "<6>"}, {5, "<7>"}}) {
        vexoprintf(severity, 7, "a");
        EXPECT_EQ(stamp + ("7 " + std::to_string(severity)) + " a\n", messages.next());
        vexoPutTextAs(severity, "told");
        EXPECT_EQ(std::string(stamp) + "told\n", messages.next());
    }
}

TEST_F(Vexodlog, standardErrorThatIsNoMoreTheJournalsGetsTheTime)
{
    const StderrMessages journal;
    becomeJournal();
    const StderrMessages other;
    vexoprintf(2, 7, "a");
    EXPECT_THAT(other.next(), testing::MatchesRegex("20.*Z \\[[0-9]+\\] 7 2 a\n"));
}

TEST_F(Vexodlog, noticeOfDroppedLinesHasAStamp)
{
    StderrPipe pipe;
    becomeJournal();
    (void)fillStderr();
    (void)pipe.read();
    vexoprintf(1, 7, "again");
    EXPECT_THAT(pipe.read(),
                testing::MatchesRegex("<3>0 2 vexodlog: 1 line was.*\n<2>7 1 again\n"));
}

} // namespace
