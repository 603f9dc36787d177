#include "worker/cim_session.h"

#include <CimClientLib/cimgate_local.h>
#include <dlfcn.h>

namespace host {

namespace {

// Who asks, for the object manager's log; the local one lets root in without a password.
constexpr const char* kUser = "root";

} // namespace

CimSession::CimSession() : mSession(std::in_place, kUser) {}

bool CimSession::renew()
{
    mSession.emplace(kUser);
    return mSession->Connect() == CMPI_RC_OK;
}

// Looked up, since the library of that name on a controller may be another one.
bool directCimTo(const std::string& url, std::string& problem)
{
    auto* const direct = reinterpret_cast<cimgate_cmpisfcc_set_local_url_fn*>(
        dlsym(RTLD_DEFAULT, "cimgate_cmpisfcc_set_local_url"));
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
