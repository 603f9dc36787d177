// URIs that are made of data.
#include "worker/escaped_uri.h"

#include <gtest/gtest.h>

namespace {

TEST(EscapedUri, WhatAUriCanHaveStays)
{
    const std::string uri = "/redfish/v1/Jobs/JID_1-._~:/?#[]@!$&'()*+,;=azAZ09";
    EXPECT_EQ(host::escapedUri(uri), uri);
}

TEST(EscapedUri, OtherBytesAreEscaped)
{
    EXPECT_EQ(host::escapedUri("a b\"c<d>\\^`{|}"), "a%20b%22c%3Cd%3E%5C%5E%60%7B%7C%7D");
    EXPECT_EQ(host::escapedUri("\xc3\xa4\t\x01\x7f"), "%C3%A4%09%01%7F");
}

TEST(EscapedUri, WhatIsEscapedAlreadyStaysAndALonePercentSignIsEscaped)
{
    EXPECT_EQ(host::escapedUri("%20%aF%fa"), "%20%aF%fa");
    EXPECT_EQ(host::escapedUri("%"), "%25");
    EXPECT_EQ(host::escapedUri("%2"), "%252");
    EXPECT_EQ(host::escapedUri("%2g%zz%%41"), "%252g%25zz%25%41");
}

} // namespace
