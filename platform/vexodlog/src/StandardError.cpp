#include "StandardError.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <utility>

namespace {

mode_t kindOfStandardError()
{
    struct stat about
    {};
    return fstat(STDERR_FILENO, &about) == 0 ? about.st_mode & S_IFMT : 0;
}

// Several processes write to one pipe: a line that it does not take as a whole would mix with
// theirs.
void cutForPipe(std::string& line)
{
    constexpr std::string_view kEnd = "...\n";
    if (line.size() > PIPE_BUF && kindOfStandardError() == S_IFIFO) {
        line.replace(PIPE_BUF - kEnd.size(), std::string::npos, kEnd);
    }
}

template <typename Write>
ssize_t uninterrupted(Write write)
{
    ssize_t written = 0;
    do {
        written = write();
    } while (written < 0 && errno == EINTR);
    return written;
}

ssize_t writeTo(int fd, std::string_view bytes)
{
    return uninterrupted([&] { return ::write(fd, bytes.data(), bytes.size()); });
}

ssize_t sendTo(int socket, std::string_view bytes)
{
    return uninterrupted(
        [&] { return send(socket, bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL); });
}

// For what cannot be opened again: another user's pipe, or /proc is not there. Another process can
// still be first to fill the room.
ssize_t writeIfRoom(std::string_view bytes)
{
    if (!StandardError::awaitRoom(0)) {
        errno = EAGAIN;
        return -1;
    }
    return writeTo(STDERR_FILENO, bytes.substr(0, PIPE_BUF));
}

} // namespace

bool StandardError::write(int severity, const std::string& text)
{
    const std::lock_guard lock(mMutex);
    forgetParent();
    std::string line = mStamp.text(severity) + text;
    cutForPipe(line);
    if (writeRest() && writeNotice() && writeLine(line)) {
        return true;
    }
    mDropped += errno == EAGAIN ? 1 : 0;
    return false;
}

void StandardError::setStamp(VexoStamp stamp)
{
    const std::lock_guard lock(mMutex);
    mStamp = Stamp(stamp);
}

bool StandardError::awaitRoom(int timeoutMs)
{
    pollfd wait{STDERR_FILENO, POLLOUT, 0};
    return poll(&wait, 1, timeoutMs) > 0;
}

// Its lines are the parent's to finish and to count.
void StandardError::forgetParent()
{
    const pid_t self = getpid();
    if (std::exchange(mProcess, self) != self) {
        mDropped = 0;
        mRest.clear();
    }
}

bool StandardError::writeRest()
{
    if (mRest.empty()) {
        return true;
    }
    const ssize_t written = put(mRest);
    if (written > 0) {
        mRest.erase(0, static_cast<size_t>(written));
        errno = EAGAIN;
    }
    return mRest.empty();
}

bool StandardError::writeNotice()
{
    const bool isWritten =
        mDropped == 0 ||
        writeLine(mStamp.text(VEXO_ERROR) + "0 2 vexodlog: " + std::to_string(mDropped) +
                  (mDropped == 1 ? " line was" : " lines were") +
                  " dropped: nobody reads standard error, or not fast enough\n");
    mDropped = isWritten ? 0 : mDropped;
    return isWritten;
}

// A line that is written in part counts as written: the rest follows before any other line.
bool StandardError::writeLine(std::string_view line)
{
    const ssize_t written = put(line);
    if (written < 0) {
        return false;
    }
    mRest = line.substr(static_cast<size_t>(written));
    return true;
}

ssize_t StandardError::put(std::string_view bytes)
{
    switch (kindOfStandardError()) {
    case S_IFSOCK:
        return sendTo(STDERR_FILENO, bytes);
    case S_IFIFO:
    case S_IFCHR: // a terminal, or a device that takes everything
        openAgain(identityOf(STDERR_FILENO));
        return mOwn >= 0 ? writeTo(mOwn, bytes) : writeIfRoom(bytes);
    default:
        return writeTo(STDERR_FILENO, bytes); // a file waits for no reader
    }
}

StandardError::Identity StandardError::identityOf(int fd)
{
    struct stat about
    {};
    return fstat(fd, &about) == 0 ? Identity{about.st_dev, about.st_ino} : Identity();
}

// Leaves mOwn at -1 where that cannot be done.
void StandardError::openAgain(Identity wanted)
{
    const bool isStillOurs = mOwn >= 0 && identityOf(mOwn) == mOwnIdentity;
    if (isStillOurs && mOwnIdentity == wanted) {
        return;
    }
    if (isStillOurs) {
        close(mOwn); // standard error has been redirected
    }
    // By its name in /proc, a pipe can be opened too; a terminal must not become the controlling
    // one.
    mOwn = open("/proc/self/fd/2", O_WRONLY | O_APPEND | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    mOwnIdentity = identityOf(mOwn);
}
