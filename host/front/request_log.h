// What the front notes of each request: one log line for each that failed.
//
// A request has failed where its answer has a remark: the service, the mapping or what stands
// behind them is to blame. Clients' own mistakes have none; they must not fill the log of a
// controller that nobody looks at for years.
#ifndef HOST_FRONT_REQUEST_LOG_H_
#define HOST_FRONT_REQUEST_LOG_H_

#include "front/access_log.h"

#include <httpd/server.h>

#include <array>
#include <cstdint>
#include <string>

namespace host {

// Since the service has started.
struct RequestCounters
{
    uint64_t answered = 0;
    std::array<uint64_t, 6> ofClass{}; // by the first digit of their status
    uint64_t failed = 0;
    uint64_t queueAnswered = 0;
    uint64_t queueFailed = 0;
};

class RequestLog
{
public:
    // Keeps an access log too. False with the cause in problem.
    bool openAccessLog(const std::string& path, std::string& problem)
    {
        return mAccessLog.open(path, problem);
    }

    const RequestCounters& counters() const { return mCounters; }

    void note(const httpd::Exchange& exchange) noexcept;

    // A request of the message queue that is over now.
    void note(const QueueExchange& exchange, const std::string& remark) noexcept;

private:
    AccessLog mAccessLog;
    RequestCounters mCounters;
};

} // namespace host

#endif
