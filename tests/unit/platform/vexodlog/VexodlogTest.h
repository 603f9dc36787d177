// The platform log beside a standard error that the test reads, or that nobody does.
#ifndef TESTS_VEXODLOG_TEST_H_
#define TESTS_VEXODLOG_TEST_H_

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vexodlog.h>

#include <array>
#include <optional>
#include <string>
#include <vector>

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
    std::string next() const
    {
        std::vector<char> buffer(1 << 16);
        const ssize_t length = ::recv(mPair[1], buffer.data(), buffer.size(), MSG_DONTWAIT);
        return length < 0 ? "(none)" : std::string(buffer.data(), static_cast<size_t>(length));
    }

private:
    int mStderr;
    std::array<int, 2> mPair{};
};

// Standard error as one end of something whose reader may stop.
class StderrReplaced
{
public:
    explicit StderrReplaced(int fd) : mStderr(::dup(STDERR_FILENO)) { ::dup2(fd, STDERR_FILENO); }
    ~StderrReplaced()
    {
        ::dup2(mStderr, STDERR_FILENO);
        ::close(mStderr);
    }
    StderrReplaced(const StderrReplaced&) = delete;
    StderrReplaced& operator=(const StderrReplaced&) = delete;

private:
    int mStderr;
};

class StderrPipe
{
public:
    StderrPipe()
    {
        EXPECT_EQ(0, ::pipe2(mEnds.data(), O_CLOEXEC));
        mReplaced.emplace(mEnds[1]);
        ::close(mEnds[1]);
    }
    ~StderrPipe() { ::close(mEnds[0]); }
    StderrPipe(const StderrPipe&) = delete;
    StderrPipe& operator=(const StderrPipe&) = delete;

    // All that it holds now.
    std::string read()
    {
        ::fcntl(mEnds[0], F_SETFL, O_NONBLOCK);
        std::string text(1 << 17, '\0'); // more than a pipe holds
        size_t size = 0;
        ssize_t got = 0;
        while ((got = ::read(mEnds[0], text.data() + size, text.size() - size)) > 0) {
            size += static_cast<size_t>(got);
        }
        text.resize(size);
        return text;
    }

private:
    std::array<int, 2> mEnds{};
    std::optional<StderrReplaced> mReplaced;
};

// Writes lines until one is dropped; how many were written.
inline int fillStderr()
{
    int lines = 0;
    while (vexoprintf(1, 7, "filled") == 1) {
        ++lines;
    }
    return lines;
}

class Vexodlog : public testing::Test
{
public:
    Vexodlog() { vexoSetThreshold(VEXO_DEBUG); }
    ~Vexodlog() override
    {
        const StderrPipe pipe;
        vexoPutText(""); // lines that one test lost are not told of in the next
        vexoSetTarget(VEXO_TARGET_STDERR, nullptr);
        vexoSetThreshold(VEXO_ERROR);
        vexoSetFilter(nullptr);
        vexoSetStamp(VEXO_STAMP_NONE);
    }
    Vexodlog(const Vexodlog&) = delete;
    Vexodlog& operator=(const Vexodlog&) = delete;
};

#endif
