// The only translation unit that instantiates Beast's templates.
#include "connection.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http.hpp>

#include <algorithm>
#include <array>
#include <chrono>
#include <ctime>
#include <optional>
#include <string_view>

namespace httpd {

namespace asio = boost::asio;
namespace http = boost::beast::http;
using asio::ip::tcp;
using boost::system::error_code;

namespace {

// IMF-fixdate of RFC 9110, always in GMT and English.
std::string httpDate()
{
    const time_t now = std::time(nullptr);
    tm utc{};
    gmtime_r(&now, &utc);
    char text[40] = "";
    (void)std::strftime(text, sizeof text, "%a, %d %b %Y %H:%M:%S GMT", &utc);
    return text;
}

// Beast reads up to this much at a time; beyond the headers a body is taken out of the buffer as it
// comes.
constexpr size_t kReadAheadBytes = size_t{64} * 1024;

using Parser = http::request_parser<http::string_body>;

// How to answer a request that could not be read; 0 when there is nobody to answer.
unsigned int statusOf(error_code error, const Parser& parser)
{
    if (error == http::error::end_of_stream) {
        return 0;
    }
    if (error == http::error::header_limit || error == http::error::buffer_overflow) {
        const bool hasRequestLine = !parser.get().target().empty();
        return hasRequestLine ? 431 : 414;
    }
    if (error == http::error::body_limit) {
        return 413;
    }
    return error.category() == http::make_error_code(http::error::bad_method).category() ? 400 : 0;
}

// RFC 9112, section 3.2: exactly one Host field, from clients that speak HTTP/1.1.
bool hasHost(const Parser::value_type& header)
{
    return header.version() < 11 || header.count(http::field::host) == 1;
}

// What a client means that takes this server for a proxy ("GET http://host/path"): every server has
// to understand it (RFC 9112, section 3.2.2).
std::string originForm(std::string_view target)
{
    for (const std::string_view scheme : {"http://", "https://"}) {
        if (target.size() >= scheme.size() &&
            boost::beast::iequals(target.substr(0, scheme.size()), scheme)) {
            target.remove_prefix(scheme.size());
            target.remove_prefix(std::min(target.find_first_of("/?"), target.size()));
            return target.starts_with('/') ? std::string(target) : "/" + std::string(target);
        }
    }
    return std::string(target);
}

class HttpConnection : public Connection, public std::enable_shared_from_this<HttpConnection>
{
public:
    HttpConnection(tcp::socket socket, std::shared_ptr<ConnectionOwner> owner)
        : mSocket(std::move(socket)),
          mTimer(mSocket.get_executor()),
          mOwner(std::move(owner)),
          mLimits(mOwner->limits()),
          mBuffer(kReadAheadBytes + mLimits.headerBytes)
    {
        mOwner->opened(this);
    }
    ~HttpConnection() override { mOwner->closed(this); }
    HttpConnection(const HttpConnection&) = delete;
    HttpConnection& operator=(const HttpConnection&) = delete;

    void start();
    void close() override;
    void closeIfIdle() override;

private:
    using Expired = void (HttpConnection::*)();
    void armTimer(std::chrono::steady_clock::duration timeout, Expired expired);
    void disarmTimer();
    void requestTimedOut();

    void waitForRequest();
    void readHeader();
    void headerRead(error_code error);
    void sendContinue();
    void readBody();
    void bodyRead(error_code error);
    void dispatch();
    void readFailed(error_code error);
    void refuse(unsigned int status);
    void write(Response response);
    void written(error_code error);
    void linger();

