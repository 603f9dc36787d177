#include "worker/cim_session.h"

#include <dlfcn.h>

#include <cstdlib>

namespace host {

namespace {

// Who asks, for the object manager's log; the local one lets root in without a password.
constexpr const char* kUser = "root";

// The one function that only the bundled CIM client has (CimClientLib/cimgate_local.h). It is
// looked up, since the library of that name on a controller may be another one.
using SetLocalUrl = int(const char* url);

SetLocalUrl* findSetLocalUrl()
{
    return reinterpret_cast<SetLocalUrl*>(dlsym(RTLD_DEFAULT, "cimgate_cmpisfcc_set_local_url"));
}

} // namespace

CimSession::CimSession() : mSession(std::in_place, kUser) {}

bool CimSession::renew()
{
    mSession.emplace(kUser);
    return mSession->Connect() == CMPI_RC_OK;
}

bool directCimTo(const std::string& url, std::string& problem)
{
    SetLocalUrl* const direct = findSetLocalUrl();
    if (direct == nullptr) {
        // SFCC goes by the environment alone. It would speak HTTP, to a host of the name that means
        // the local object manager, and would not miss one that is away.
        (void)::setenv("SFCC_CLIENT", "SfcbLocal",
                       0); // NOLINT(concurrency-mt-unsafe): no threads yet
    }
    if (url.empty()) {
        return true;
    }
    if (direct == nullptr) {
        problem = "--cim " + url +
                  ": the CIM client library in use reaches the controller's own object manager "
                  "only; leave the option out";
        return false;
    }
    if (direct(url.c_str()) != CMPI_RC_OK) {
        problem = "--cim " + url +
                  ": give http://HOST:PORT, https://HOST:PORT or the path of a Unix socket";
        return false;
    }
    return true;
}

} // namespace host
