// The lines of the access log.
#include "front/access_log.h"

#include <gtest/gtest.h>

#include <chrono>
#include <ctime>
#include <string>

namespace {

using std::chrono::microseconds;

// 22 November 2026, 08:40:35 UTC.
constexpr time_t kTime = 1795336835;

httpd::Exchange exchange()
{
    httpd::Exchange exchange;
    exchange.client = "127.0.0.1";
    exchange.method = "GET";
    exchange.target = "/redfish/v1/Vexo?$top=1";
    exchange.status = 200;
    exchange.bodyBytes = 412;
    exchange.duration = microseconds(2117);
    return exchange;
}

TEST(AccessLine, HasClientTimeRequestStatusBytesAndSeconds)
{
    EXPECT_EQ(host::accessLine(exchange(), kTime),
              "127.0.0.1 - - [22/Nov/2026:08:40:35 +0000] "
              "\"GET /redfish/v1/Vexo?$top=1 HTTP/1.1\" 200 412 0.002117\n");
}

TEST(AccessLine, SaysWhichHttpItWas)
{
    httpd::Exchange old = exchange();
    old.isHttp10 = true;
    EXPECT_NE(host::accessLine(old, kTime).find(" HTTP/1.0\" 200"), std::string::npos);
}

TEST(AccessLine, WhatCouldNotBeReadIsADash)
{
    httpd::Exchange unreadable = exchange();
    unreadable.method.clear();
    unreadable.status = 400;
    EXPECT_NE(host::accessLine(unreadable, kTime).find("] \"-\" 400 "), std::string::npos);
}

TEST(AccessLine, NothingThatIsSentEndsTheLineOrATextInIt)
{
    httpd::Exchange hostile = exchange();
    hostile.method = "G\"ET";
    hostile.target = "/a\"b\\c\n\xc3\xa9";
    EXPECT_NE(host::accessLine(hostile, kTime)
                  .find("\"G\\x22ET /a\\x22b\\x5cc\\x0a\\xc3\\xa9 HTTP/1.1\""),
              std::string::npos);
}

TEST(AccessLine, LongTextsAreCut)
{
    httpd::Exchange lengthy = exchange();
    lengthy.method = std::string(10'000, 'M');
    lengthy.target = std::string(10'000, '\x01');
    const std::string line = host::accessLine(lengthy, kTime);
    EXPECT_LT(line.size(), 4096U); // which a pipe takes as a whole
    EXPECT_NE(line.find("M... \\x01"), std::string::npos);
    EXPECT_NE(line.find("... HTTP/1.1\" 200 412 "), std::string::npos);
}

TEST(AccessLine, LongDurationsHaveSeconds)
{
    httpd::Exchange slow = exchange();
    slow.duration = std::chrono::seconds(3600);
    EXPECT_TRUE(host::accessLine(slow, kTime).ends_with(" 412 3600.000000\n"));
}

TEST(AccessLine, RequestsOfTheMessageQueueHaveTheirsWithoutAClient)
{
    EXPECT_EQ(host::accessLine({"OEM DriveOem Disk.Bay.0", 503, 91, {}}, microseconds(1930), kTime),
              "- - - [22/Nov/2026:08:40:35 +0000] \"OEM DriveOem Disk.Bay.0\" 503 91 0.001930\n");
    EXPECT_NE(host::accessLine({"", 400, 91, {}}, microseconds(1), kTime).find("] \"-\" 400 91 "),
              std::string::npos);
    EXPECT_LT(
        host::accessLine({std::string(60'000, '"'), 404, 91, {}}, microseconds(1), kTime).size(),
        4096U);
}

} // namespace
