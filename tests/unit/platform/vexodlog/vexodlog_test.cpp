#include "SyslogCapture.h"

#include <ExhaustedMemory.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/syslog.h>
#include <unistd.h>
#include <vexodlog.h>

#include <array>
#include <cerrno>
#include <map>
#include <string>
#include <thread>
#include <vector>

namespace {

// Standard error as a datagram socket: what one write(2) wrote arrives as one message.
class StderrMessages
{
public:
    StderrMessages() : mStderr(::dup(STDERR_FILENO))
    {
        EXPECT_EQ(0, ::socketpair(AF_UNIX, SOCK_DGRAM, 0, mPair.data()));
        ::dup2(mPair[0], STDERR_FILENO);
    }
    ~StderrMessages()
    {
        ::dup2(mStderr, STDERR_FILENO);
        for (const int fd : {mStderr, mPair[0], mPair[1]}) {
            ::close(fd);
        }
    }
    StderrMessages(const StderrMessages&) = delete;
    StderrMessages& operator=(const StderrMessages&) = delete;

    // The next message; "(none)" when none has come.
    std::string next() { return receive(MSG_DONTWAIT); }
    std::string waitForNext() { return receive(0); }

private:
    std::string receive(int flags)
    {
        std::vector<char> buffer(1 << 16);
        const ssize_t length = ::recv(mPair[1], buffer.data(), buffer.size(), flags);
        return length < 0 ? "(none)" : std::string(buffer.data(), static_cast<size_t>(length));
    }

    int mStderr;
    std::array<int, 2> mPair{};
};

class Vexodlog : public testing::Test
{
public:
    Vexodlog() { vexoSetThreshold(VEXO_DEBUG); }
    ~Vexodlog() override
    {
        vexoSetTarget(VEXO_TARGET_STDERR, nullptr);
        vexoSetThreshold(VEXO_ERROR);
    }
    Vexodlog(const Vexodlog&) = delete;
    Vexodlog& operator=(const Vexodlog&) = delete;
};

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
    StderrMessages messages;
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
    std::map<std::string, int> counts;
    for (int received = 0; received < kThreads * kLines; ++received) {
        ++counts[messages.waitForNext()];
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    const std::map<std::string, int> expected{{"0 1 text\n", kLines},
                                              {"1 1 text\n", kLines},
                                              {"2 1 text\n", kLines},
                                              {"3 1 text\n", kLines}};
    EXPECT_EQ(expected, counts);
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
