#include "connect.h"

#include "client.h"
#include "objects.h"

#include <CimClientLib/cimgate_local.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <new>
#include <string_view>

namespace cmpisfcc {

namespace {

constexpr std::string_view kLocal = "SfcbLocal";
constexpr const char* kLoopback = "127.0.0.1";

// How the local object manager is reached where that is not the built-in way.
struct LocalWay
{
    std::optional<Endpoint> place;
    std::optional<Credentials> credentials; // an empty user sends none
    std::string trustStore;                 // empty: the system's
};

// Written before there are threads.
// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables)
LocalWay localWay;

bool isLocal(const ConnectParameters& parameters)
{
    // NOLINTNEXTLINE(concurrency-mt-unsafe): nobody writes the environment
    const char* choice = std::getenv("SFCC_CLIENT");
    if (choice != nullptr && choice == kLocal) {
        return true;
    }
    return parameters.scheme == nullptr ? textOrNone(parameters.host) == kLocal
                                        : parameters.scheme == kLocal;
}

std::string localEndpoint(const ConnectParameters& parameters, Endpoint& endpoint)
{
    if (localWay.place) {
        endpoint = *localWay.place;
        endpoint.trustStore = localWay.trustStore;
        return "";
    }
    return endpoint.setAddress(kLoopback, parameters.port);
}

std::string remoteEndpoint(const ConnectParameters& parameters, Endpoint& endpoint)
{
    endpoint.scheme = parameters.scheme == nullptr ? "http" : parameters.scheme;
    if (endpoint.scheme != "http" && endpoint.scheme != "https") {
        return "'" + endpoint.scheme + "' is none of the schemes http, https and SfcbLocal";
    }
    endpoint.verifiesPeer = parameters.verifyMode == CMCI_VERIFY_PEER;
    endpoint.trustStore = textOrNone(parameters.trustStore);
    endpoint.certFile = textOrNone(parameters.certFile);
    endpoint.keyFile = textOrNone(parameters.keyFile);
    return endpoint.setAddress(parameters.host, parameters.port);
}

std::optional<Credentials> credentialsOf(const ConnectParameters& parameters, bool local)
{
    if (local && localWay.credentials) {
        return localWay.credentials->user.empty() ? std::nullopt : localWay.credentials;
    }
    if (parameters.user == nullptr) {
        return std::nullopt;
    }
    return Credentials{parameters.user, textOrNone(parameters.password)};
}

// Programs made for other libraries of this interface never release the message of a failed
// connect, and may try for ever: it belongs to the thread, until its next failed connect, and
// releasing it does nothing.
CMPIString* keptMessage(const std::string& problem)
{
    constexpr std::size_t kUsualBytes = 256;
    static thread_local std::unique_ptr<Arena, decltype(&Arena::destroy)> kept(nullptr,
                                                                               &Arena::destroy);
    kept.reset(Arena::make(kUsualBytes));
    return makeString(*kept, kept->copy(problem));
}

CMCIClient* refuse(const std::string& problem, CMPIStatus* rc)
{
    if (rc != nullptr) {
        *rc = {CMPI_RC_ERR_FAILED, keptMessage(problem)};
    }
    return nullptr;
}

CMCIClient* connectWithLimits(const ConnectParameters* parameters, const TransportLimits* limits,
                              CMPIStatus* rc)
{
    const bool local = isLocal(*parameters);
    Endpoint endpoint;
    std::string problem =
        local ? localEndpoint(*parameters, endpoint) : remoteEndpoint(*parameters, endpoint);
    if (!problem.empty()) {
        return refuse(problem, rc);
    }
    const std::string port = endpoint.socketPath.empty() ? endpoint.port : endpoint.socketPath;
    auto client =
        std::make_unique<Client>(endpoint, credentialsOf(*parameters, local), port, *limits);
    if (local) {
        problem = client->probe();
    }
    if (!problem.empty()) {
        return refuse(problem, rc);
    }
    succeed(rc);
    return client.release();
}

int setLocalUrl(const char* url)
{
    if (url == nullptr) {
        localWay.place.reset();
        return CMPI_RC_OK;
    }
    Endpoint endpoint;
    if (!parseLocalUrl(url, endpoint).empty()) {
        return CMPI_RC_ERR_INVALID_PARAMETER;
    }
    localWay.place = endpoint;
    return CMPI_RC_OK;
}

int setLocalCredentials(const char* user, const char* password)
{
    if (user == nullptr) {
        localWay.credentials.reset();
        return CMPI_RC_OK;
    }
    if (std::string_view(user).find(':') != std::string_view::npos) {
        return CMPI_RC_ERR_INVALID_PARAMETER;
    }
    localWay.credentials = Credentials{user, textOrNone(password)};
    return CMPI_RC_OK;
}

int setLocalCa(const char* file)
{
    if (file != nullptr && access(file, R_OK) != 0) {
        return CMPI_RC_ERR_INVALID_PARAMETER;
    }
    localWay.trustStore = textOrNone(file);
    return CMPI_RC_OK;
}

template <typename... Texts>
int orFail(int (*set)(Texts...), Texts... texts) noexcept
{
    try {
        return set(texts...);
    } catch (const std::bad_alloc&) {
        return CMPI_RC_ERR_FAILED;
    }
}

} // namespace

CMCIClient* connectClient(const ConnectParameters& parameters, const TransportLimits& limits,
                          CMPIStatus* rc)
{
    return Guarded<connectWithLimits>::call(&parameters, &limits, rc);
}

} // namespace cmpisfcc

// NOLINTNEXTLINE(readability-function-size): the interface has so many parameters
extern "C" CMCIClient* cmciConnect2(const char* hn, const char* scheme, const char* port,
                                    const char* user, const char* pwd, int verifyMode,
                                    const char* trustStore, const char* certFile,
                                    const char* keyFile, CMPIStatus* rc)
{
    return cmpisfcc::connectClient(
        {hn, scheme, port, user, pwd, verifyMode, trustStore, certFile, keyFile},
        cmpisfcc::TransportLimits(), rc);
}

extern "C" CMCIClient* cmciConnect(const char* hn, const char* scheme, const char* port,
                                   const char* user, const char* pwd, CMPIStatus* rc)
{
    return cmciConnect2(hn, scheme, port, user, pwd, CMCI_VERIFY_NONE, nullptr, nullptr, nullptr,
                        rc);
}

extern "C" int cimgate_cmpisfcc_set_local_url(const char* url)
{
    return cmpisfcc::orFail(cmpisfcc::setLocalUrl, url);
}

extern "C" int cimgate_cmpisfcc_set_local_credentials(const char* user, const char* password)
{
    return cmpisfcc::orFail(cmpisfcc::setLocalCredentials, user, password);
}

extern "C" int cimgate_cmpisfcc_set_local_ca(const char* file)
{
    return cmpisfcc::orFail(cmpisfcc::setLocalCa, file);
}
