// How SFCC chooses its back end: by the environment, else by the scheme; the host's name plays no
// part. The one that speaks CIM-XML contacts nobody until it is asked something.
#include <CimClientLib/cmci.h>

#include <cstdlib>
#include <string_view>

// NOLINTNEXTLINE(readability-function-size): the interface has so many parameters
extern "C" CMCIClient* cmciConnect(const char* /*hn*/, const char* scheme, const char* /*port*/,
                                   const char* user, const char* pwd, CMPIStatus* rc)
{
    const char* chosen = std::getenv("SFCC_CLIENT"); // NOLINT(concurrency-mt-unsafe)
    const std::string_view backEnd = chosen != nullptr ? chosen : scheme != nullptr ? scheme : "";
    // Where tests have their object manager, or nothing.
    const char* port = std::getenv("SFCC_STAND_IN_PORT"); // NOLINT(concurrency-mt-unsafe)
    return cmciConnect2("127.0.0.1", backEnd == "SfcbLocal" ? "SfcbLocal" : "http", port, user, pwd,
                        CMCI_VERIFY_NONE, nullptr, nullptr, nullptr, rc);
}
