#include "http_transport.h"

#include <cimxml/types.h>

#include <algorithm>
#include <charconv>
#include <new>

namespace cmpisfcc {

namespace {

constexpr long kBufferBytes = 256L * 1024;

// libcurl's process-wide part: set up when this library is loaded, before there can be threads.
class CurlLibrary
{
public:
    CurlLibrary() { (void)curl_global_init(CURL_GLOBAL_DEFAULT); }
    ~CurlLibrary() { curl_global_cleanup(); }
    CurlLibrary(const CurlLibrary&) = delete;
    CurlLibrary& operator=(const CurlLibrary&) = delete;
};
const CurlLibrary kCurlLibrary;

struct HeadersCleanup
{
    void operator()(curl_slist* headers) const { curl_slist_free_all(headers); }
};
using Headers = std::unique_ptr<curl_slist, HeadersCleanup>;

void addHeader(Headers& headers, const std::string& line)
{
    curl_slist* longer = curl_slist_append(headers.get(), line.c_str());
    if (longer == nullptr) {
        throw std::bad_alloc();
    }
    (void)headers.release();
    headers.reset(longer);
}

Headers headersOf(const HttpRequest& request)
{
    Headers headers;
    addHeader(headers, "Content-type: application/xml; charset=\"utf-8\"");
    addHeader(headers, "CIMProtocolVersion: 1.0");
    addHeader(headers, "CIMOperation: MethodCall");
    addHeader(headers, "CIMMethod: " + request.method);
    addHeader(headers, "CIMObject: " + request.object);
    // libcurl adds these unless told otherwise; a pause for "100 Continue" helps nobody here.
    addHeader(headers, "Accept:");
    addHeader(headers, "Expect:");
    return headers;
}

char lower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool startsWith(std::string_view text, std::string_view lowerCasePrefix)
{
    return text.size() >= lowerCasePrefix.size() &&
           std::equal(lowerCasePrefix.begin(), lowerCasePrefix.end(), text.begin(),
                      [](char expected, char c) { return expected == lower(c); });
}

std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view kBlanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(kBlanks);
    return first == std::string_view::npos
               ? std::string_view()
               : text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// The value of the header of this (lower-case) name, if the line is one.
std::optional<std::string_view> headerValue(std::string_view line, std::string_view name)
{
    if (!startsWith(line, name) || line.size() == name.size() || line[name.size()] != ':') {
        return std::nullopt;
    }
    return trimmed(line.substr(name.size() + 1));
}

bool isXmlType(std::string_view contentType)
{
    const std::string_view type = trimmed(contentType.substr(0, contentType.find(';')));
    return type.size() == std::string_view("application/xml").size()
               ? startsWith(type, "application/xml")
               : type.size() == std::string_view("text/xml").size() && startsWith(type, "text/xml");
}

// libcurl's functions take a length of 0 for one that they are to find out.
std::string decoded(std::string_view text)
{
    if (text.empty()) {
        return "";
    }
    int length = 0;
    char* plain = curl_easy_unescape(nullptr, text.data(), static_cast<int>(text.size()), &length);
    std::string result =
        plain == nullptr ? std::string() : std::string(plain, static_cast<std::size_t>(length));
    curl_free(plain);
    return result;
}

// A status code as it came; what is no number, or none of a failure, is a failure all the same.
unsigned int statusCode(std::string_view text)
{
    unsigned int code = 0;
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), code);
    return error == std::errc() && stop == text.data() + text.size() && code != 0
               ? code
               : cimxml::kCimErrFailed;
}

void set(CURL* handle, CURLoption option, long value)
{
    (void)curl_easy_setopt(handle, option, value);
}

void set(CURL* handle, CURLoption option, const std::string& value)
{
    if (curl_easy_setopt(handle, option, value.c_str()) == CURLE_OUT_OF_MEMORY) {
        throw std::bad_alloc();
    }
}

} // namespace

// What happens between a request and its outcome; libcurl calls back into it.
class HttpTransport::Transfer
{
public:
    Transfer(CURL* handle, BodySink& sink, const TransportLimits& limits)
        : mSink(sink), mLimits(limits), mHandle(handle)
    {}

    static std::size_t onHeader(char* data, std::size_t size, std::size_t count, void* self)
    {
        return guarded(self, {data, size * count}, &Transfer::header);
    }
    static std::size_t onBody(char* data, std::size_t size, std::size_t count, void* self)
    {
        return guarded(self, {data, size * count}, &Transfer::body);
    }

