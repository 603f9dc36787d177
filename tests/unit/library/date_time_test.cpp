// Date-times of the data cache: microseconds since the epoch, written in the local time zone.
#include "SQLInterface.h"

#include <gtest/gtest.h>
#include <json/json.h>
#include <stdlib.h>
#include <time.h>

#include <string>

namespace {

// Sets the process's time zone for one test.
class TimeZone
{
public:
    explicit TimeZone(const char* name)
    {
        const char* former = getenv("TZ"); // NOLINT(concurrency-mt-unsafe): tests have one thread
        mWasSet = former != nullptr;
        mFormer = mWasSet ? former : "";
        setenv("TZ", name, 1); // NOLINT(concurrency-mt-unsafe)
        tzset();
    }
    ~TimeZone()
    {
        if (mWasSet) {
            setenv("TZ", mFormer.c_str(), 1); // NOLINT(concurrency-mt-unsafe)
        } else {
            unsetenv("TZ"); // NOLINT(concurrency-mt-unsafe)
        }
        tzset();
    }
    TimeZone(const TimeZone&) = delete;
    TimeZone& operator=(const TimeZone&) = delete;

private:
    bool mWasSet;
    std::string mFormer;
};

std::string dateTime(const std::string& microseconds, const std::string& type = "datetime")
{
    Json::Value entry;
    entry["mappings"]["C"]["properties"]["P"]["cim_type"] = type;
    Json::Value out;
    SQLInterface().PopulateSQLIntegerValues("P", entry, "C", microseconds, out);
    return out["P"].asString();
}

TEST(DateTime, IsWrittenToTheSecondInTheLocalZone)
{
    {
        const TimeZone zone("UTC0");
        EXPECT_EQ(dateTime("1700000000123456"), "2023-11-14T22:13:20+0000");
        EXPECT_EQ(dateTime("1700000000999999"), "2023-11-14T22:13:20+0000");
    }
    {
        const TimeZone zone("EST5EDT,M3.2.0,M11.1.0");
        EXPECT_EQ(dateTime("1700000000123456"), "2023-11-14T17:13:20-0500");
        EXPECT_EQ(dateTime("1690000000000000"), "2023-07-22T00:26:40-0400");
    }
    {
        const TimeZone zone("<+0530>-5:30");
        EXPECT_EQ(dateTime("1700000000123456"), "2023-11-15T03:43:20+0530");
    }
}

TEST(DateTime, ZeroIsTheEpoch)
{
    const TimeZone zone("UTC0");
    EXPECT_EQ(dateTime("0"), "1970-01-01T00:00:00+0000");
}

TEST(DateTime, TypeIsMatchedInAnyCase)
{
    const TimeZone zone("UTC0");
    EXPECT_EQ(dateTime("0", "DateTime"), "1970-01-01T00:00:00+0000");
    EXPECT_EQ(dateTime("0", "DATETIME"), "1970-01-01T00:00:00+0000");
}

TEST(DateTime, TimesBeforeTheEpochCountBackwards)
{
    const TimeZone zone("UTC0");
    EXPECT_EQ(dateTime("-1000000"), "1969-12-31T23:59:59+0000");
}

} // namespace
