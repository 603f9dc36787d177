#include "front/access_log.h"

#include "host_limits.h"
#include "log.h"
#include "printable.h"

#include <fcntl.h>
#include <poll.h>
#include <service/errno_text.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <ctime>
#include <utility>

namespace host {

namespace {

using std::chrono::steady_clock;

constexpr std::string_view kStandardOutput = "-";

// So that a line stays below what a pipe takes as a whole.
constexpr size_t kShownMethodBytes = 64;
constexpr size_t kShownTargetBytes = 2048;

constexpr mode_t kMode = 0640;
constexpr int kFlags = O_WRONLY | O_APPEND | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;

std::string shown(const std::string& text, size_t bytes)
{
    constexpr const char* kCut = "...";
    const std::string all = printable(text);
    return all.size() > bytes ? all.substr(0, bytes) + kCut : all;
}

std::string requestLine(const httpd::Exchange& exchange)
{
    if (exchange.method.empty()) {
        return "-";
    }
    return shown(exchange.method, kShownMethodBytes) + ' ' +
           shown(exchange.target, kShownTargetBytes) +
           (exchange.isHttp10 ? " HTTP/1.0" : " HTTP/1.1");
}

std::string clockText(time_t now)
{
    tm parts{};
    std::array<char, 64> text{};
    (void)gmtime_r(&now, &parts);
    (void)strftime(text.data(), text.size(), "%d/%b/%Y:%H:%M:%S +0000", &parts);
    return text.data();
}

std::string secondsText(std::chrono::microseconds duration)
{
    std::array<char, 32> text{};
    (void)std::snprintf(text.data(), text.size(), "%.6f",
                        std::chrono::duration<double>(duration).count());
    return text.data();
}

std::string lineOf(const std::string& client, const std::string& request, unsigned int status,
                   size_t bytes, std::chrono::microseconds duration, time_t now)
{
    return client + " - - [" + clockText(now) + "] \"" + request + "\" " + std::to_string(status) +
           ' ' + std::to_string(bytes) + ' ' + secondsText(duration) + '\n';
}

service::FileDescriptor openForLines(const std::string& path, int more)
{
    return service::FileDescriptor(::open(path.c_str(), kFlags | more, kMode));
}

// It has flags that it shares with whoever started the service: it is opened once more. A file is
// not, since standard error may go on at the same place of it; what cannot be, as a socket, is
// asked for room before each line.
service::FileDescriptor openStandardOutput()
{
    struct stat found
    {};
    service::FileDescriptor file;
    if (fstat(STDOUT_FILENO, &found) != 0 || !S_ISREG(found.st_mode)) {
        file = openForLines("/proc/self/fd/1", 0);
    }
    return file.isOpen() ? std::move(file)
                         : service::FileDescriptor(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0));
}

bool hasRoom(int fd)
{
    pollfd wait{fd, POLLOUT, 0};
    return poll(&wait, 1, 0) > 0;
}

} // namespace

std::string accessLine(const httpd::Exchange& exchange, time_t now)
{
    return lineOf(exchange.client, requestLine(exchange), exchange.status, exchange.bodyBytes,
                  exchange.duration, now);
}

// Whoever asks over the message queue has no address.
std::string accessLine(const QueueExchange& exchange, std::chrono::microseconds duration,
                       time_t now)
{
    const std::string request =
        exchange.request.empty() ? "-" : shown(exchange.request, kShownTargetBytes);
    return lineOf("-", request, exchange.status, exchange.bytes, duration, now);
}

bool AccessLog::open(const std::string& path, std::string& problem)
{
    mPath = path;
    if (!openFile()) {
        problem = service::errnoText();
        return false;
    }
    return true;
}

bool AccessLog::openFile()
{
    service::FileDescriptor file =
        mPath == kStandardOutput ? openStandardOutput() : openForLines(mPath, O_CREAT);
    if (!file.isOpen() || fstat(file.get(), &mIdentity) != 0) {
        return false;
    }
    mFile = std::move(file);
    mIsTorn = false;
    return true;
}

void AccessLog::write(std::string_view line)
{
    if (mFile.isOpen()) {
        followFile();
        noteOutcome(put(line));
    }
}

// Whoever rotates logs need not tell.
void AccessLog::followFile()
{
    const auto now = steady_clock::now();
    if (mPath == kStandardOutput || now < mNextLook) {
        return;
    }
    mNextLook = now + kAccessLogLook;
    struct stat found
    {};
    const bool isThere = stat(mPath.c_str(), &found) == 0;
    if ((!isThere || found.st_dev != mIdentity.st_dev || found.st_ino != mIdentity.st_ino) &&
        !openFile()) {
        log(Severity::Error,
            "cannot open the access log " + mPath + " anew: " + service::errnoText());
    }
}

bool AccessLog::put(std::string_view line)
{
    const std::string text = (mIsTorn ? "\n" : "") + std::string(line);
    errno = EAGAIN;
    const ssize_t written =
        hasRoom(mFile.get()) ? ::write(mFile.get(), text.data(), text.size()) : -1;
    mIsTorn = mIsTorn ? written <= 0 : written > 0 && static_cast<size_t>(written) < text.size();
    return written == static_cast<ssize_t>(text.size());
}

void AccessLog::noteOutcome(bool isWritten)
{
    if (!isWritten) {
        if (++mLost == 1) {
            log(Severity::Error, "cannot write the access log " + mPath + ": " +
                                     service::errnoText() + "; lines are lost");
        }
    } else if (mLost > 0) {
        log(Severity::Error, "the access log " + mPath + " is written again; " +
                                 std::to_string(mLost) + " lines were lost");
        mLost = 0;
    }
}

} // namespace host