    // Ended by the sink or by us, not by the network.
    [[nodiscard]] bool wasStopped() const { return mWasStopped; }
    [[nodiscard]] bool isOutOfMemory() const { return mIsOutOfMemory; }
    HttpOutcome& outcome() { return mOutcome; }

private:
    // libcurl is not to be unwound by an exception.
    static std::size_t guarded(void* self, std::string_view bytes,
                               bool (Transfer::*take)(std::string_view)) noexcept
    {
        auto* transfer = static_cast<Transfer*>(self);
        try {
            if ((transfer->*take)(bytes)) {
                return bytes.size();
            }
        } catch (const std::bad_alloc&) {
            transfer->mIsOutOfMemory = true;
        }
        transfer->mWasStopped = true;
        return bytes.empty() ? 1 : 0; // any other number than theirs ends the transfer
    }

    bool header(std::string_view line)
    {
        if (startsWith(line, "http/")) {
            mOutcome = HttpOutcome(); // of an interim answer
        } else if (const auto type = headerValue(line, "content-type")) {
            mOutcome.contentType = *type;
            mOutcome.isXml = isXmlType(*type);
        } else if (const auto code = headerValue(line, "cimstatuscode")) {
            mOutcome.cimStatusCode = statusCode(*code);
        } else if (const auto text = headerValue(line, "cimstatuscodedescription")) {
            mOutcome.cimStatusDescription = decoded(*text);
        } else if (const auto error = headerValue(line, "cimerror")) {
            mOutcome.cimError = *error;
        } else if (const auto detail = headerValue(line, "pgerrordetail")) {
            mOutcome.errorDetail = decoded(*detail);
        }
        return true;
    }

    bool body(std::string_view bytes)
    {
        mOutcome.bodyBytes += bytes.size();
        if (mOutcome.status == 0) {
            (void)curl_easy_getinfo(mHandle, CURLINFO_RESPONSE_CODE, &mOutcome.status);
        }
        if (mOutcome.status != kHttpOk || !mOutcome.isXml) {
            return mOutcome.bodyBytes <= mLimits.droppedBytes;
        }
        if (mOutcome.bodyBytes > mLimits.answerBytes) {
            mOutcome.problem =
                "The answer is longer than " + std::to_string(mLimits.answerBytes) + " bytes";
            return false;
        }
        return mSink.take(bytes);
    }

    BodySink& mSink;
    const TransportLimits& mLimits;
    HttpOutcome mOutcome;
    bool mWasStopped = false;
    bool mIsOutOfMemory = false;
    CURL* mHandle;
};

HttpTransport::HttpTransport(const Endpoint& endpoint,
                             const std::optional<Credentials>& credentials,
                             const TransportLimits& limits)
    : mEndpoint(endpoint), mCredentials(credentials), mLimits(limits), mHandle(makeHandle())
{
    CURL* handle = mHandle.get();
    (void)curl_easy_setopt(handle, CURLOPT_ERRORBUFFER, mErrorText.data());
    set(handle, CURLOPT_POST, 1L);
    set(handle, CURLOPT_BUFFERSIZE, kBufferBytes);
    set(handle, CURLOPT_LOW_SPEED_LIMIT, 1L);
    set(handle, CURLOPT_TIMEOUT_MS, mLimits.operationTimeoutMs);
    (void)curl_easy_setopt(handle, CURLOPT_HEADERFUNCTION, &Transfer::onHeader);
    (void)curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, &Transfer::onBody);
    if (mCredentials) {
        set(handle, CURLOPT_HTTPAUTH, static_cast<long>(CURLAUTH_BASIC));
        set(handle, CURLOPT_USERNAME, mCredentials->user);
        set(handle, CURLOPT_PASSWORD, mCredentials->password);
    }
}

HttpTransport::~HttpTransport() = default;

