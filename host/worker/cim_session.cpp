#include "worker/cim_session.h"

#include "error_body.h"
#include "host_limits.h"
#include "worker/current_request.h"

#include <CimClientLib/cmci.h>
#include <CimClientLib/native.h>

#include <memory>
#include <string_view>

namespace host {

namespace {

// Who asks, for the log of a local object manager, which lets root in without a password. What is
// told to others is said on the command line (cim_access.h).
constexpr const char* kUser = "root";

// The client's words for HTTP's status 401, which it gives as CIM's status of a denied access.
constexpr std::string_view kUnauthorized = "Invalid username/password";

struct Release
{
    template <typename Object>
    void operator()(Object* object) const
    {
        (void)object->ft->release(object);
    }
};
template <typename Object>
using Owner = std::unique_ptr<Object, Release>;

} // namespace

CimSession::CimSession() : mSession(std::in_place, kUser) {}

const char* CimSession::renew()
{
    mSession.emplace(kUser);
    return mSession->Connect() == CMPI_RC_OK ? nullptr : "the CIM object manager cannot be reached";
}

// Asks for a class, on a connection of its own: whether there is one does not matter.
const char* CimSession::whyRefused()
{
    CMPIStatus status{CMPI_RC_OK, nullptr};
    const Owner<CMCIClient> client(
        cmciConnect("SfcbLocal", nullptr, "5988", kUser, nullptr, &status));
    const Owner<CMPIObjectPath> path(newCMPIObjectPath("root/xcim", "XCIM_None", nullptr));
    if (client == nullptr || path == nullptr) {
        return nullptr;
    }
    status = {CMPI_RC_OK, nullptr};
    const Owner<CMPIConstClass> found(
        client->ft->getClass(client.get(), path.get(), 0, nullptr, &status));
    const Owner<CMPIString> message(status.msg);
    const char* const text = message == nullptr ? nullptr : CMGetCharPtr(message.get());
    return text != nullptr && text == kUnauthorized
               ? "the CIM object manager refuses whoever asks (HTTP status 401): see --cim-user "
                 "and --cim-password-file"
               : nullptr;
}

httpd::Response withoutObjectManager(const char* fault)
{
    currentRequest().fail(fault);
    return temporarilyUnavailable(kRetryAfterS);
}

} // namespace host
