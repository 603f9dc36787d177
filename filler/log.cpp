#include "log.h"

#include <vexodlog.h>

#include <cstdio>

namespace filler {

namespace {

constexpr int kInfoLevel = 1;
constexpr int kDetailLevel = 3;

int& level()
{
    static int value = kInfoLevel;
    return value;
}

void put(int severity, const std::string& text)
{
    (void)vexoPutTextAs(severity, ("cimgate-cached: " + text).c_str());
}

} // namespace

void startLog(int newLevel)
{
    level() = newLevel;
    vexoSetThreshold(newLevel + 1); // for the client library's own lines
    vexoSetStamp(VEXO_STAMP_AUTO);
}

void logError(const std::string& text)
{
    put(VEXO_ERROR, text);
}

void logInfo(const std::string& text)
{
    if (level() >= kInfoLevel) {
        put(VEXO_TRACE, text);
    }
}

void logDetail(const std::string& text)
{
    if (level() >= kDetailLevel) {
        put(VEXO_TRACE, text);
    }
}

void showProgress(const std::string& text)
{
    if (vexoAwaitRoom(0) == 1) {
        (void)std::fputs(text.c_str(), stderr);
    }
}

} // namespace filler
