#include <cimxml/types.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <ostream>
#include <string>
#include <vector>

namespace {

using cimxml::Type;

struct TextCase
{
    Type type;
    const char* text;
};

void PrintTo(const TextCase& one, std::ostream* out)
{
    *out << cimxml::typeName(one.type) << " '" << one.text << '\'';
}

template <class Kind>
Kind parsed(Type type, const char* text)
{
    const auto scalar = cimxml::parseScalar(type, text);
    EXPECT_TRUE(scalar.has_value()) << text;
    return scalar ? std::get<Kind>(*scalar) : Kind();
}

TEST(ParseScalar, reads_booleans_in_any_case)
{
    EXPECT_TRUE(parsed<bool>(Type::Boolean, "TRUE"));
    EXPECT_TRUE(parsed<bool>(Type::Boolean, " true\n"));
    EXPECT_FALSE(parsed<bool>(Type::Boolean, "False"));
}

TEST(ParseScalar, reads_unsigned_integers_up_to_their_width)
{
    EXPECT_EQ(parsed<std::uint64_t>(Type::Uint8, "255"), 255U);
    EXPECT_EQ(parsed<std::uint64_t>(Type::Uint16, "+65535"), 65535U);
    EXPECT_EQ(parsed<std::uint64_t>(Type::Uint32, "4294967295"), 4294967295U);
    EXPECT_EQ(parsed<std::uint64_t>(Type::Uint64, "18446744073709551615"),
              std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(parsed<std::uint64_t>(Type::Uint8, "-0"), 0U);
    EXPECT_EQ(parsed<std::uint64_t>(Type::Uint8, " 007 "), 7U);
}

TEST(ParseScalar, reads_signed_integers_from_the_smallest_to_the_largest)
{
    EXPECT_EQ(parsed<std::int64_t>(Type::Sint8, "-128"), -128);
    EXPECT_EQ(parsed<std::int64_t>(Type::Sint8, "127"), 127);
    EXPECT_EQ(parsed<std::int64_t>(Type::Sint16, "-32768"), -32768);
    EXPECT_EQ(parsed<std::int64_t>(Type::Sint32, "+2147483647"), 2147483647);
    EXPECT_EQ(parsed<std::int64_t>(Type::Sint64, "-9223372036854775808"),
              std::numeric_limits<std::int64_t>::min());
}

TEST(ParseScalar, reads_hexadecimal_and_binary_integers)
{
    EXPECT_EQ(parsed<std::uint64_t>(Type::Uint16, "0xBEEF"), 0xBEEFU);
    EXPECT_EQ(parsed<std::int64_t>(Type::Sint8, "-0X80"), -128);
    EXPECT_EQ(parsed<std::uint64_t>(Type::Uint8, "101b"), 5U);
    EXPECT_EQ(parsed<std::int64_t>(Type::Sint8, "-11B"), -3);
    EXPECT_EQ(parsed<std::uint64_t>(Type::Uint16, "0x1b"), 0x1bU);
}

TEST(ParseScalar, reads_reals)
{
    EXPECT_EQ(parsed<double>(Type::Real64, "-1.5e3"), -1500.0);
    EXPECT_EQ(parsed<double>(Type::Real64, "+.5"), 0.5);
    EXPECT_EQ(parsed<double>(Type::Real64, "7"), 7.0);
    EXPECT_EQ(parsed<double>(Type::Real32, "0.1"), static_cast<double>(0.1F));
    EXPECT_EQ(parsed<double>(Type::Real32, "-inf"), -std::numeric_limits<double>::infinity());
    EXPECT_EQ(parsed<double>(Type::Real64, "+INF"), std::numeric_limits<double>::infinity());
    EXPECT_TRUE(std::isnan(parsed<double>(Type::Real64, "nan")));
}

TEST(ParseScalar, takes_strings_and_characters_as_they_are)
{
    EXPECT_EQ(parsed<std::string>(Type::String, "  a\n"), "  a\n");
    EXPECT_EQ(parsed<std::string>(Type::String, ""), "");
    EXPECT_EQ(parsed<std::string>(Type::Char16, " "), " ");
    EXPECT_EQ(parsed<std::string>(Type::Char16, "\xE2\x82\xAC"), "\xE2\x82\xAC");
}

class NoScalar : public testing::TestWithParam<TextCase>
{};

TEST_P(NoScalar, is_refused)
{
    EXPECT_FALSE(cimxml::parseScalar(GetParam().type, GetParam().text).has_value());
}

const TextCase kNoScalars[] = {
    {Type::Boolean, ""},
    {Type::Boolean, "1"},
    {Type::Boolean, "yes"},
    {Type::Uint8, "256"},
    {Type::Uint8, "-1"},
    {Type::Uint8, "0x100"},
    {Type::Uint8, "100000000b"},
    {Type::Uint16, "65536"},
    {Type::Uint32, "4294967296"},
    {Type::Uint64, "18446744073709551616"},
    {Type::Uint64, ""},
    {Type::Uint64, "0x"},
    {Type::Uint64, "b"},
    {Type::Uint64, "12b"},
    {Type::Uint64, "1 2"},
    {Type::Uint64, "1.0"},
    {Type::Uint64, "+-1"},
    {Type::Uint64, "0x-1"},
    {Type::Sint8, "128"},
    {Type::Sint8, "-129"},
    {Type::Sint16, "32768"},
    {Type::Sint32, "-2147483649"},
    {Type::Sint64, "9223372036854775808"},
    {Type::Sint64, "-9223372036854775809"},
    {Type::Real32, "3.5e38"},
    {Type::Real64, "1e400"},
    {Type::Real64, ""},
    {Type::Real64, "nan(1)"},
    {Type::Real64, "infinity"},
    {Type::Real64, "--1"},
    {Type::Real64, "1,5"},
    {Type::Char16, ""},
    {Type::Char16, "ab"},
    {Type::Char16, "\xF0\x9F\x98\x80"},
    {Type::Char16, "\xC0\x80"},
    {Type::DateTime, ""},
    {Type::Reference, "A.b=1"},
};

INSTANTIATE_TEST_SUITE_P(Texts, NoScalar, testing::ValuesIn(kNoScalars));

TEST(DateTime, is_a_point_in_time_or_an_interval)
{
    for (const char* text :
         {"20240229235959.123456+060", "20240101000000.000000-720", "99999999235959.999999:000",
          "00000000000000.000000:000", "2024**********.******+000", "20240229235959.123***+000",
          "00000001******.******:000", "**************.******+000"}) {
        EXPECT_TRUE(cimxml::isDateTime(text)) << text;
    }
}

TEST(DateTime, has_fields_in_range_and_asterisks_only_at_its_end)
{
    for (const char* text :
         {"20241301000000.000000+000", "20240100000000.000000+000", "20240101240000.000000+000",
          "20240101006000.000000+000", "20240101000060.000000+000", "20240101000000,000000+000",
          "20240101000000.000000*000", "20240101000000.000000:001", "2024010100000.000000+0000",
          "20240101000000.000000+00x", "20240101000000.000000+00", "2024**01000000.000000+000",
          "202*01**000000.000000+000", "202***********.******+000", "0000000*******.******:000",
          "2024-01-01T00:00:00Z     "}) {
        EXPECT_FALSE(cimxml::isDateTime(text)) << text;
    }
}

TEST(ScalarText, is_what_reads_back_as_the_same)
{
    EXPECT_EQ(cimxml::scalarText(Type::Boolean, true), "TRUE");
    EXPECT_EQ(cimxml::scalarText(Type::Boolean, false), "FALSE");
    EXPECT_EQ(cimxml::scalarText(Type::Uint64, std::numeric_limits<std::uint64_t>::max()),
              "18446744073709551615");
    EXPECT_EQ(cimxml::scalarText(Type::Sint64, std::numeric_limits<std::int64_t>::min()),
              "-9223372036854775808");
    EXPECT_EQ(cimxml::scalarText(Type::String, std::string("a<b")), "a<b");
    EXPECT_EQ(cimxml::scalarText(Type::String, std::monostate()), "");
}

TEST(ScalarText, writes_reals_as_short_as_their_width_allows)
{
    EXPECT_EQ(cimxml::scalarText(Type::Real64, 0.1), "0.1");
    EXPECT_EQ(cimxml::scalarText(Type::Real32, static_cast<double>(0.1F)), "0.1");
    EXPECT_EQ(cimxml::scalarText(Type::Real64, 5.0), "5.0");
    EXPECT_EQ(cimxml::scalarText(Type::Real64, 1e300), "1.0e+300");
    EXPECT_EQ(cimxml::scalarText(Type::Real64, -std::numeric_limits<double>::infinity()), "-INF");
    EXPECT_EQ(cimxml::scalarText(Type::Real32, 1e300), "INF");
    EXPECT_EQ(cimxml::scalarText(Type::Real64, std::nan("")), "NaN");
}

TEST(ScalarText, reads_back_at_the_edges_of_reals)
{
    for (const double real :
         {std::numeric_limits<double>::max(), std::numeric_limits<double>::min(),
          std::numeric_limits<double>::denorm_min(), -0.0, 1.0 / 3.0}) {
        const std::string text = cimxml::scalarText(Type::Real64, real);
        EXPECT_EQ(parsed<double>(Type::Real64, text.c_str()), real) << text;
    }
    for (const float real :
         {std::numeric_limits<float>::max(), std::numeric_limits<float>::denorm_min()}) {
        const auto wide = static_cast<double>(real);
        const std::string text = cimxml::scalarText(Type::Real32, wide);
        EXPECT_EQ(parsed<double>(Type::Real32, text.c_str()), wide) << text;
    }
}

} // namespace
