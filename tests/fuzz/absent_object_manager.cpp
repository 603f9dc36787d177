// Takes the place of the CIM client's own: nothing that a fuzzer does reaches an object manager.
#include <CimClientLib/cmci.h>

extern "C" CMCIClient* cmciConnect(const char* /*hn*/, const char* /*scheme*/, const char* /*port*/,
                                   const char* /*user*/, const char* /*pwd*/, CMPIStatus* rc)
{
    *rc = {CMPI_RC_ERR_FAILED, nullptr};
    return nullptr;
}
