#include "SyslogCapture.h"
#include "VexodlogTest.h"

#include <ExhaustedMemory.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syslog.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vexodlog.h>

#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace {

TEST(VexodlogDeathTest, keepsErrorsUnlessTold)
{
    GTEST_FLAG_SET(death_test_style,
                   "threadsafe"); // a new process, with the threshold as it begins
    EXPECT_EXIT(::_exit(vexoThreshold()), testing::ExitedWithCode(VEXO_ERROR), "");
    EXPECT_EXIT(::_exit(vexoprintf(2, 139, "kept") + vexoprintf(3, 139, "dropped")),
                testing::ExitedWithCode(1), "^139 2 kept\n$");
}

TEST_F(Vexodlog, writesALineWithOneWrite)
{
    StderrMessages messages;
    const int result = vexoprintf(VEXO_TRACE, 139, "0000.001:[a.cpp.1 f] text");
    EXPECT_EQ("139 4 0000.001:[a.cpp.1 f] text\n", messages.next());
    EXPECT_EQ("(none)", messages.next());
    EXPECT_EQ(1, result);
}

TEST_F(Vexodlog, writesLongTextsWhole)
{
    const std::string text(20000, 'x');
    StderrMessages messages;
    EXPECT_EQ(1, vexoprintf(1, 1, text.c_str()));
    EXPECT_EQ("1 1 " + text + "\n", messages.next());
}

TEST_F(Vexodlog, printsTheModuleAsItIs)
{
    StderrMessages messages;
    vexoprintf(1, -2147483647, "a");
    EXPECT_EQ("-2147483647 1 a\n", messages.next());
}

TEST_F(Vexodlog, writesNullAsAnEmptyLine)
{
    StderrMessages messages;
    EXPECT_EQ(1, vexoprintf(1, 7, nullptr));
    EXPECT_EQ("7 1 \n", messages.next());
    vexoprintf(1, 7, "");
    EXPECT_EQ("7 1 \n", messages.next());
}

TEST_F(Vexodlog, textIsNoFormat)
{
    StderrMessages messages;
    vexoprintf(1, 7, "%s%n%d%%");
    EXPECT_EQ("7 1 %s%n%d%%\n", messages.next());
}

TEST_F(Vexodlog, lineEndsInsideATextBecomeBlanks)
{
    StderrMessages messages;
    vexoprintf(1, 7, "a\r\n7 1 forged\n");
    EXPECT_EQ("7 1 a  7 1 forged \n", messages.next());
}

TEST_F(Vexodlog, clampsTheSeverity)
{
    StderrMessages messages;
    vexoprintf(0, 7, "a");
    EXPECT_EQ("7 1 a\n", messages.next());
    vexoprintf(-100, 7, "a");
    EXPECT_EQ("7 1 a\n", messages.next());
    vexoprintf(6, 7, "a");
    EXPECT_EQ("7 5 a\n", messages.next());
}

TEST_F(Vexodlog, keepsSeveritiesUpToTheThreshold)
{
    StderrMessages messages;
    for (int threshold = 0; threshold <= VEXO_DEBUG; ++threshold) {
        vexoSetThreshold(threshold);
        EXPECT_EQ(threshold, vexoThreshold());
        for (int severity = VEXO_CRITICAL; severity <= VEXO_DEBUG; ++severity) {
            const bool isKept = severity <= threshold;
            EXPECT_EQ(isKept ? 1 : 0, vexoprintf(severity, 7, "a"));
            EXPECT_EQ(isKept ? "7 " + std::to_string(severity) + " a\n" : "(none)",
                      messages.next());
        }
    }
}

TEST_F(Vexodlog, clampsTheThreshold)
{
    vexoSetThreshold(-1);
    EXPECT_EQ(0, vexoThreshold());
    EXPECT_EQ(0, vexoprintf(-5, 7, "a"));
    vexoSetThreshold(100);
    EXPECT_EQ(VEXO_DEBUG, vexoThreshold());
}

