#include "date_time.h"

#include "tables.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstring>

namespace cmpisfcc {

namespace {

using Days = std::chrono::days;

constexpr std::size_t kLength = 25;
constexpr std::size_t kPointAt = 14;
constexpr std::size_t kSignAt = 21;
constexpr CMPIUint64 kMicrosPerSecond = 1'000'000;
constexpr CMPIUint64 kSecondsPerMinute = 60;
constexpr CMPIUint64 kSecondsPerHour = 3'600;
constexpr CMPIUint64 kSecondsPerDay = 86'400;
constexpr CMPIUint64 kLargestIntervalDays = 99'999'999;
// 9999-12-31
constexpr CMPIUint64 kLargestPointDays = 2'932'896;

const DateTimeObject& self(const CMPIDateTime* dateTime)
{
    return *static_cast<const DateTimeObject*>(dateTime);
}

// A field of the text; asterisks, for digits that are not significant, count as the least value.
CMPIUint64 field(const char* text, std::size_t at, std::size_t length, CMPIUint64 least = 0)
{
    CMPIUint64 number = 0;
    for (std::size_t i = at; i < at + length; ++i) {
        number = number * 10 + (text[i] == '*' ? 0U : static_cast<unsigned>(text[i] - '0'));
    }
    return std::max(number, least);
}

CMPIUint64 microsOfDay(const char* text)
{
    const CMPIUint64 seconds = field(text, 8, 2) * kSecondsPerHour +
                               field(text, 10, 2) * kSecondsPerMinute + field(text, 12, 2);
    return seconds * kMicrosPerSecond + field(text, 15, 6);
}

CMPIUint64 microsOfPoint(const char* text)
{
    const std::chrono::year_month_day date(
        std::chrono::year(static_cast<int>(field(text, 0, 4))),
        std::chrono::month(static_cast<unsigned>(field(text, 4, 2, 1))),
        std::chrono::day(static_cast<unsigned>(field(text, 6, 2, 1))));
    const auto days =
        static_cast<CMPIUint64>(std::chrono::sys_days(date).time_since_epoch().count());
    const CMPIUint64 offset = field(text, 22, 3) * kSecondsPerMinute * kMicrosPerSecond;
    // Unsigned arithmetic: a time before 1970 comes out as the two's complement.
    const CMPIUint64 local = days * kSecondsPerDay * kMicrosPerSecond + microsOfDay(text);
    return text[kSignAt] == '+' ? local - offset : local + offset;
}

bool isInterval(const char* text)
{
    return text[kSignAt] == ':';
}

CMPIUint64 getBinaryFormat(CMPIDateTime* dateTime, CMPIStatus* rc)
{
    succeed(rc);
    const char* text = self(dateTime).text;
    return isInterval(text)
               ? field(text, 0, 8) * kSecondsPerDay * kMicrosPerSecond + microsOfDay(text)
               : microsOfPoint(text);
}

CMPIString* getStringFormat(CMPIDateTime* dateTime, CMPIStatus* rc)
{
    succeed(rc);
    return newString(self(dateTime).text);
}

CMPIBoolean getIsInterval(CMPIDateTime* dateTime, CMPIStatus* rc)
{
    succeed(rc);
    return isInterval(self(dateTime).text) ? 1 : 0;
}

CMPIDateTime* refuse(CMPIStatus* rc, const char* message)
{
    fail(rc, CMPI_RC_ERR_INVALID_PARAMETER, message);
    return nullptr;
}

CMPIDateTime* makeFromChars(const char* text, CMPIStatus* rc)
{
    if (text == nullptr || !isDateTime(text)) {
        return refuse(rc, "A date-time has 25 characters, yyyymmddhhmmss.mmmmmmsutc or "
                          "ddddddddhhmmss.mmmmmm:000");
    }
    succeed(rc);
    return makeDateTime(text, nullptr);
}

// Eight digits: a number of days, or a date.
unsigned dateDigits(CMPIUint64 days, bool interval)
{
    if (interval) {
        return static_cast<unsigned>(days);
    }
    const std::chrono::year_month_day date(
        std::chrono::sys_days(Days(static_cast<Days::rep>(days))));
    return static_cast<unsigned>(static_cast<int>(date.year())) * 10'000 +
           static_cast<unsigned>(date.month()) * 100 + static_cast<unsigned>(date.day());
}

CMPIDateTime* makeFromBinary(CMPIUint64 micros, CMPIBoolean interval, CMPIStatus* rc)
{
    const CMPIUint64 seconds = micros / kMicrosPerSecond;
    const CMPIUint64 days = seconds / kSecondsPerDay;
    if (days > (interval != 0 ? kLargestIntervalDays : kLargestPointDays)) {
        return refuse(rc, "The time is too far away for a date-time");
    }
    std::array<char, 64> text = {};
    (void)std::snprintf(
        text.data(), text.size(), "%08u%02u%02u%02u.%06u%s", dateDigits(days, interval != 0),
        static_cast<unsigned>(seconds / kSecondsPerHour % 24),
        static_cast<unsigned>(seconds / kSecondsPerMinute % 60),
        static_cast<unsigned>(seconds % 60), static_cast<unsigned>(micros % kMicrosPerSecond),
        interval != 0 ? ":000" : "+000");
    succeed(rc);
    return makeDateTime(text.data(), nullptr);
}

CMPIDateTime* makeNow(CMPIStatus* rc)
{
    const auto now = std::chrono::duration_cast<std::chrono::microseconds>(
        std::chrono::system_clock::now().time_since_epoch());
    return makeFromBinary(static_cast<CMPIUint64>(now.count()), 0, rc);
}

bool isDigitOrAsterisk(char c)
{
    return (c >= '0' && c <= '9') || c == '*';
}

} // namespace

bool isDateTime(std::string_view text)
{
    if (text.size() != kLength || text[kPointAt] != '.' ||
        std::string_view("+-:").find(text[kSignAt]) == std::string_view::npos) {
        return false;
    }
    for (std::size_t i = 0; i < kLength; ++i) {
        if (i != kPointAt && i != kSignAt && !isDigitOrAsterisk(text[i])) {
            return false;
        }
    }
    return true;
}

DateTimeObject* makeDateTime(std::string_view text, Arena* arena)
{
    auto* dateTime = makeObject<DateTimeObject>(arena);
    text.copy(dateTime->text, kLength);
    return dateTime;
}

DateTimeObject* copyDateTime(const CMPIDateTime* dateTime, Arena* arena)
{
    return makeDateTime(self(dateTime).text, arena);
}

constexpr CMPIDateTimeFT DateTimeObject::kTable = {
    NATIVE_FT_VERSION,
    releaseObject<DateTimeObject>,
    Guarded<cloned<CMPIDateTime, copyDateTime>>::call,
    Guarded<getBinaryFormat>::call,
    Guarded<getStringFormat>::call,
    Guarded<getIsInterval>::call,
};

} // namespace cmpisfcc

extern "C" CMPIDateTime* native_new_CMPIDateTime(CMPIStatus* rc)
{
    return cmpisfcc::Guarded<cmpisfcc::makeNow>::call(rc);
}

extern "C" CMPIDateTime* native_new_CMPIDateTime_fromBinary(CMPIUint64 usec, CMPIBoolean interval,
                                                            CMPIStatus* rc)
{
    return cmpisfcc::Guarded<cmpisfcc::makeFromBinary>::call(usec, interval, rc);
}

extern "C" CMPIDateTime* native_new_CMPIDateTime_fromChars(const char* text, CMPIStatus* rc)
{
    return cmpisfcc::Guarded<cmpisfcc::makeFromChars>::call(text, rc);
}
