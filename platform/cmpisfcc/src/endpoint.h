// Where an object manager is, and how to get there.
#ifndef CMPISFCC_ENDPOINT_H_
#define CMPISFCC_ENDPOINT_H_

#include <string>

namespace cmpisfcc {

struct Endpoint
{
    std::string scheme = "http"; // or "https"
    std::string host = "localhost";
    std::string port;       // a number
    std::string socketPath; // of a Unix socket, in place of the port; empty: none
    bool verifiesPeer = false;
    std::string trustStore; // PEM files; empty: the system's
    std::string certFile;   // empty: none
    std::string keyFile;

    // Fills host and port from what a caller of cmciConnect has passed (null: the defaults) and
    // says what is wrong with it; an empty text if nothing is.
    std::string setAddress(const char* hostName, const char* portText);

    // http://host:port/cimom, brackets around an IPv6 address.
    [[nodiscard]] std::string url() const;
};

// What cimgate_cmpisfcc_set_local_url() takes, without NULL. An empty text, or what is wrong.
std::string parseLocalUrl(const char* url, Endpoint& endpoint);

} // namespace cmpisfcc

#endif
