// The access log: a line for each request, in the combined format's order, with the time that it
// took in seconds at the end:
//
//   127.0.0.1 - - [22/Nov/2026:08:10:11 +0000] "GET /redfish/v1/... HTTP/1.1" 200 1534 0.002117
//   - - - [22/Nov/2026:08:10:11 +0000] "OEM DriveOem Disk.Bay.0:Enclosure.2" 200 1534 0.001930
//
// Nobody waits for it: a line that a pipe or a full disk does not take is lost, and that lines are
// lost is logged. A file that was renamed or removed is made anew.
#ifndef HOST_FRONT_ACCESS_LOG_H_
#define HOST_FRONT_ACCESS_LOG_H_

#include <httpd/server.h>
#include <service/file_descriptor.h>
#include <sys/stat.h>

#include <chrono>
#include <string>
#include <string_view>

namespace host {

// A request of the message queue and what became of it.
struct QueueExchange
{
    std::string request;     // "OEM DriveOem Disk.Bay.0"; empty where it could not be read
    unsigned int status = 0; // as HTTP numbers it
    size_t bytes = 0;        // of the answer
    std::chrono::steady_clock::time_point begun{};
};

// The line of a request that is over at this time.
std::string accessLine(const httpd::Exchange& exchange, time_t now);
std::string accessLine(const QueueExchange& exchange, std::chrono::microseconds duration,
                       time_t now);

class AccessLog
{
public:
    // "-" is standard output. False with the cause in problem.
    bool open(const std::string& path, std::string& problem);

    bool isOpen() const { return mFile.isOpen(); }

    // A line of accessLine(); nothing while it is not open.
    void write(std::string_view line);

private:
    bool openFile();
    void followFile();
    bool put(std::string_view line);
    void noteOutcome(bool isWritten);

    std::string mPath;
    service::FileDescriptor mFile;
    struct stat mIdentity
    {};
    std::chrono::steady_clock::time_point mNextLook{};
    bool mIsTorn = false; // the last line was written in part
    size_t mLost = 0;     // lines in a row
};

} // namespace host

#endif