    tcp::socket mSocket;
    asio::steady_timer mTimer;
    std::shared_ptr<ConnectionOwner> mOwner;
    const Limits& mLimits;
    boost::beast::flat_buffer mBuffer;
    std::optional<Parser> mParser;
    std::optional<http::response<http::string_body>> mAnswer;
    std::optional<http::response_serializer<http::string_body>> mSerializer;
    std::array<char, 4096> mDiscarded{};
    size_t mLingerBytes = 0;
    unsigned int mVersion = 11;
    bool mIsIdle = false;
    bool mIsTimedOut = false;
    bool mKeepAlive = false;
    bool mIsHead = false;
};

void HttpConnection::start()
{
    error_code ignored;
    // Headers and body go out as two buffers; the second must not wait for an acknowledgement.
    mSocket.set_option(tcp::no_delay(true), ignored);
    waitForRequest();
}

void HttpConnection::close()
{
    error_code ignored;
    disarmTimer();
    mSocket.close(ignored);
}

void HttpConnection::closeIfIdle()
{
    if (mIsIdle) {
        close();
    }
}

void HttpConnection::armTimer(std::chrono::steady_clock::duration timeout, Expired expired)
{
    mTimer.expires_after(timeout);
    mTimer.async_wait([weak = weak_from_this(), expired](error_code error) {
        const auto self = weak.lock();
        // A wait that had ended before it was cancelled comes without an error.
        if (self && !error && self->mTimer.expiry() <= asio::steady_timer::clock_type::now()) {
            ((*self).*expired)();
        }
    });
}

void HttpConnection::disarmTimer()
{
    mTimer.expires_at(asio::steady_timer::time_point::max());
}

void HttpConnection::requestTimedOut()
{
    error_code ignored;
    mIsTimedOut = true;
    mSocket.cancel(ignored);
}

void HttpConnection::waitForRequest()
{
    mParser.emplace();
    mParser->header_limit(mLimits.headerBytes);
    mParser->body_limit(mLimits.bodyBytes);
    mIsHead = false;
    if (mBuffer.size() > 0) { // the next request came with the last one
        readHeader();
        return;
    }
    mIsIdle = true;
    armTimer(mLimits.idleTimeout, &HttpConnection::close);
    mSocket.async_wait(tcp::socket::wait_read, [self = shared_from_this()](error_code error) {
        self->mIsIdle = false;
        if (!error) {
            self->readHeader();
        }
    });
}

void HttpConnection::readHeader()
{
    armTimer(mLimits.requestTimeout, &HttpConnection::requestTimedOut);
    http::async_read_header(mSocket, mBuffer, *mParser,
                            [self = shared_from_this()](error_code error, size_t /*bytes*/) {
                                self->headerRead(error);
                            });
}

void HttpConnection::headerRead(error_code error)
{
    if (error) {
        readFailed(error);
        return;
    }
    const auto& header = mParser->get();
    mVersion = header.version();
    mKeepAlive = header.keep_alive();
    mIsHead = header.method() == http::verb::head;
    if (!hasHost(header)) {
        refuse(400);
    } else if (mVersion >= 11 &&
               boost::beast::iequals(header[http::field::expect], "100-continue")) {
        sendContinue();
    } else {
        readBody();
    }
}

void HttpConnection::sendContinue()
{
    static constexpr std::string_view kContinue = "HTTP/1.1 100 Continue\r\n\r\n";
    asio::async_write(mSocket, asio::buffer(kContinue),
                      [self = shared_from_this()](error_code error, size_t /*bytes*/) {
                          if (!error) {
                              self->readBody();
                          }
                      });
}

void HttpConnection::readBody()
{
    http::async_read(
        mSocket, mBuffer, *mParser,
        [self = shared_from_this()](error_code error, size_t /*bytes*/) { self->bodyRead(error); });
}

void HttpConnection::bodyRead(error_code error)
{
    if (error) {
        readFailed(error);
    } else {
        dispatch();
    }
}

void HttpConnection::dispatch()
{
    disarmTimer();
    auto message = mParser->release();
    Request request;
    request.method = std::string(message.method_string());
    request.target = originForm(message.target());
    for (const auto& field : message) {
        request.headers.push_back({std::string(field.name_string()), std::string(field.value())});
    }
    request.body = std::move(message.body());
    mOwner->handle(std::move(request), [self = shared_from_this()](Response response) {
        self->write(std::move(response));
    });
}

// A closed or broken connection is not answered; it ends with its last reference.
void HttpConnection::readFailed(error_code error)
{
    const unsigned int status = mIsTimedOut ? 408 : statusOf(error, *mParser);
    if (status != 0) {
        refuse(status);
    }
}

// What follows a request that cannot be read cannot be told apart: the answer ends the connection.
void HttpConnection::refuse(unsigned int status)
{
    mKeepAlive = false;
    write(mOwner->errorPage(status));
}

void HttpConnection::write(Response response)
{
    if (!mSocket.is_open()) {
        return;
    }
    mKeepAlive = mKeepAlive && !mOwner->isStopping();
    mAnswer.emplace(static_cast<http::status>(response.status), mVersion);
    for (const Header& header : response.headers) {
        mAnswer->insert(header.name, header.value);
    }
    mAnswer->set(http::field::date, httpDate());
    mAnswer->keep_alive(mKeepAlive);
    mAnswer->content_length(response.body.size());
    if (!mIsHead) {
        mAnswer->body() = std::move(response.body);
    }
    mSerializer.emplace(*mAnswer);
    armTimer(mLimits.writeTimeout, &HttpConnection::close);
    http::async_write(
        mSocket, *mSerializer,
        [self = shared_from_this()](error_code error, size_t /*bytes*/) { self->written(error); });
}

void HttpConnection::written(error_code error)
{
    mSerializer.reset();
    mAnswer.reset();
    if (error) {
        return;
    }
    if (mKeepAlive) {
        waitForRequest();
        return;
    }
    mSocket.shutdown(tcp::socket::shutdown_send, error);
    armTimer(mLimits.lingerTimeout, &HttpConnection::close);
    linger();
}

void HttpConnection::linger()
{
    mSocket.async_read_some(asio::buffer(mDiscarded),
                            [self = shared_from_this()](error_code error, size_t bytes) {
                                self->mLingerBytes += bytes;
                                if (!error && self->mLingerBytes < self->mLimits.lingerBytes) {
                                    self->linger();
                                }
                            });
}

} // namespace

void startConnection(tcp::socket socket, std::shared_ptr<ConnectionOwner> owner)
{
    std::make_shared<HttpConnection>(std::move(socket), std::move(owner))->start();
}

} // namespace httpd
