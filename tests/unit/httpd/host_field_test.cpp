// Hosts as requests name them.
#include <gtest/gtest.h>
#include <httpd/host_field.h>

namespace {

struct GoodHost
{
    const char* value;
    const char* host;
    const char* port;
};

class HostFieldValue : public testing::TestWithParam<GoodHost>
{};

TEST_P(HostFieldValue, IsTakenApart)
{
    const auto field = httpd::parseHostField(GetParam().value);
    ASSERT_TRUE(field.has_value());
    EXPECT_EQ(field->host, GetParam().host);
    EXPECT_EQ(field->port, GetParam().port);
}

INSTANTIATE_TEST_SUITE_P(
    , HostFieldValue,
    testing::Values(GoodHost{"h", "h", ""}, GoodHost{"localhost:8000", "localhost", "8000"},
                    GoodHost{"127.0.0.1:80", "127.0.0.1", "80"}, GoodHost{"h:", "h", ""},
                    GoodHost{"[::1]", "[::1]", ""}, GoodHost{"[fe80::1]:8", "[fe80::1]", "8"},
                    GoodHost{"[v1.a:b]", "[v1.a:b]", ""}, GoodHost{"a_b-c.d~e", "a_b-c.d~e", ""},
                    GoodHost{"a%20b", "a%20b", ""}, GoodHost{"", "", ""}));

class NoHostField : public testing::TestWithParam<const char*>
{};

TEST_P(NoHostField, IsRefused)
{
    EXPECT_FALSE(httpd::parseHostField(GetParam()).has_value());
}

INSTANTIATE_TEST_SUITE_P(, NoHostField,
                         testing::Values("a b", "a/b", "user@h", "h:80x", "h:-1", ":80", "::1",
                                         "[::1", "[::1]x", "[]", "[1.2.3.4]", "[fe80::1%25eth0]",
                                         "[v.a]", "[v1.]", "[x1.a]", "a%2", "a%zz", "a,b c", "h?",
                                         "h#", "\"h\"", "h\x80", "a\tb", "[::1]:8:9"));

} // namespace
