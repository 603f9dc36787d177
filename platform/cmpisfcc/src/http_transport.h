// One kept-alive HTTP connection to an object manager.
#ifndef CMPISFCC_HTTP_TRANSPORT_H_
#define CMPISFCC_HTTP_TRANSPORT_H_

#include "endpoint.h"

#include <curl/curl.h>

#include <array>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace cmpisfcc {

// HTTP status codes (RFC 9110) that are told from all others.
constexpr long kHttpOk = 200;
constexpr long kHttpUnauthorized = 401;

// How long things may take and how large they may be.
struct TransportLimits
{
    long connectTimeoutMs = 10'000;
    // Without a byte from the object manager; providers of slow hardware take their time. Not for
    // what changes something: giving up would not undo it.
    long stallTimeoutSeconds = 60;
    // Altogether.
    long operationTimeoutMs = 600'000;
    // Of the answer to be read; the reader of answers has the same.
    std::size_t answerBytes = std::size_t{64} * 1024 * 1024;
    // Of an answer that only says that something went wrong, which is dropped.
    std::size_t droppedBytes = std::size_t{256} * 1024;
};

// A user and a password for Basic authentication.
struct Credentials
{
    std::string user;
    std::string password;
};

// What is sent.
struct HttpRequest
{
    std::string method; // CIMMethod, percent-encoded where need be
    std::string object; // CIMObject, the same
    std::string_view body;
    // Whether sending it twice does no more than sending it once. On a connection that has been
    // kept, an operation may have been carried out before the connection breaks.
    bool isRepeatable = true;
};

// Takes the body of an answer of status 200 and of the right content type, piece by piece.
class BodySink
{
public:
    BodySink() = default;
    virtual ~BodySink() = default;
    BodySink(const BodySink&) = delete;
    BodySink& operator=(const BodySink&) = delete;
    // False ends the transfer.
    virtual bool take(std::string_view bytes) = 0;
};

// How it ended.
struct HttpOutcome
{
    // What went wrong on the way, in English: no connection, a timeout, a body that is too long.
    // Empty when the whole answer came, or as much of it as the sink took.
    std::string problem;
    long status = 0;
    bool isXml = false; // by its content type
    std::string contentType;
    std::optional<unsigned int> cimStatusCode; // header CIMStatusCode
    std::string cimStatusDescription;          // header CIMStatusCodeDescription, decoded
    std::string cimError;                      // header CIMError
    std::string errorDetail;                   // header PGErrorDetail, decoded
    std::size_t bodyBytes = 0;
};

// Threads: a transport is used by one thread at a time. Throws std::bad_alloc.
class HttpTransport
{
public:
    HttpTransport(const Endpoint& endpoint, const std::optional<Credentials>& credentials,
                  const TransportLimits& limits);
    ~HttpTransport();
    HttpTransport(const HttpTransport&) = delete;
    HttpTransport& operator=(const HttpTransport&) = delete;

    HttpOutcome post(const HttpRequest& request, BodySink& sink);

    // Whether somebody listens: an empty text, or why a connection cannot be had.
    std::string probe();

    // Percent-encodes all but letters, digits and "-._~".
    static std::string escape(std::string_view text);

private:
    class Transfer;
    struct HandleCleanup
    {
        void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
    };
    using Handle = std::unique_ptr<CURL, HandleCleanup>;

    [[nodiscard]] Handle makeHandle() const;
    void setTls(CURL* handle) const;
    std::string problemOf(CURL* handle, CURLcode code) const;

    Endpoint mEndpoint;
    std::optional<Credentials> mCredentials;
    TransportLimits mLimits;
    std::array<char, CURL_ERROR_SIZE> mErrorText = {};
    Handle mHandle;
};

} // namespace cmpisfcc

#endif
