#include "Owner.h"

#include <gtest/gtest.h>

#include <utility>

namespace {

CMPIUint64 micros(const char* text)
{
    const auto time = own(native_new_CMPIDateTime_fromChars(text, nullptr));
    return CMGetBinaryFormat(time.get(), nullptr);
}

std::string textOfBinary(CMPIUint64 usec, bool interval)
{
    const auto time = own(native_new_CMPIDateTime_fromBinary(usec, interval ? 1 : 0, nullptr));
    return taken(CMGetStringFormat(time.get(), nullptr));
}

TEST(DateTime, KeepsItsTextAsGiven)
{
    for (const char* text :
         {"20260102030405.123456+060", "20260102******.******-300", "00000012030405.000000:000"}) {
        Status status;
        const auto time = own(native_new_CMPIDateTime_fromChars(text, status.out()));
        ASSERT_NE(time, nullptr);
        EXPECT_EQ(status.code(), CMPI_RC_OK);
        EXPECT_EQ(taken(CMGetStringFormat(time.get(), nullptr)), text);
        const auto clone = own(CMClone(time.get(), nullptr));
        EXPECT_EQ(taken(CMGetStringFormat(clone.get(), nullptr)), text);
    }
}

TEST(DateTime, HonoursTheOffsetFromUtc)
{
    EXPECT_EQ(micros("19700101000000.000000+000"), 0U);
    EXPECT_EQ(micros("19700101120000.000001+060"), 11ULL * 3600 * 1000000 + 1);
    EXPECT_EQ(micros("19700101120000.000000-090"), (13ULL * 3600 + 1800) * 1000000);
    EXPECT_EQ(micros("20240229000000.000000+000"), 1709164800ULL * 1000000);
}

// Around the end of a time_t of 32 bits, at the end of what can be written, and before 1970.
TEST(DateTime, GoesUntilTheYear9999)
{
    const std::pair<CMPIUint64, const char*> points[] = {
        {2147483647ULL * 1000000, "20380119031407.000000+000"},
        {2147483648ULL * 1000000, "20380119031408.000000+000"},
        {253402300799999999ULL, "99991231235959.999999+000"}};
    for (const auto& [usec, text] : points) {
        EXPECT_EQ(micros(text), usec) << text;
        EXPECT_EQ(textOfBinary(usec, false), text);
    }
    EXPECT_EQ(micros("19691231235959.000000+000"), ~CMPIUint64{0} - 999999);
}

TEST(DateTime, CountsIntervalsInMicroseconds)
{
    const auto time = own(native_new_CMPIDateTime_fromChars("00000001020304.000005:000", nullptr));
    EXPECT_EQ(CMIsInterval(time.get(), nullptr), 1);
    EXPECT_EQ(CMGetBinaryFormat(time.get(), nullptr),
              (86400ULL + 2ULL * 3600 + 3ULL * 60 + 4) * 1000000 + 5);
}

TEST(DateTime, IsMadeFromMicroseconds)
{
    EXPECT_EQ(textOfBinary(0, false), "19700101000000.000000+000");
    EXPECT_EQ(textOfBinary(1709164800ULL * 1000000 + 7, false), "20240229000000.000007+000");
    EXPECT_EQ(textOfBinary((86400ULL * 12 + 61) * 1000000, true), "00000012000101.000000:000");
    Status status;
    EXPECT_EQ(native_new_CMPIDateTime_fromBinary(~0ULL, 0, status.out()), nullptr);
    EXPECT_EQ(status.code(), CMPI_RC_ERR_INVALID_PARAMETER);
}

TEST(DateTime, NowIsAPointInUtc)
{
    Status status;
    const auto now = own(native_new_CMPIDateTime(status.out()));
    EXPECT_EQ(CMIsInterval(now.get(), nullptr), 0);
    EXPECT_EQ(taken(CMGetStringFormat(now.get(), nullptr)).substr(21), "+000");
    EXPECT_GT(CMGetBinaryFormat(now.get(), nullptr), micros("20240101000000.000000+000"));
}

TEST(DateTime, RefusesOtherText)
{
    for (const char* text :
         {"", "20260102", "20260102030405.123456*060", "2026010203040x.123456+060",
          "20260102030405,123456+060", "20260102030405.123456+0600"}) {
        Status status;
        EXPECT_EQ(native_new_CMPIDateTime_fromChars(text, status.out()), nullptr) << text;
        EXPECT_EQ(status.code(), CMPI_RC_ERR_INVALID_PARAMETER);
    }
    EXPECT_EQ(native_new_CMPIDateTime_fromChars(nullptr, nullptr), nullptr);
}

} // namespace
