#include "printable.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(Printable, BytesThatAreNoPrintableAsciiAreEscaped)
{
    EXPECT_EQ(host::printable("/a?b=c%20~ "), "/a?b=c%20~ ");
    EXPECT_EQ(host::printable("a\"b\\c"), "a\\x22b\\x5cc");
    EXPECT_EQ(host::printable(std::string("\0\n\r\x1b\x7f\x80\xff", 7)),
              "\\x00\\x0a\\x0d\\x1b\\x7f\\x80\\xff");
}

} // namespace
