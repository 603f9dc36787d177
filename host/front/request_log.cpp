#include "front/request_log.h"

#include "log.h"
#include "printable.h"

#include <new>

namespace host {

namespace {

std::string nameOf(const httpd::Exchange& exchange)
{
    return exchange.method.empty() ? "a request that could not be read"
                                   : printable(exchange.method) + ' ' + printable(exchange.target);
}

void logFailure(const httpd::Exchange& exchange)
{
    log(Severity::Error,
        nameOf(exchange) + ": " + std::to_string(exchange.status) + ": " + exchange.remark);
}

} // namespace

void RequestLog::note(const httpd::Exchange& exchange) noexcept
{
    ++mCounters.answered;
    ++mCounters.ofClass.at(exchange.status / 100 % mCounters.ofClass.size());
    mCounters.failed += exchange.remark.empty() ? 0U : 1U;
    try {
        mAccessLog.write(exchange);
        if (!exchange.remark.empty()) {
            logFailure(exchange);
        }
    } catch (const std::bad_alloc&) { // NOLINT(bugprone-empty-catch): costs a line
    }
}

void RequestLog::noteQueue(const std::string& request, const std::string& remark) noexcept
{
    ++mCounters.queueAnswered;
    mCounters.queueFailed += remark.empty() ? 0U : 1U;
    try {
        if (!remark.empty()) {
            log(Severity::Error, request + ": " + remark);
        }
    } catch (const std::bad_alloc&) { // NOLINT(bugprone-empty-catch): costs a line
    }
}

} // namespace host
