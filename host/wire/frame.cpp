#include "wire/frame.h"

#include "host_limits.h"
#include "wire/fields.h"

#include <cstring>

namespace host {

namespace {

constexpr std::string_view kReady = "ready";
constexpr std::string_view kPing = "ping";

} // namespace

std::string framed(std::string_view payload)
{
    std::string frame;
    frame.reserve(kFrameHeaderBytes + payload.size());
    putText(frame, payload);
    return frame;
}

bool decodeLength(const char* header, uint32_t& bytes)
{
    std::memcpy(&bytes, header, sizeof bytes);
    return bytes <= kMaxFrameBytes;
}

std::string encodeReady()
{
    return framed(kReady);
}

bool isReady(std::string_view payload)
{
    return payload == kReady;
}

std::string encodePing()
{
    return framed(kPing);
}

bool isPing(std::string_view payload)
{
    return payload == kPing;
}

std::string encodeNumbered(uint32_t number, std::string_view message)
{
    std::string payload;
    payload.reserve(2 * sizeof number + message.size());
    putNumber(payload, number);
    putText(payload, message);
    return framed(payload);
}

bool decodeNumbered(std::string_view payload, uint32_t& number, std::string& message)
{
    FieldReader reader(payload);
    return reader.number(number) && reader.text(message) && reader.atEnd();
}

} // namespace host
