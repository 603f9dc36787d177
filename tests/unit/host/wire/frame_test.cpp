// Frames between the front and the processes that work for it, honest and hostile.
#include "host_limits.h"
#include "wire/PayloadText.h"
#include "wire/frame.h"

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals; // NOLINT(google-build-using-namespace): literals with NULs

TEST(Frame, ReadyIsItselfOnly)
{
    EXPECT_TRUE(host::isReady(payloadOf(host::encodeReady())));
    EXPECT_FALSE(host::isReady(""));
    EXPECT_FALSE(host::isReady(payloadOf(host::framed("ready "))));
    EXPECT_FALSE(host::isReady(payloadOf(host::encodeNumbered(1, "ready"))));
}

TEST(Frame, NumberedMessageMakesTheRoundTrip)
{
    for (const uint32_t sent : {0U, 1U, 0x80000000U, UINT32_MAX}) {
        for (const std::string& text : {""s, "{}"s, "bytes\0of\nall\xffkinds"s, "ready"s}) {
            const std::string frame = host::encodeNumbered(sent, text);
            EXPECT_EQ(lengthOf(frame), frame.size() - host::kFrameHeaderBytes);
            uint32_t got = sent + 1;
            std::string message = "old";
            ASSERT_TRUE(host::decodeNumbered(payloadOf(frame), got, message));
            EXPECT_EQ(got, sent);
            EXPECT_EQ(message, text);
            EXPECT_FALSE(host::isReady(payloadOf(frame)));
        }
    }
}

TEST(Frame, DamagedNumberedMessageIsRefused)
{
    uint32_t got = 0;
    std::string message;
    const std::string whole = number(7) + field("text");
    ASSERT_TRUE(host::decodeNumbered(whole, got, message));
    for (size_t bytes = 0; bytes < whole.size(); ++bytes) {
        EXPECT_FALSE(host::decodeNumbered(whole.substr(0, bytes), got, message)) << bytes;
    }
    EXPECT_FALSE(host::decodeNumbered(whole + "x", got, message));
    for (const uint32_t lie : {3U, 5U, 0x7fffffffU, 0x80000000U, UINT32_MAX}) {
        EXPECT_FALSE(host::decodeNumbered(number(7) + number(lie) + "text", got, message)) << lie;
    }
    EXPECT_FALSE(host::decodeNumbered(payloadOf(host::encodeReady()), got, message));
}

TEST(Frame, LengthIsLimited)
{
    uint32_t bytes = 0;
    EXPECT_TRUE(host::decodeLength(number(0).data(), bytes));
    EXPECT_TRUE(host::decodeLength(number(host::kMaxFrameBytes).data(), bytes));
    EXPECT_EQ(bytes, host::kMaxFrameBytes);
    EXPECT_FALSE(host::decodeLength(number(host::kMaxFrameBytes + 1).data(), bytes));
    EXPECT_FALSE(host::decodeLength(number(UINT32_MAX).data(), bytes));
}

} // namespace
