#include "wire/worker_message.h"

#include "host_limits.h"
#include "wire/fields.h"
#include "wire/frame.h"

#include <httpd/field_text.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <limits>
#include <utility>

namespace host {

namespace {

// No response begins like these: what stands for its status would be out of range.
constexpr std::pair<Declined, std::string_view> kDeclined[] = {
    {Declined::NeedsCim, "needs CIM"},
    {Declined::CacheReplaced, "cache replaced"},
    {Declined::MemoryGrown, "memory grown"},
};

constexpr uint32_t kLowestStatus = 200;
constexpr uint32_t kHighestStatus = 599;

void putFields(std::string& out, const ReadRequest& request)
{
    putText(out, request.target);
    putNumber(out, request.mayReadLive ? 1 : 0);
    putNumber(out, request.wantsGzip ? 1 : 0);
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
    return reader.text(request.target) && reader.flag(request.mayReadLive) &&
           reader.flag(request.wantsGzip);
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

// Of a message (RFC 9110, 7.6.1 and 8.6; RFC 9112, 6.1), not of a resource.
constexpr std::string_view kServersOwn[] = {
    "Connection", "Content-Length", "Date",    "Keep-Alive",        "Proxy-Connection",
    "TE",         "Trailer",        "Upgrade", "Transfer-Encoding",
};

// Which bytes a part of a header may have. Each byte of each worker's headers is looked up here.
using Bytes = std::array<bool, std::numeric_limits<unsigned char>::max() + 1>;

constexpr Bytes kTokenBytes = [] {
    Bytes bytes{};
    for (const char c : std::string_view("!#$%&'*+-.^_`|~0123456789abcdefghijklmnopqrstuvwxyz"
                                         "ABCDEFGHIJKLMNOPQRSTUVWXYZ")) {
        bytes[static_cast<unsigned char>(c)] = true;
    }
    return bytes;
}();

constexpr Bytes kValueBytes = [] {
    constexpr unsigned char kDelete = 0x7f;
    Bytes bytes{};
    for (size_t byte = ' '; byte < bytes.size(); ++byte) {
        bytes[byte] = byte != kDelete;
    }
    bytes['\t'] = true;
    return bytes;
}();

bool hasOnly(const Bytes& allowed, std::string_view text)
{
    return std::all_of(text.begin(), text.end(),
                       [&](char c) { return allowed[static_cast<unsigned char>(c)]; });
}

bool isServersOwn(const std::string& name)
{
    return std::any_of(std::begin(kServersOwn), std::end(kServersOwn),
                       [&](std::string_view own) { return httpd::isSameWord(own, name); });
}

bool takeHeader(FieldReader& reader, httpd::Header& header)
{
    return reader.text(header.name) && reader.text(header.value) && isAnswerHeader(header);
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
    putText(payload, response.remark);
    putNumber(payload, response.mayBeKept ? 1 : 0);
    return framed(payload);
}

std::string encodeDeclined(Declined reason)
{
    const auto* const found = std::find_if(std::begin(kDeclined), std::end(kDeclined),
                                           [&](const auto& one) { return one.first == reason; });
    return framed(found->second);
}

bool isAnswerHeader(const httpd::Header& header)
{
    const auto& [name, value] = header;
    return !name.empty() && name.size() <= kMaxHeaderTextBytes && hasOnly(kTokenBytes, name) &&
           !isServersOwn(name) && value.size() <= kMaxHeaderTextBytes &&
           hasOnly(kValueBytes, value);
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
        if (!takeHeader(reader, header)) {
            return false;
        }
    }
    uint32_t mayBeKept = 0;
    const bool isWhole = reader.text(response.body) && reader.text(response.remark) &&
                         reader.number(mayBeKept) && reader.atEnd() && mayBeKept <= 1;
    response.mayBeKept = mayBeKept == 1;
    return isWhole && response.remark.size() <= kMaxRemarkBytes &&
           (response.body.empty() || httpd::hasContent(status));
}

bool decodeDeclined(std::string_view payload, Declined& reason)
{
    const auto* const found = std::find_if(std::begin(kDeclined), std::end(kDeclined),
                                           [&](const auto& one) { return one.second == payload; });
    const bool isOne = found != std::end(kDeclined);
    reason = isOne ? found->first : reason;
    return isOne;
}

} // namespace host
