#include "messages.h"

#include <gtest/gtest.h>
#include <service/file_descriptor.h>
#include <sys/socket.h>

namespace {

using filler::Greeting;
using filler::Order;
using filler::Report;

TEST(FillerMessages, ComeAsTheyWereSent)
{
    const auto order = filler::decodeOrder(filler::encode(Order{Order::Kind::Count, 7}));
    ASSERT_TRUE(order);
    EXPECT_EQ(order->kind, Order::Kind::Count);
    EXPECT_EQ(order->index, 7U);

    Report sent;
    sent.result = Report::Result::Unreachable;
    sent.error = "away \"now\"\n";
    sent.rows = int64_t{1} << 40;
    sent.changed = 12;
    sent.durationMs = 34;
    sent.losses = {"one", "two"};
    const auto report = filler::decodeReport(filler::encode(sent));
    ASSERT_TRUE(report);
    EXPECT_EQ(report->result, Report::Result::Unreachable);
    EXPECT_EQ(report->error, sent.error);
    EXPECT_EQ(report->rows, sent.rows);
    EXPECT_EQ(report->changed, sent.changed);
    EXPECT_EQ(report->durationMs, sent.durationMs);
    EXPECT_EQ(report->losses, sent.losses);

    const auto greeting = filler::decodeGreeting(
        filler::encode(Greeting{"no", {{5, true, false}, {0, false, true}}}));
    ASSERT_TRUE(greeting);
    EXPECT_EQ(greeting->problem, "no");
    ASSERT_EQ(greeting->classes.size(), 2U);
    EXPECT_EQ(greeting->classes[0].rows, 5);
    EXPECT_TRUE(greeting->classes[0].hasTable);
    EXPECT_FALSE(greeting->classes[0].isReady);
    EXPECT_FALSE(greeting->classes[1].hasTable);
    EXPECT_TRUE(greeting->classes[1].isReady);
}

TEST(FillerMessages, WhatIsNoneIsRefused)
{
    for (const char* const text : {"", "{", "[]", "7", "\"text\""}) {
        EXPECT_FALSE(filler::decodeOrder(text)) << text;
        EXPECT_FALSE(filler::decodeReport(text)) << text;
        EXPECT_FALSE(filler::decodeGreeting(text)) << text;
    }
    EXPECT_FALSE(filler::decodeReport(R"({"result": 4})"));
    EXPECT_FALSE(filler::decodeReport(R"({"result": -1})"));
}

TEST(FillerMessages, EndOfTheOtherIsNoticed)
{
    int ends[2] = {-1, -1};
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends), 0);
    const service::FileDescriptor here(ends[0]);
    service::FileDescriptor there(ends[1]);
    EXPECT_TRUE(filler::sendMessage(there.get(), "first"));
    EXPECT_TRUE(filler::sendMessage(there.get(), "second"));
    EXPECT_EQ(filler::receiveMessage(here.get()), "first");
    there.reset();
    EXPECT_EQ(filler::receiveMessage(here.get()), "second");
    EXPECT_EQ(filler::receiveMessage(here.get()), std::nullopt);
    EXPECT_FALSE(filler::sendMessage(here.get(), "nobody"));
}

} // namespace
