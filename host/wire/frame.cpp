#include "wire/frame.h"

#include "host_limits.h"

#include <algorithm>
#include <cstring>

namespace host {

namespace {

// No response begins like these: what stands for its status would be out of range.
constexpr std::string_view kReady = "ready";
constexpr std::string_view kNeedsCim = "needs CIM";
constexpr std::string_view kCacheReplaced = "cache replaced";

constexpr uint32_t kLowestStatus = 200;
constexpr uint32_t kHighestStatus = 599;

void putNumber(std::string& out, uint32_t value)
{
    char bytes[sizeof value];
    std::memcpy(bytes, &value, sizeof value);
    out.append(bytes, sizeof value);
}

void putText(std::string& out, std::string_view text)
{
    putNumber(out, static_cast<uint32_t>(text.size()));
    out.append(text);
}

// Takes fields off the front of a payload; after the first that is not there, all fail.
class FieldReader
{
public:
    explicit FieldReader(std::string_view payload) : mRest(payload) {}

    bool number(uint32_t& value)
    {
        if (mRest.size() < sizeof value) {
            return fail();
        }
        std::memcpy(&value, mRest.data(), sizeof value);
        mRest.remove_prefix(sizeof value);
        return true;
    }

    bool text(std::string& value)
    {
        uint32_t bytes = 0;
        if (!number(bytes) || mRest.size() < bytes) {
            return fail();
        }
        value = mRest.substr(0, bytes);
        mRest.remove_prefix(bytes);
        return true;
    }

    bool atEnd() const { return mRest.empty(); }

private:
    bool fail()
    {
        mRest = {};
        return false;
    }

    std::string_view mRest;
};

bool isHeaderName(const std::string& text)
{
    const auto isToken = [](char c) {
        return c > ' ' && c < '\x7f' && c != ':';
    };
    return !text.empty() && text.size() <= kMaxHeaderTextBytes &&
           std::all_of(text.begin(), text.end(), isToken);
}

bool isHeaderValue(const std::string& text)
{
    return text.size() <= kMaxHeaderTextBytes &&
           text.find_first_of(std::string_view("\r\n\0", 3)) == std::string::npos;
}

std::string framed(const std::string& payload)
{
    std::string frame;
    frame.reserve(kFrameHeaderBytes + payload.size());
    putText(frame, payload);
    return frame;
}

} // namespace

std::string encodeRequest(const WorkerRequest& request)
{
    std::string payload;
    putText(payload, request.target);
    putNumber(payload, request.mayReadLive ? 1 : 0);
    putNumber(payload, static_cast<uint32_t>(request.kind));
    putText(payload, request.body);
    return framed(payload);
}

std::string encodeResponse(const httpd::Response& response)
{
    std::string payload;
    putNumber(payload, response.status);
    putNumber(payload, static_cast<uint32_t>(response.headers.size()));
    for (const httpd::Header& header : response.headers) {
        putText(payload, header.name);
        putText(payload, header.value);
    }
    putText(payload, response.body);
    return framed(payload);
}

std::string encodeReady()
{
    return framed(std::string(kReady));
}

std::string encodeDeclined(Declined reason)
{
    return framed(std::string(reason == Declined::NeedsCim ? kNeedsCim : kCacheReplaced));
}

std::string encodeNumbered(uint32_t number, std::string_view message)
{
    std::string payload;
    payload.reserve(2 * sizeof number + message.size());
    putNumber(payload, number);
    putText(payload, message);
    return framed(payload);
}

bool decodeLength(const char* header, uint32_t& bytes)
{
    std::memcpy(&bytes, header, sizeof bytes);
    return bytes <= kMaxFrameBytes;
}

bool decodeRequest(std::string_view payload, WorkerRequest& request)
{
    FieldReader reader(payload);
    uint32_t mayReadLive = 0;
    uint32_t kind = 0;
    if (!reader.text(request.target) || !reader.number(mayReadLive) || !reader.number(kind) ||
        !reader.text(request.body) || !reader.atEnd() ||
        kind > static_cast<uint32_t>(RequestKind::OemData)) {
        return false;
    }
    request.mayReadLive = mayReadLive != 0;
    request.kind = static_cast<RequestKind>(kind);
    return true;
}

bool decodeResponse(std::string_view payload, httpd::Response& response)
{
    FieldReader reader(payload);
    uint32_t status = 0;
    uint32_t count = 0;
    if (!reader.number(status) || !reader.number(count) || status < kLowestStatus ||
        status > kHighestStatus || count > kMaxAnswerHeaders) {
        return false;
    }
    response.status = status;
    response.headers.assign(count, {});
    for (httpd::Header& header : response.headers) {
        if (!reader.text(header.name) || !reader.text(header.value) || !isHeaderName(header.name) ||
            !isHeaderValue(header.value)) {
            return false;
        }
    }
    return reader.text(response.body) && reader.atEnd();
}

bool isReady(std::string_view payload)
{
    return payload == kReady;
}

bool decodeDeclined(std::string_view payload, Declined& reason)
{
    reason = payload == kNeedsCim ? Declined::NeedsCim : Declined::CacheReplaced;
    return payload == kNeedsCim || payload == kCacheReplaced;
}

bool decodeNumbered(std::string_view payload, uint32_t& number, std::string& message)
{
    FieldReader reader(payload);
    return reader.number(number) && reader.text(message) && reader.atEnd();
}

} // namespace host
