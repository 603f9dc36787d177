// Making of clients, by what their callers name.
#ifndef CMPISFCC_CONNECT_H_
#define CMPISFCC_CONNECT_H_

#include "http_transport.h"

#include <CimClientLib/cmci.h>

namespace cmpisfcc {

// The parameters of cmciConnect2.
struct ConnectParameters
{
    const char* host;
    const char* scheme;
    const char* port;
    const char* user;
    const char* password;
    int verifyMode;
    const char* trustStore;
    const char* certFile;
    const char* keyFile;
};

CMCIClient* connectClient(const ConnectParameters& parameters, const TransportLimits& limits,
                          CMPIStatus* rc);

} // namespace cmpisfcc

#endif
