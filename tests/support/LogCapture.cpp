#include "LogCapture.h"

#include <vexodlog.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <mutex>

namespace support {
namespace {

struct Capture
{
    std::mutex lock;
    std::vector<LogLine> lines;
    std::atomic<int> threshold{VEXO_DEBUG};
    bool mirrored = false;
};

Capture& capture()
{
    static Capture instance;
    return instance;
}

std::string between(const std::string& text, const std::string& from, const std::string& to)
{
    const size_t start = text.find(from);
    if (start == std::string::npos) {
        return "";
    }
    const size_t end = text.find(to, start + from.size());
    return text.substr(start + from.size(),
                       end == std::string::npos ? end : end - start - from.size());
}

template <typename Matches>
::testing::AssertionResult anyLine(Matches matches, const std::string& wanted, int shownLevel)
{
    std::string seen;
    for (const LogLine& line : LogCapture::Lines()) {
        if (matches(line)) {
            return ::testing::AssertionSuccess() << "\"" << wanted << "\" was logged";
        }
        if (shownLevel < 0 || line.level() == shownLevel) {
            seen += "\n  " + std::to_string(line.level()) + " " + line.text;
        }
    }
    return ::testing::AssertionFailure() << "\"" << wanted << "\" was not logged, but:" << seen;
}

} // namespace

std::string LogLine::file() const
{
    // The last point before the blank parts the file from the line.
    const std::string place = between(text, ":[", " ");
    return place.substr(0, place.rfind('.'));
}

std::string LogLine::function() const
{
    const std::string place = between(text, ":[", "] ");
    return place.substr(place.find(' ') + 1);
}

std::string LogLine::message() const
{
    const size_t end = text.find("] ");
    return end == std::string::npos ? "" : text.substr(end + 2);
}

void LogCapture::Reset()
{
    const std::lock_guard<std::mutex> guard(capture().lock);
    capture().lines.clear();
    capture().threshold = VEXO_DEBUG;
    capture().mirrored = false;
}

void LogCapture::SetThreshold(int severity)
{
    capture().threshold = severity;
}

std::vector<LogLine> LogCapture::Lines()
{
    const std::lock_guard<std::mutex> guard(capture().lock);
    return capture().lines;
}

void LogCapture::MirrorToStderr()
{
    const std::lock_guard<std::mutex> guard(capture().lock);
    capture().mirrored = true;
}

::testing::AssertionResult logged(int level, const std::string& message)
{
    return anyLine(
        [&](const LogLine& line) { return line.level() == level && line.message() == message; },
        message, level);
}

::testing::AssertionResult loggedFrom(int level, const std::string& function,
                                      const std::string& message)
{
    return anyLine(
        [&](const LogLine& line) {
            return line.level() == level && line.function() == function &&
                   line.message() == message;
        },
        function + ": " + message, level);
}

::testing::AssertionResult loggedAnywhere(const std::string& message)
{
    return anyLine([&](const LogLine& line) { return line.message() == message; }, message, -1);
}

int countLogged(int level, const std::string& function, const std::string& message)
{
    const std::vector<LogLine> lines = LogCapture::Lines();
    return static_cast<int>(std::count_if(lines.begin(), lines.end(), [&](const LogLine& line) {
        return line.level() == level && line.function() == function && line.message() == message;
    }));
}

std::vector<std::string> messagesAtLevel(int level)
{
    std::vector<std::string> messages;
    for (const LogLine& line : LogCapture::Lines()) {
        if (line.level() == level) {
            messages.push_back(line.message());
        }
    }
    return messages;
}

std::string abortLines(const std::string& condition, const std::string& before)
{
    return (before.empty() ? "" : "1|" + before + "\n") + "1|Assertion '" + condition +
           "' failed\n";
}

} // namespace support

extern "C" int vexoprintf(int severity, int module, const char* text)
{
    support::Capture& capture = support::capture();
    const std::lock_guard<std::mutex> guard(capture.lock);
    capture.lines.push_back({severity, module, text});
    if (capture.mirrored) {
        const support::LogLine& line = capture.lines.back();
        (void)std::fprintf(stderr, "%d|%s\n", line.level(), line.message().c_str());
    }
    return 1;
}

#ifndef LOG_CAPTURE_WITHOUT_THRESHOLD
extern "C" int vexoThreshold(void)
{
    return support::capture().threshold;
}
#endif