TEST_F(Vexodlog, reportsALineThatCannotBeWritten)
{
    const int savedStderr = ::dup(STDERR_FILENO);
    const int full = ::open("/dev/full", O_WRONLY | O_CLOEXEC);
    ::dup2(full, STDERR_FILENO);
    errno = EDOM;
    const int result = vexoprintf(1, 7, "a");
    const int errnoAfter = errno;
    ::dup2(savedStderr, STDERR_FILENO);
    ::close(full);
    ::close(savedStderr);
    EXPECT_EQ(-1, result);
    EXPECT_EQ(EDOM, errnoAfter);
}

TEST_F(Vexodlog, reportsALineThatMemoryIsTooShortFor)
{
    const std::string text(100, 'x');
    int result = 0;
    {
        const ExhaustedMemory exhausted(0);
        result = vexoprintf(1, 7, text.c_str());
    }
    EXPECT_EQ(-1, result);
}

TEST_F(Vexodlog, linesOfSeveralThreadsDoNotMix)
{
    constexpr int kThreads = 4;
    constexpr int kLines = 250;
    StderrPipe pipe;
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int module = 0; module < kThreads; ++module) {
        threads.emplace_back([module] {
            for (int i = 0; i < kLines; ++i) {
                vexoSetThreshold(VEXO_DEBUG);
                vexoprintf(1, module, "text");
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::map<std::string, int> counts;
    std::istringstream lines(pipe.read());
    for (std::string line; std::getline(lines, line);) {
        ++counts[line];
    }
    const std::map<std::string, int> expected{
        {"0 1 text", kLines}, {"1 1 text", kLines}, {"2 1 text", kLines}, {"3 1 text", kLines}};
    EXPECT_EQ(expected, counts);
}

TEST_F(Vexodlog, dropsWhatAStalledReaderDoesNotTakeAndTellsLater)
{
    StderrPipe pipe;
    const int written = fillStderr();
    EXPECT_EQ(-1, vexoprintf(1, 7, "dropped"));
    EXPECT_EQ(-1, vexoPutText("dropped"));
    EXPECT_EQ(-1, vexoAwaitRoom(0));
    std::string expected;
    for (int i = 0; i < written; ++i) {
        expected += "7 1 filled\n";
    }
    EXPECT_EQ(expected, pipe.read());
    EXPECT_EQ(1, vexoAwaitRoom(0));
    EXPECT_EQ(1, vexoprintf(1, 7, "again"));
    EXPECT_EQ(1, vexoprintf(1, 7, "and again"));
    EXPECT_EQ(
        "0 2 vexodlog: 3 lines were dropped: nobody reads standard error, or not fast enough\n"
        "7 1 again\n7 1 and again\n",
        pipe.read());
}

TEST_F(Vexodlog, tellsOfOneLine)
{
    StderrPipe pipe;
    (void)fillStderr();
    (void)pipe.read();
    vexoprintf(1, 7, "again");
    EXPECT_EQ(0U, pipe.read().rfind("0 2 vexodlog: 1 line was dropped: ", 0));
}

TEST_F(Vexodlog, inheritedDescriptorStaysBlocking)
{
    StderrPipe pipe;
    (void)fillStderr();
    EXPECT_EQ(0, ::fcntl(STDERR_FILENO, F_GETFL) & O_NONBLOCK);
}

TEST_F(Vexodlog, longLineOfAPipeIsCut)
{
    StderrPipe pipe;
    const std::string head = "7 1 ";
    const std::string fits(PIPE_BUF - head.size() - 1, 'x');
    vexoprintf(1, 7, fits.c_str());
    EXPECT_EQ(head + fits + "\n", pipe.read());
    vexoprintf(1, 7, (fits + "x").c_str());
    EXPECT_EQ(head + fits.substr(3) + "...\n", pipe.read());
}

TEST_F(Vexodlog, readerThatIsGoneIsNoStalledOne)
{
    (void)std::signal(SIGPIPE, SIG_IGN);
    std::array<int, 2> ends{};
    ASSERT_EQ(0, ::pipe2(ends.data(), O_CLOEXEC));
    {
        const StderrReplaced replaced(ends[1]);
        ::close(ends[0]);
        EXPECT_EQ(-1, vexoprintf(1, 7, "a"));
    }
    ::close(ends[1]);
    (void)std::signal(SIGPIPE, SIG_DFL);
    StderrPipe pipe;
    vexoprintf(1, 7, "b");
    EXPECT_EQ("7 1 b\n", pipe.read());
}

TEST_F(Vexodlog, dropsWhatAStalledSocketDoesNotTake)
{
    std::array<int, 2> ends{};
    ASSERT_EQ(0, ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()));
    std::string text;
    {
        const StderrReplaced replaced(ends[1]);
        (void)fillStderr();
        EXPECT_EQ(-1, vexoprintf(1, 7, "dropped"));
        std::vector<char> buffer(1 << 20);
        ssize_t got = ::recv(ends[0], buffer.data(), buffer.size(), MSG_DONTWAIT);
        while (got > 0) {
            text.append(buffer.data(), static_cast<size_t>(got));
            got = ::recv(ends[0], buffer.data(), buffer.size(), MSG_DONTWAIT);
        }
        EXPECT_EQ(1, vexoprintf(1, 7, "again"));
        got = ::recv(ends[0], buffer.data(), buffer.size(), MSG_DONTWAIT);
        text.append(buffer.data(), got > 0 ? static_cast<size_t>(got) : 0);
    }
    ::close(ends[0]);
    ::close(ends[1]);
    EXPECT_NE(std::string::npos, text.find("filled\n0 2 vexodlog: 2 lines were dropped: "));
    EXPECT_EQ("\n7 1 again\n", text.substr(text.size() - 11));
}

// A terminal takes part of a line: the rest comes first, once there is room.
TEST_F(Vexodlog, lineThatIsTakenInPartIsFinished)
{
    const int reader = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK);
    ASSERT_GE(reader, 0);
    ASSERT_EQ(0, ::grantpt(reader) | ::unlockpt(reader));
    std::array<char, 64> name{};
    ASSERT_EQ(0, ::ptsname_r(reader, name.data(), name.size()));
    const int terminal = ::open(name.data(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    ASSERT_GE(terminal, 0);
    std::string text;
    {
        const StderrReplaced replaced(terminal);
        const std::string line(1000, 'x');
        int lines = 0;
        while (vexoprintf(1, 7, line.c_str()) == 1) {
            ++lines;
        }
        EXPECT_GT(lines, 1);
        std::array<char, 4096> buffer{};
        for (int result = -1; result != 1;) {
            const ssize_t got = ::read(reader, buffer.data(), buffer.size());
            text.append(buffer.data(), got > 0 ? static_cast<size_t>(got) : 0);
            result = vexoprintf(1, 7, "again");
        }
        while (text.find("again") == std::string::npos) {
            const ssize_t got = ::read(reader, buffer.data(), buffer.size());
            text.append(buffer.data(), got > 0 ? static_cast<size_t>(got) : 0);
        }
        std::string expected;
        for (; lines > 0; --lines) {
            expected += "7 1 " + line + "\r\n";
        }
        EXPECT_EQ(expected, text.substr(0, expected.size()));
        EXPECT_EQ(expected.size(), text.find("0 2 vexodlog: "));
    }
    ::close(terminal);
    ::close(reader);
}

TEST_F(Vexodlog, aProcessCountsItsOwnLines)
{
    StderrPipe pipe;
    (void)fillStderr();
    (void)pipe.read();
    const pid_t child = ::fork();
    if (child == 0) {
        ::_exit(vexoprintf(1, 7, "child"));
    }
    int status = 0;
    ASSERT_EQ(child, ::waitpid(child, &status, 0));
    EXPECT_EQ(1, WEXITSTATUS(status));
    EXPECT_EQ("7 1 child\n", pipe.read());
    vexoprintf(1, 7, "parent");
    EXPECT_NE(std::string::npos, pipe.read().find("1 line was dropped"));
}

// Who redirects standard error wants its former reader to see the end.
TEST_F(Vexodlog, followsStandardErrorThatIsRedirected)
{
    StderrPipe first;
    vexoprintf(1, 7, "a");
    {
        StderrPipe second;
        vexoprintf(1, 7, "b");
        EXPECT_EQ("7 1 b\n", second.read());
    }
    vexoprintf(1, 7, "c");
    EXPECT_EQ("7 1 a\n7 1 c\n", first.read());
}

TEST_F(Vexodlog, putsATextAsItIs)
{
    vexoSetThreshold(0);
    StderrMessages messages;
    EXPECT_EQ(1, vexoPutText("cimgated: a\nb"));
    EXPECT_EQ("cimgated: a b\n", messages.next());
}

TEST_F(Vexodlog, syslogGetsTheSeveritiesAsPriorities)
{
    takeSyslogLines();
    StderrMessages messages;
    vexoSetTarget(VEXO_TARGET_SYSLOG, "cimgated");
    for (int severity = VEXO_CRITICAL; severity <= VEXO_DEBUG; ++severity) {
        EXPECT_EQ(1, vexoprintf(severity, 139, "100%\ns"));
    }
    EXPECT_EQ("(none)", messages.next());

    const std::vector<SyslogLine> lines = takeSyslogLines();
    constexpr std::array<int, 5> kPriorities{LOG_CRIT, LOG_ERR, LOG_WARNING, LOG_INFO, LOG_DEBUG};
    ASSERT_EQ(kPriorities.size(), lines.size());
    for (size_t i = 0; i < lines.size(); ++i) {
        EXPECT_EQ(kPriorities.at(i) | LOG_DAEMON, lines[i].priority);
        EXPECT_EQ("cimgated", lines[i].ident);
        EXPECT_EQ("139 100% s", lines[i].text);
    }
}

TEST_F(Vexodlog, syslogIdentIsCopied)
{
    std::string ident = "before";
    vexoSetTarget(VEXO_TARGET_SYSLOG, ident.c_str());
    ident = "after!";
    vexoprintf(1, 1, "a");
    vexoSetTarget(VEXO_TARGET_SYSLOG, nullptr);
    vexoprintf(1, 1, "b");
    vexoSetTarget(VEXO_TARGET_SYSLOG, std::string(500, 'i').c_str());
    vexoprintf(1, 1, "c");
    const std::vector<SyslogLine> lines = takeSyslogLines();
    ASSERT_EQ(3U, lines.size());
    EXPECT_EQ("before", lines[0].ident);
    EXPECT_EQ("cimgate", lines[1].ident);
    EXPECT_EQ(std::string(63, 'i'), lines[2].ident);
}

TEST_F(Vexodlog, theThresholdCountsForSyslogToo)
{
    takeSyslogLines();
    vexoSetTarget(VEXO_TARGET_SYSLOG, nullptr);
    vexoSetThreshold(VEXO_WARNING);
    EXPECT_EQ(0, vexoprintf(VEXO_TRACE, 1, "a"));
    EXPECT_TRUE(takeSyslogLines().empty());
}

TEST_F(Vexodlog, goesBackToStderr)
{
    StderrMessages messages;
    vexoSetTarget(VEXO_TARGET_SYSLOG, nullptr);
    vexoSetTarget(VEXO_TARGET_STDERR, nullptr);
    vexoprintf(1, 1, "a");
    EXPECT_EQ("1 1 a\n", messages.next());
}

} // namespace
