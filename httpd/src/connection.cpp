// The only translation unit that instantiates Beast's templates.
#include "connection.h"

#include "request_head.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http.hpp>

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

// What an idle connection keeps of its buffer: enough for the next request as most are.
constexpr size_t kKeptBufferBytes = 4096;

// How often reading is cancelled after its time is over.
constexpr std::chrono::milliseconds kCancelInterval{10};

using Clock = std::chrono::steady_clock;
using Parser = http::request_parser<http::string_body>;

bool isHttpError(error_code error)
{
    return error.category() == http::make_error_code(http::error::bad_method).category();
}

class HttpConnection : public Connection, public std::enable_shared_from_this<HttpConnection>
{
public:
    HttpConnection(tcp::socket socket, const asio::ip::address& address,
                   std::shared_ptr<ConnectionOwner> owner)
        : mSocket(std::move(socket)),
          mAddress(address),
          mTimer(mSocket.get_executor()),
          mOwner(std::move(owner)),
          mLimits(mOwner->limits()),
          mBuffer(mLimits.readAheadBytes + mLimits.headerBytes)
    {
        mOwner->opened(this);
    }
    ~HttpConnection() override { mOwner->closed(this); }
    HttpConnection(const HttpConnection&) = delete;
    HttpConnection& operator=(const HttpConnection&) = delete;

    void start();
    void close() override;
    std::optional<Clock::time_point> idleSince() const override;
    const asio::ip::address& address() const override { return mAddress; }

private:
    using Expired = void (HttpConnection::*)();
    void armTimer(Clock::duration timeout, Expired expired);
    void disarmTimer();
    void requestTimedOut();

    void waitForRequest();
    void readHeader();
    void headerRead(error_code error, size_t bytes);
    void takeHeader();
    void sendContinue();
    void readBody();
    void dispatch();
    void readFailed(error_code error);
    unsigned int statusOf(error_code error) const;
    size_t lineBytes() const;
    void refuse(unsigned int status);
    void write(Response response);
    void written(error_code error);
    void linger();

    tcp::socket mSocket;
    const asio::ip::address mAddress;
    asio::steady_timer mTimer;
    std::shared_ptr<ConnectionOwner> mOwner;
    const Limits& mLimits;
    boost::beast::flat_buffer mBuffer;
    std::optional<Parser> mParser;
    Request mRequest;
    std::optional<http::response<http::string_body>> mAnswer;
    std::optional<http::response_serializer<http::string_body>> mSerializer;
    std::array<char, 4096> mDiscarded{};
    size_t mLingerBytes = 0;
    std::optional<Clock::time_point> mIdleSince;
    unsigned int mVersion = 11;
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
    mIdleSince.reset();
    mSocket.close(ignored);
}

// A request that has come in, but has not been read yet, is no longer idleness.
std::optional<Clock::time_point> HttpConnection::idleSince() const
{
    error_code ignored;
    return mIdleSince && mSocket.available(ignored) == 0 ? mIdleSince : std::nullopt;
}

void HttpConnection::armTimer(Clock::duration timeout, Expired expired)
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
    // While bytes come in faster than they are read there may be nothing to cancel just now.
    armTimer(kCancelInterval, &HttpConnection::requestTimedOut);
}

void HttpConnection::waitForRequest()
{
    mParser.emplace();
    mParser->header_limit(mLimits.headerBytes);
    mParser->body_limit(mLimits.bodyBytes);
    mIsHead = false;
    mIsTimedOut = false;
    if (mBuffer.size() > 0) { // the next request came with the last one
        readHeader();
        return;
    }
    if (mBuffer.capacity() > kKeptBufferBytes) {
        mBuffer.shrink_to_fit();
    }
    mIdleSince = Clock::now();
    armTimer(mLimits.idleTimeout, &HttpConnection::close);
    mSocket.async_wait(tcp::socket::wait_read, [self = shared_from_this()](error_code error) {
        self->mIdleSince.reset();
        if (!error) {
            self->readHeader();
        }
    });
    mOwner->becameIdle();
}

void HttpConnection::readHeader()
{
    armTimer(mLimits.headerTimeout, &HttpConnection::requestTimedOut);
    http::async_read_header(mSocket, mBuffer, *mParser,
                            [self = shared_from_this()](error_code error, size_t bytes) {
                                self->headerRead(error, bytes);
                            });
}

void HttpConnection::headerRead(error_code error, size_t bytes)
{
    if (error) {
        readFailed(error);
        return;
    }
    takeHeader();
    const unsigned int status = refusalOf(mRequest, mVersion, bytes, mLimits);
    if (status != 0) {
        refuse(status);
    } else if (mParser->is_done()) {
        dispatch();
    } else if (mVersion >= 11 &&
               boost::beast::iequals(findHeader(mRequest.headers, "Expect"), "100-continue")) {
        sendContinue();
    } else {
        readBody();
    }
}

// Trailers, which come behind a body in chunks, are not taken: they could stand for headers that
// have been acted upon.
void HttpConnection::takeHeader()
{
    const auto& header = mParser->get();
    mVersion = header.version();
    mKeepAlive = header.keep_alive();
    mIsHead = header.method() == http::verb::head;
    mRequest = {std::string(header.method_string()), std::string(header.target()), {}, {}};
    for (const auto& field : header) {
        mRequest.headers.push_back({std::string(field.name_string()), std::string(field.value())});
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
    armTimer(mLimits.bodyTimeout, &HttpConnection::requestTimedOut);
    http::async_read(mSocket, mBuffer, *mParser,
                     [self = shared_from_this()](error_code error, size_t /*bytes*/) {
                         if (error) {
                             self->readFailed(error);
                         } else {
                             self->dispatch();
                         }
                     });
}

void HttpConnection::dispatch()
{
    disarmTimer();
    mRequest.target = originForm(mRequest.target);
    mRequest.body = std::move(mParser->get().body());
    mOwner->handle(std::exchange(mRequest, {}), [self = shared_from_this()](Response response) {
        self->write(std::move(response));
    });
}

// A closed or broken connection is not answered; it ends with its last reference.
void HttpConnection::readFailed(error_code error)
{
    const unsigned int status = mIsTimedOut ? kRequestTimeout : statusOf(error);
    if (status != 0) {
        refuse(status);
    }
}

// How to answer a request that could not be read; 0 when there is nobody to answer.
unsigned int HttpConnection::statusOf(error_code error) const
{
    if (error == http::error::end_of_stream || !isHttpError(error)) {
        return 0;
    }
    if (error == http::error::body_limit) {
        return kContentTooLarge;
    }
    if (error == http::error::header_limit) {
        return statusOfTooLong(lineBytes(), mLimits);
    }
    return kBadRequest;
}

// Beast may leave a request line in the buffer until the headers are complete. One that has no end
// there is longer than anything.
size_t HttpConnection::lineBytes() const
{
    const auto& header = mParser->get();
    if (!header.target().empty()) {
        return requestLineBytes(header.method_string(), header.target());
    }
    const auto unread = mBuffer.cdata();
    return std::string_view(static_cast<const char*>(unread.data()), unread.size()).find("\r\n");
}

// What follows a request that cannot be read cannot be told apart: the answer ends the connection.
void HttpConnection::refuse(unsigned int status)
{
    mKeepAlive = false;
    mIsHead = mParser->get().method() == http::verb::head;
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

void startConnection(tcp::socket socket, const asio::ip::address& address,
                     std::shared_ptr<ConnectionOwner> owner)
{
    std::make_shared<HttpConnection>(std::move(socket), address, std::move(owner))->start();
}

} // namespace httpd
