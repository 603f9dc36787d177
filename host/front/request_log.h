// What the front notes of each request: one log line for each that failed.
//
// A request has failed where its answer has a remark: the service, the mapping or what stands
// behind them is to blame. Clients' own mistakes have none; they must not fill the log of a
// controller that nobody looks at for years.
#ifndef HOST_FRONT_REQUEST_LOG_H_
#define HOST_FRONT_REQUEST_LOG_H_

#include <httpd/server.h>

#include <string>

namespace host {

class RequestLog
{
public:
    void note(const httpd::Exchange& exchange) noexcept;

    // A request of the message queue, by the name that it is watched under.
    void noteQueue(const std::string& request, const std::string& remark) noexcept;
};

} // namespace host

#endif
