#include "status.h"

namespace cmpisfcc {

void succeed(CMPIStatus* rc)
{
    if (rc != nullptr) {
        *rc = kSuccess;
    }
}

void fail(CMPIStatus* rc, CMPIrc code, const char* message)
{
    if (rc != nullptr) {
        *rc = failure(code, message);
    }
}

CMPIStatus failure(CMPIrc code, const char* message)
{
    return {code, message == nullptr ? nullptr : native_new_CMPIString(message, nullptr)};
}

} // namespace cmpisfcc
