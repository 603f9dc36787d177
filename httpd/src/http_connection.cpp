// The life of a connection: its steps, its timer, and what it writes.
#include "http_connection.h"

#include "response_head.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/post.hpp>

#include <array>

namespace httpd {

namespace asio = boost::asio;
using asio::ip::tcp;
using boost::system::error_code;

namespace {

std::shared_ptr<const std::string> sharedBodyOf(Response response)
{
    return response.sharedBody == nullptr
               ? std::make_shared<const std::string>(std::move(response.body))
               : std::move(response.sharedBody);
}

} // namespace

void HttpConnection::start()
{
    error_code ignored;
    mSocket.non_blocking(true, ignored);
    // Headers and body go out as two buffers; the second must not wait for an acknowledgement.
    mSocket.set_option(tcp::no_delay(true), ignored);
    mExchange.client = mSocket.remote_endpoint(ignored).address().to_string();
    nextRequest();
}

void HttpConnection::end()
{
    if (mStep == Step::Closed) {
        return;
    }
    if (mStep == Step::Writing) {
        tellOf(false);
    }
    error_code ignored;
    mStep = Step::Closed;
    mClient->closed();
    disarmTimer();
    mSocket.close(ignored);
    mParser.reset();
    mRequest = {};
    mRequestMemory.reset();
    mOwner->closed(this);
}

std::optional<Standing> HttpConnection::standing() const
{
    if (mStep == Step::Writing && Clock::now() - mSince >= mLimits.stallTimeout) {
        return Standing{Standing::Shown::StalledAnswer, mSince};
    }
    switch (mStep) {
    case Step::Head:
        return Standing{Standing::Shown::HalfHead, mSince};
    case Step::Idle:
        return isNewerThan(mLimits.newcomerTime)
                   ? Standing{Standing::Shown::New, mSince, isNewerThan(mLimits.arrivalTime)}
                   : Standing{Standing::Shown::Nothing, mSince};
    case Step::Lingering:
        return Standing{Standing::Shown::LastAnswer, mSince};
    case Step::Body:
    case Step::AwaitsRoom:
        return Standing{Standing::Shown::HalfBody, mSince};
    default:
        return std::nullopt;
    }
}

bool HttpConnection::isNewerThan(Clock::duration time) const
{
    return !mHasAnswered && Clock::now() - mSince < time;
}

bool HttpConnection::hasMoreToShow() const
{
    const bool isReading = mStep != Step::AwaitsRoom && mStep != Step::Writing;
    return isReading && (mIsQueued || hasInput());
}

// The timer keeps the connection alive: one that waits for memory has nothing else.
void HttpConnection::armTimer(Clock::duration timeout, Action expired)
{
    mTimer.expires_after(timeout);
    mTimer.async_wait([self = shared_from_this(), expired](error_code error) {
        // A wait that had ended before it was cancelled comes without an error.
        if (!error && self->mTimer.expiry() <= Clock::now()) {
            self->guarded([&self, expired] { ((*self).*expired)(); });
        }
    });
}

void HttpConnection::disarmTimer()
{
    mTimer.expires_at(Clock::time_point::max());
}

void HttpConnection::requestTimedOut()
{
    refuse(mStep == Step::AwaitsRoom ? kServiceUnavailable : kRequestTimeout);
}

void HttpConnection::nextRequest()
{
    mStep = Step::Idle;
    mSince = Clock::now();
    mSeenBytes = 0;
    mBegun = {};
    mVersion = 11;
    mIsHead = false;
    releaseInput();
    armTimer(mLimits.idleTimeout, &HttpConnection::close);
    if (mBuffer.size() > 0) {
        queueRequest();
    } else {
        awaitInput();
    }
    mOwner->becameIdle();
}

// In a step of its own: a client may have sent hundreds of them with the last one.
void HttpConnection::queueRequest()
{
    asio::post(mSocket.get_executor(), [self = shared_from_this()] {
        self->mIsQueued = false;
        if (self->mStep == Step::Idle) {
            self->guarded([&self] { self->takeHead(); });
        }
    });
    mIsQueued = true;
}

// There is one wait at a time: one that a step has left behind serves the next.
void HttpConnection::awaitInput()
{
    if (mAwaitsInput) {
        return;
    }
    mSocket.async_wait(tcp::socket::wait_read, [self = shared_from_this()](error_code error) {
        self->mAwaitsInput = false;
        if (!error) {
            self->guarded([&self] { self->inputCame(); });
        }
    });
    mAwaitsInput = true;
}

void HttpConnection::inputCame()
{
    switch (mStep) {
    case Step::Idle:
    case Step::Head:
        readHead();
        break;
    case Step::Body:
        readBody();
        break;
    case Step::Lingering:
        linger();
        break;
    default:
        break;
    }
}

bool HttpConnection::hasInput() const
{
    error_code ignored;
    return mSocket.available(ignored) > 0;
}

void HttpConnection::write(Response response)
{
    mExchange.status = response.status;
    mExchange.remark = std::move(response.remark);
    if (mStep != Step::Answering) { // the client has gone
        tellOf(false);
        return;
    }
    const size_t bytes = response.content().size();
    if (!mAnswerMemory.resize(bytes, bytes > kSmallBytes ? Holding::Answer : Holding::Small)) {
        mKeepAlive = false;
        response = mOwner->errorPage(kServiceUnavailable);
        mExchange.status = response.status;
        mExchange.remark = std::move(response.remark);
        mAnswerMemory.force(response.content().size());
    }
    mKeepAlive = mKeepAlive && !mOwner->isStopping();
    mAnswerHead = responseHead(response, mVersion, mKeepAlive);
    mAnswerBody =
        mIsHead || !hasContent(response.status) ? nullptr : sharedBodyOf(std::move(response));
    mWrittenBytes = 0;
    mStep = Step::Writing;
    mSince = Clock::now();
    writeSome();
    if (mStep == Step::Writing) { // which most answers are not any more
        armTimer(mLimits.writeTimeout, &HttpConnection::close);
    }
}

std::string_view HttpConnection::answerBody() const
{
    return mAnswerBody == nullptr ? std::string_view() : *mAnswerBody;
}

void HttpConnection::writeSome()
{
    if (mStep != Step::Writing) {
        return;
    }
    error_code error;
    const size_t before = mWrittenBytes;
    const std::string_view body = answerBody();
    while (!error && mWrittenBytes < mAnswerHead.size() + body.size()) {
        const size_t ofHead = std::min(mWrittenBytes, mAnswerHead.size());
        const std::array<asio::const_buffer, 2> rest = {
            asio::buffer(mAnswerHead) + ofHead, asio::buffer(body) + (mWrittenBytes - ofHead)};
        mWrittenBytes += mSocket.write_some(rest, error);
    }
    mSince = mWrittenBytes > before ? Clock::now() : mSince;
    if (!error) {
        written();
    } else if (error == asio::error::would_block || error == asio::error::interrupted) {
        awaitOutput();
    } else {
        end();
    }
}

void HttpConnection::awaitOutput()
{
    mSocket.async_wait(tcp::socket::wait_write, [self = shared_from_this()](error_code error) {
        if (!error) {
            self->guarded([&self] { self->writeSome(); });
        }
    });
}

void HttpConnection::written()
{
    tellOf(true);
    mAnswerHead = {};
    mAnswerBody.reset();
    mWrittenBytes = 0;
    mAnswerMemory.force(0);
    mHasAnswered = true;
    if (mKeepAlive) {
        nextRequest();
        return;
    }
    error_code ignored;
    mSocket.shutdown(tcp::socket::shutdown_send, ignored);
    mStep = Step::Lingering;
    mSince = Clock::now();
    armTimer(mLimits.lingerTimeout, &HttpConnection::close);
    linger();
}

// Of the request that begins to be answered; one that could not be read has neither.
void HttpConnection::noteRequest()
{
    mExchange.method = mRequest.method;
    mExchange.isHttp10 = mVersion == 10;
    mExchange.target = mRequest.target.substr(0, kNotedTargetBytes);
}

void HttpConnection::tellOf(bool isSent) noexcept
{
    const size_t headBytes = std::min(mWrittenBytes, mAnswerHead.size());
    mExchange.bodyBytes = mWrittenBytes - headBytes;
    mExchange.duration =
        std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - mBegun);
    mExchange.isSent = isSent;
    mOwner->answered(mExchange);
    mExchange.method.clear();
    mExchange.target.clear();
}

// What is read here is not looked at; connections run one at a time.
void HttpConnection::linger()
{
    static std::array<char, size_t{16} * 1024> discarded;
    error_code error;
    mLingerBytes += mSocket.read_some(asio::buffer(discarded), error);
    const bool isDone = error && error != asio::error::would_block;
    if (isDone || mLingerBytes >= mLimits.lingerBytes) {
        end();
    } else {
        awaitInput();
    }
}

void startConnection(tcp::socket socket, const std::string& share,
                     std::shared_ptr<ConnectionOwner> owner)
{
    std::make_shared<HttpConnection>(std::move(socket), share, std::move(owner))->start();
}

} // namespace httpd
