// The only translation unit that instantiates Beast's templates.
#include "connection.h"

#include "httpd/limits.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http.hpp>

#include <array>
#include <ctime>
#include <optional>

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

unsigned int statusOf(error_code error)
{
    if (error == http::error::header_limit || error == http::error::buffer_overflow) {
        return 431;
    }
    if (error == http::error::body_limit) {
        return 413;
    }
    return error.category() == http::make_error_code(http::error::bad_method).category() ? 400 : 0;
}

class HttpConnection : public Connection, public std::enable_shared_from_this<HttpConnection>
{
public:
    HttpConnection(tcp::socket socket, std::shared_ptr<ConnectionOwner> owner)
        : mSocket(std::move(socket)),
          mTimer(mSocket.get_executor()),
          mOwner(std::move(owner)),
          mBuffer(kMaxHeaderBytes + kMaxBodyBytes)
    {
        mOwner->opened(this);
    }
    ~HttpConnection() override { mOwner->closed(this); }

    void start();
    void close() override;

private:
    void armTimer(std::chrono::steady_clock::duration timeout);
    void disarmTimer() { mTimer.cancel(); }

    void waitForRequest();
    void readHeader();
    void headerRead(error_code error);
    void readBody();
    void bodyRead(error_code error);
    void dispatch();
    void refuse(unsigned int status);
    void write(Response response);
    void written(error_code error);
    void linger();

    tcp::socket mSocket;
    asio::steady_timer mTimer;
    std::shared_ptr<ConnectionOwner> mOwner;
    boost::beast::flat_buffer mBuffer;
    std::optional<http::request_parser<http::string_body>> mParser;
    std::optional<http::response<http::string_body>> mAnswer;
    std::optional<http::response_serializer<http::string_body>> mSerializer;
    std::array<char, 4096> mDiscarded{};
    size_t mLingerBytes = 0;
    unsigned int mVersion = 11;
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
    mTimer.cancel();
    mSocket.close(ignored);
}

void HttpConnection::armTimer(std::chrono::steady_clock::duration timeout)
{
    mTimer.expires_after(timeout);
    mTimer.async_wait([weak = weak_from_this()](error_code error) {
        if (const auto self = weak.lock(); self && !error) {
            self->close();
        }
    });
}

void HttpConnection::waitForRequest()
{
    mParser.emplace();
    mParser->header_limit(kMaxHeaderBytes);
    mParser->body_limit(kMaxBodyBytes);
    if (mBuffer.size() > 0) { // the next request came with the last one
        readHeader();
        return;
    }
    armTimer(kIdleTimeout);
    mSocket.async_wait(tcp::socket::wait_read, [self = shared_from_this()](error_code error) {
        if (!error) {
            self->readHeader();
        }
    });
}

void HttpConnection::readHeader()
{
    armTimer(kRequestTimeout);
    http::async_read_header(mSocket, mBuffer, *mParser,
                            [self = shared_from_this()](error_code error, size_t /*bytes*/) {
                                self->headerRead(error);
                            });
}

void HttpConnection::headerRead(error_code error)
{
    if (error) {
        const unsigned int status = statusOf(error);
        if (status != 0 && error != http::error::end_of_stream) {
            refuse(status);
        }
        return; // a closed or broken connection ends with its last reference
    }
    const auto& header = mParser->get();
    mVersion = header.version();
    mKeepAlive = header.keep_alive();
    mIsHead = header.method() == http::verb::head;
    if (header[http::field::expect] == "100-continue") {
        static constexpr std::string_view kContinue = "HTTP/1.1 100 Continue\r\n\r\n";
        asio::async_write(mSocket, asio::buffer(kContinue),
                          [self = shared_from_this()](error_code writeError, size_t /*bytes*/) {
                              if (!writeError) {
                                  self->readBody();
                              }
                          });
        return;
    }
    readBody();
}

void HttpConnection::readBody()
{
    http::async_read(
        mSocket, mBuffer, *mParser,
        [self = shared_from_this()](error_code error, size_t /*bytes*/) { self->bodyRead(error); });
}

void HttpConnection::bodyRead(error_code error)
{
    if (!error) {
        dispatch();
        return;
    }
    if (const unsigned int status = statusOf(error); status != 0) {
        refuse(status);
    }
}

void HttpConnection::dispatch()
{
    disarmTimer();
    auto message = mParser->release();
    Request request;
    request.method = std::string(message.method_string());
    request.target = std::string(message.target());
    for (const auto& field : message) {
        request.headers.push_back({std::string(field.name_string()), std::string(field.value())});
    }
    request.body = std::move(message.body());
    mOwner->handle(std::move(request), [self = shared_from_this()](Response response) {
        self->write(std::move(response));
    });
}

// What follows a request that cannot be read cannot be told apart: the answer ends the connection.
void HttpConnection::refuse(unsigned int status)
{
    mKeepAlive = false;
    mIsHead = false;
    write(mOwner->errorPage(status));
}

void HttpConnection::write(Response response)
{
    if (!mSocket.is_open()) {
        return;
    }
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
    armTimer(kWriteTimeout);
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
    armTimer(kLingerTimeout);
    linger();
}

void HttpConnection::linger()
{
    mSocket.async_read_some(asio::buffer(mDiscarded),
                            [self = shared_from_this()](error_code error, size_t bytes) {
                                self->mLingerBytes += bytes;
                                if (!error && self->mLingerBytes < kMaxLingerBytes) {
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
