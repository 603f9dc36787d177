// A client: what it was connected with, its connection, the memory that its answers are read with.
#ifndef CMPISFCC_CLIENT_H_
#define CMPISFCC_CLIENT_H_

#include "answer.h"
#include "http_transport.h"
#include "key_types.h"

#include <CimClientLib/cmci.h>
#include <cimxml/request.h>
#include <cimxml/response.h>

#include <optional>
#include <string>

namespace cmpisfcc {

// How an operation ended: a code and, unless it is CMPI_RC_OK, what happened.
struct Result
{
    CMPIrc code = CMPI_RC_OK;
    std::string message;
    // Whether the object manager said anything, be it that it cannot.
    bool wasAnswered = true;

    [[nodiscard]] bool failed() const { return code != CMPI_RC_OK; }
    [[nodiscard]] CMPIStatus status() const;
};

constexpr const char* kMessageId = "4711"; // of all requests

class Client : public CMCIClient
{
public:
    // The port as the caller named it.
    Client(const Endpoint& endpoint, const std::optional<Credentials>& credentials,
           const std::string& port, const TransportLimits& limits);
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;
    ~Client() = default;

    static const CMCIClientFT kTable;
    static Client& of(CMCIClient* client) { return *static_cast<Client*>(client); }

    // Carries an operation out; what it returns goes to the answer. The keys in the request get
    // their types first.
    Result call(cimxml::IntrinsicRequest& request, bool isRepeatable, Answer& answer);
    Result call(cimxml::ExtrinsicRequest& request, Answer& answer);

    // Whether the object manager can be reached: an empty text, or why not.
    std::string probe() { return mTransport.probe(); }

private:
    template <typename Request, typename Send>
    Result withTypedKeys(Request& request, const Send& send);
    KeyTypes::Fetched fetchTypes(const std::string& nameSpace, const std::string& className,
                                 Result& result);
    Result send(const cimxml::IntrinsicRequest& request, bool isRepeatable, Answer& answer);
    Result send(const cimxml::ExtrinsicRequest& request, Answer& answer);
    Result exchange(const HttpRequest& request, Answer& answer);
    Result resultOf(const HttpOutcome& outcome, Answer& answer);

    // What hdl points to, and the texts in it.
    CMCIClientData mData = {};
    Endpoint mEndpoint;
    std::optional<Credentials> mCredentials;
    std::string mPort;
    HttpTransport mTransport;
    KeyTypes mKeyTypes;
    std::optional<cimxml::ResponseReader> mReader;
};

} // namespace cmpisfcc

#endif
