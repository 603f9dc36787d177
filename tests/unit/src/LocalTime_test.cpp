// Date-times of the data cache: microseconds since the epoch, written in the local time zone.
#include "LocalTime.h"
#include "SQLInterface.h"
#include "TimeZone.h"

#include <gtest/gtest.h>
#include <json/json.h>

#include <cstdint>
#include <ostream>
#include <string>

namespace {

using support::TimeZone;

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

TEST(DateTime, SummerTimeGoesOnAfter2038)
{
    const TimeZone zone("EST5EDT,M3.2.0,M11.1.0");
    EXPECT_EQ(dateTime("4118126400000000"), "2100-07-01T08:00:00-0400");
}

// Times that a time_t of 32 bits cannot hold, and their neighbours that it can.
struct FarDate
{
    int64_t seconds;
    const char* text;
};

void PrintTo(const FarDate& date, std::ostream* stream)
{
    *stream << date.text;
}

class FarDateTime : public testing::TestWithParam<FarDate>
{
    const TimeZone mZone{"UTC0"};
};

TEST_P(FarDateTime, OfACellIsShown)
{
    EXPECT_EQ(dateTime(std::to_string(GetParam().seconds) + "000000"), GetParam().text);
}

TEST_P(FarDateTime, IsWrittenAsLocalTime)
{
    EXPECT_EQ(cimgate::localTimeText(static_cast<time_t>(GetParam().seconds)), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(, FarDateTime,
                         testing::Values(FarDate{2147483647, "2038-01-19T03:14:07+0000"},
                                         FarDate{2147483648, "2038-01-19T03:14:08+0000"},
                                         FarDate{4294967296, "2106-02-07T06:28:16+0000"},
                                         FarDate{253402300799, "9999-12-31T23:59:59+0000"},
                                         FarDate{-1, "1969-12-31T23:59:59+0000"},
                                         FarDate{-2147483648, "1901-12-13T20:45:52+0000"},
                                         FarDate{-2147483649, "1901-12-13T20:45:51+0000"},
                                         FarDate{-30610224000, "1000-01-01T00:00:00+0000"}));

} // namespace
