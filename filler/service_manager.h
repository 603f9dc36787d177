// What a service manager wants to know of the process that it has started: the protocol of
// systemd's sd_notify(), a datagram to the socket that NOTIFY_SOCKET names.
//
// Nobody waits for it, and nothing is said where there is none, or it does not listen.
//
// Threads: one instance, one thread.
#ifndef FILLER_SERVICE_MANAGER_H_
#define FILLER_SERVICE_MANAGER_H_

#include <string>

namespace filler {

class ServiceManager
{
public:
    // The one that this process was started by. Takes NOTIFY_SOCKET out of the environment:
    // children are not to speak for the service. To be made before there are threads.
    ServiceManager();

    void tellReady() const { tell("READY=1"); }
    void tellStopping() const { tell("STOPPING=1"); }
    // One line for who asks how the service is.
    void tellStatus(std::string text) const;

private:
    void tell(const std::string& message) const;

    std::string mSocket; // "" where there is none; an abstract name begins with "@"
};

} // namespace filler

#endif
