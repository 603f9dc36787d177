#include "wire/worker_message.h"

#include "host_limits.h"
#include "wire/fields.h"
#include "wire/frame.h"

#include <algorithm>
#include <utility>

namespace host {

namespace {

// No response begins like these: what stands for its status would be out of range.
constexpr std::string_view kNeedsCim = "needs CIM";
constexpr std::string_view kCacheReplaced = "cache replaced";

constexpr uint32_t kLowestStatus = 200;
constexpr uint32_t kHighestStatus = 599;

void putFields(std::string& out, const ReadRequest& request)
{
    putText(out, request.target);
    putNumber(out, request.mayReadLive ? 1 : 0);
}

void putFields(std::string& out, const ActionRequest& request)
{
    putText(out, request.target);
    putText(out, request.body);
}

void putFields(std::string& out, const EmbeddedDataRequest& request)
{
    putText(out, request.container);
    putText(out, request.id);
}

bool takeFields(FieldReader& reader, ReadRequest& request)
{
    uint32_t mayReadLive = 0;
    const bool isWhole = reader.text(request.target) && reader.number(mayReadLive);
    request.mayReadLive = mayReadLive != 0;
    return isWhole;
}

bool takeFields(FieldReader& reader, ActionRequest& request)
{
    return reader.text(request.target) && reader.text(request.body);
}

bool takeFields(FieldReader& reader, EmbeddedDataRequest& request)
{
    return reader.text(request.container) && reader.text(request.id);
}

// Makes request the alternative that stands at this place in the variant; false where none does.
template <size_t... Indices>
bool becomeAlternative(WorkerRequest& request, uint32_t index,
                       std::index_sequence<Indices...> /*indices*/)
{
    return ((index == Indices && (request.emplace<Indices>(), true)) || ...);
}

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

} // namespace

std::string encodeRequest(const WorkerRequest& request)
{
    std::string payload;
    putNumber(payload, static_cast<uint32_t>(request.index()));
    std::visit([&payload](const auto& kind) { putFields(payload, kind); }, request);
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

std::string encodeDeclined(Declined reason)
{
    return framed(reason == Declined::NeedsCim ? kNeedsCim : kCacheReplaced);
}

bool decodeRequest(std::string_view payload, WorkerRequest& request)
{
    constexpr auto kKinds = std::make_index_sequence<std::variant_size_v<WorkerRequest>>();
    FieldReader reader(payload);
    uint32_t index = 0;
    return reader.number(index) && becomeAlternative(request, index, kKinds) &&
           std::visit([&reader](auto& kind) { return takeFields(reader, kind); }, request) &&
           reader.atEnd();
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

bool decodeDeclined(std::string_view payload, Declined& reason)
{
    reason = payload == kNeedsCim ? Declined::NeedsCim : Declined::CacheReplaced;
    return payload == kNeedsCim || payload == kCacheReplaced;
}

} // namespace host
