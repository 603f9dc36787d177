// A worker's connection to the CIM object manager.
#ifndef HOST_WORKER_CIM_SESSION_H_
#define HOST_WORKER_CIM_SESSION_H_

#include <SfccInterface.h>
#include <httpd/server.h>

#include <optional>
#include <string>

namespace host {

class CimSession
{
public:
    CimSession();

    // What mappers read through, always the same object; they connect it themselves, so that a
    // worker that serves nothing but the cache never does.
    SfccSession* get() { return &*mSession; }

    // To be called when a read has failed, and before an action: a session stays on the connection
    // that it once had, so that only another one sees an object manager that has come back. Returns
    // why the object manager cannot be reached now; null where it can.
    const char* renew();

    // Why the object manager lets nobody in who asks as this service does, which is the service's
    // fault and not the client's; null where it does. To be called when it has denied something.
    static const char* whyRefused();

    // Either of them.
    const char* whyUseless()
    {
        const char* const fault = renew();
        return fault != nullptr ? fault : whyRefused();
    }

private:
    std::optional<SfccSession> mSession; // never empty
};

// 503 to the request that the worker is at: it needs the object manager, which has this fault.
httpd::Response withoutObjectManager(const char* fault);

} // namespace host

#endif