HttpTransport::Handle HttpTransport::makeHandle() const
{
    Handle owned(curl_easy_init());
    CURL* handle = owned.get();
    if (handle == nullptr) {
        throw std::bad_alloc();
    }
    set(handle, CURLOPT_URL, mEndpoint.url());
    if (!mEndpoint.socketPath.empty()) {
        set(handle, CURLOPT_UNIX_SOCKET_PATH, mEndpoint.socketPath);
    }
    set(handle, CURLOPT_PROTOCOLS_STR, mEndpoint.scheme);
    set(handle, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    // Object managers are on the own network: what the environment says of proxies is for others.
    set(handle, CURLOPT_PROXY, std::string());
    set(handle, CURLOPT_NOSIGNAL, 1L);
    set(handle, CURLOPT_MAXCONNECTS, 1L);
    set(handle, CURLOPT_CONNECTTIMEOUT_MS, mLimits.connectTimeoutMs);
    setTls(handle);
    return owned;
}

void HttpTransport::setTls(CURL* handle) const
{
    set(handle, CURLOPT_SSL_VERIFYPEER, mEndpoint.verifiesPeer ? 1L : 0L);
    set(handle, CURLOPT_SSL_VERIFYHOST, mEndpoint.verifiesPeer ? 2L : 0L);
    if (!mEndpoint.trustStore.empty()) {
        set(handle, CURLOPT_CAINFO, mEndpoint.trustStore);
    }
    if (!mEndpoint.certFile.empty()) {
        set(handle, CURLOPT_SSLCERT, mEndpoint.certFile);
    }
    if (!mEndpoint.keyFile.empty()) {
        set(handle, CURLOPT_SSLKEY, mEndpoint.keyFile);
    }
}

// libcurl's name for the failure, and what it knows about this one.
std::string HttpTransport::problemOf(CURL* handle, CURLcode code) const
{
    const std::string problem = curl_easy_strerror(code);
    if (code == CURLE_COULDNT_CONNECT && !mEndpoint.socketPath.empty()) {
        // It would name the host of a URL that nobody gave.
        long cause = 0;
        (void)curl_easy_getinfo(handle, CURLINFO_OS_ERRNO, &cause);
        return problem + ": " + mEndpoint.socketPath + ": " +
               std::generic_category().message(static_cast<int>(cause));
    }
    return mErrorText[0] == '\0' ? problem : problem + ": " + mErrorText.data();
}

HttpOutcome HttpTransport::post(const HttpRequest& request, BodySink& sink)
{
    CURL* handle = mHandle.get();
    const Headers headers = headersOf(request);
    Transfer transfer(handle, sink, mLimits);
    mErrorText[0] = '\0';
    (void)curl_easy_setopt(handle, CURLOPT_HTTPHEADER, headers.get());
    (void)curl_easy_setopt(handle, CURLOPT_POSTFIELDS, request.body.data());
    (void)curl_easy_setopt(handle, CURLOPT_POSTFIELDSIZE_LARGE,
                           static_cast<curl_off_t>(request.body.size()));
    (void)curl_easy_setopt(handle, CURLOPT_HEADERDATA, &transfer);
    (void)curl_easy_setopt(handle, CURLOPT_WRITEDATA, &transfer);
    // libcurl repeats by itself what it has sent on a kept connection that then breaks.
    set(handle, CURLOPT_FRESH_CONNECT, request.isRepeatable ? 0L : 1L);
    // A method may take long before it says anything; the time altogether ends it.
    set(handle, CURLOPT_LOW_SPEED_TIME, request.isRepeatable ? mLimits.stallTimeoutSeconds : 0L);
    const CURLcode code = curl_easy_perform(handle);
    (void)curl_easy_setopt(handle, CURLOPT_HTTPHEADER, nullptr);
    if (transfer.isOutOfMemory()) {
        throw std::bad_alloc();
    }
    HttpOutcome& outcome = transfer.outcome();
    (void)curl_easy_getinfo(handle, CURLINFO_RESPONSE_CODE, &outcome.status);
    if (code != CURLE_OK && !transfer.wasStopped()) {
        outcome.problem = problemOf(handle, code);
    }
    return std::move(outcome);
}

std::string HttpTransport::probe()
{
    const Handle handle = makeHandle();
    mErrorText[0] = '\0';
    (void)curl_easy_setopt(handle.get(), CURLOPT_ERRORBUFFER, mErrorText.data());
    set(handle.get(), CURLOPT_CONNECT_ONLY, 1L);
    const CURLcode code = curl_easy_perform(handle.get());
    return code == CURLE_OK ? "" : problemOf(handle.get(), code);
}

std::string HttpTransport::escape(std::string_view text)
{
    if (text.empty()) {
        return "";
    }
    char* escaped = curl_easy_escape(nullptr, text.data(), static_cast<int>(text.size()));
    if (escaped == nullptr) {
        throw std::bad_alloc();
    }
    std::string result = escaped;
    curl_free(escaped);
    return result;
}

} // namespace cmpisfcc
