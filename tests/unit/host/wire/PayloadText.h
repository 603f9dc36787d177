// Payloads of frames as a peer could have made them, honest or not.
#ifndef PAYLOAD_TEXT_H_
#define PAYLOAD_TEXT_H_

#include "wire/frame.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

inline std::string_view payloadOf(const std::string& frame)
{
    return std::string_view(frame).substr(host::kFrameHeaderBytes);
}

inline uint32_t lengthOf(const std::string& frame)
{
    uint32_t bytes = 0;
    EXPECT_TRUE(host::decodeLength(frame.data(), bytes));
    return bytes;
}

inline std::string number(uint32_t value)
{
    std::string text(sizeof value, '\0');
    std::memcpy(text.data(), &value, sizeof value);
    return text;
}

inline std::string field(const std::string& text)
{
    return number(static_cast<uint32_t>(text.size())) + text;
}

#endif
