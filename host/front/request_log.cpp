#include "front/request_log.h"

#include "host_limits.h"
#include "log.h"
#include "printable.h"

#include <algorithm>
#include <chrono>
#include <ctime>
#include <new>

namespace host {

namespace {

std::string nameOf(const httpd::Exchange& exchange)
{
    return exchange.method.empty() ? "a request that could not be read"
                                   : printable(exchange.method) + ' ' + printable(exchange.target);
}

// A remark without what differs from request to request: ids of processes, and what the library has
// said, which may have what the client has sent.
std::string causeOf(const std::string& remark)
{
    const size_t end = std::min(remark.find_first_of("0123456789;(='\""), kMaxCauseBytes);
    return remark.substr(0, end) + (end < remark.size() ? "..." : "");
}

// Methods that the service does not know have what a client likes.
std::string kindOf(const std::string& method)
{
    return method == "GET" || method == "HEAD" || method == "POST" ? method + " ..." : "...";
}

void logFailure(const httpd::Exchange& exchange)
{
    const std::string status = ": " + std::to_string(exchange.status) + ": ";
    log(Severity::Error, nameOf(exchange) + status + exchange.remark,
        kindOf(exchange.method) + status + causeOf(exchange.remark));
}

std::chrono::microseconds sinceThen(std::chrono::steady_clock::time_point begun)
{
    using std::chrono::steady_clock;
    return std::chrono::duration_cast<std::chrono::microseconds>(steady_clock::now() - begun);
}

} // namespace

void RequestLog::note(const httpd::Exchange& exchange) noexcept
{
    ++mCounters.answered;
    ++mCounters.ofClass.at(exchange.status / 100 % mCounters.ofClass.size());
    mCounters.failed += exchange.remark.empty() ? 0U : 1U;
    try {
        if (mAccessLog.isOpen()) {
            mAccessLog.write(accessLine(exchange, std::time(nullptr)));
        }
        if (!exchange.remark.empty()) {
            logFailure(exchange);
        }
    } catch (const std::bad_alloc&) { // NOLINT(bugprone-empty-catch): costs a line
    }
}

void RequestLog::note(const QueueExchange& exchange, const std::string& remark) noexcept
{
    ++mCounters.queueAnswered;
    mCounters.queueFailed += remark.empty() ? 0U : 1U;
    try {
        if (mAccessLog.isOpen()) {
            mAccessLog.write(accessLine(exchange, sinceThen(exchange.begun), std::time(nullptr)));
        }
        if (!remark.empty()) {
            log(Severity::Error, exchange.request.substr(0, kMaxRemarkBytes) + ": " + remark,
                "OEM ...: " + causeOf(remark));
        }
    } catch (const std::bad_alloc&) { // NOLINT(bugprone-empty-catch): costs a line
    }
}

} // namespace host
