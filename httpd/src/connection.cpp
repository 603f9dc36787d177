// The only translation unit that instantiates Beast's templates.
//
// Nothing here leaves an allocation to a library's own steps between two handlers: where memory
// runs out it must be this connection that ends. Hence sockets are waited for, and read and written
// where guarded() stands around it.
#include "connection.h"

#include "client_presence.h"
#include "request_head.h"
#include "response_head.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/parser.hpp>

#include <array>
#include <new>
#include <string_view>

namespace httpd {

namespace asio = boost::asio;
namespace http = boost::beast::http;
using asio::ip::tcp;
using boost::system::error_code;

namespace {

using Clock = std::chrono::steady_clock;

// What is read of a head at a time: most are smaller.
constexpr size_t kHeadPieceBytes = 4096;

// A body or an answer that is no larger than this takes memory as a head does.
constexpr size_t kSmallBytes = size_t{16} * 1024;

// What an open connection costs before anything is read: itself, its socket and its timer.
constexpr size_t kConnectionBytes = 2048;

// A body as it is put together. Unlike Beast's own it takes no memory for what was only announced.
struct GrowingBody
{
    using value_type = std::string;

    class reader
    {
    public:
        template <bool kIsRequest, class Fields>
        reader(http::header<kIsRequest, Fields>& /*header*/, value_type& body) : mBody(body)
        {}

        void init(const boost::optional<uint64_t>& /*length*/, error_code& error) { error = {}; }

        size_t put(const asio::const_buffer& piece, error_code& error)
        {
            error = {};
            mBody.append(static_cast<const char*>(piece.data()), piece.size());
            return piece.size();
        }

        void finish(error_code& error) { error = {}; }

    private:
        value_type& mBody;
    };
};

using Parser = http::request_parser<GrowingBody>;

// What the headers of a request take, their text and its bookkeeping.
size_t memoryOf(const Request& request)
{
    size_t bytes = sizeof(Request) + request.method.size() + request.target.size();
    for (const Header& header : request.headers) {
        bytes += sizeof(Header) + header.name.size() + header.value.size();
    }
    return bytes;
}

// Whoever is at the other end, also once the connection is no more.
class ConnectedClient : public Client
{
public:
    ConnectedClient(int socket, std::string share) : mSocket(socket), mShare(std::move(share)) {}

    bool hasGone() const override { return mSocket < 0 || hasClientGone(mSocket); }
    const std::string& share() const override { return mShare; }
    void closed() { mSocket = -1; }

private:
    int mSocket;
    const std::string mShare;
};

class HttpConnection : public Connection, public std::enable_shared_from_this<HttpConnection>
{
public:
    HttpConnection(tcp::socket socket, const std::string& share,
                   std::shared_ptr<ConnectionOwner> owner)
        : mSocket(std::move(socket)),
          mTimer(mSocket.get_executor()),
          mOwner(std::move(owner)),
          mLimits(mOwner->limits()),
          mClient(std::make_shared<ConnectedClient>(mSocket.native_handle(), share)),
          mBuffer(mLimits.headerBytes + mLimits.readAheadBytes),
          mInputMemory(mOwner->budget()),
          mAnswerMemory(mOwner->budget())
    {
        mInputMemory.force(kConnectionBytes);
        mOwner->opened(this);
    }
    ~HttpConnection() override { end(); }
    HttpConnection(const HttpConnection&) = delete;
    HttpConnection& operator=(const HttpConnection&) = delete;

    void start();
    void close() override { end(); }
    std::optional<Standing> standing() const override;
    bool isIdle() const override { return mStep == Step::Idle && !hasInput(); }
    bool takeRoom() override { return mStep != Step::AwaitsRoom || hasRoomForBody(); }
    void goOn() override;
    const std::string& share() const override { return mClient->share(); }

private:
    enum class Step { Idle, Head, Body, AwaitsRoom, Answering, Writing, Lingering, Closed };
    using Action = void (HttpConnection::*)();

    template <typename Guarded>
    void guarded(Guarded action);
    void end();
    void armTimer(Clock::duration timeout, Action expired);
    void disarmTimer();
    void requestTimedOut();

    void nextRequest();
    void awaitInput();
    void inputCame();
    bool hasInput() const;
    bool readSome(size_t bytes);
    void inputEnded();
    std::string_view unread() const;
    void releaseInput();

    void readHead();
    void takeHead();
    void awaitRestOfHead();
    void parseHead(size_t bytes);
    void takeHeader();
    void judge();
    void beginBody();
    bool sendContinue();
    void readBody();
    void takeBody();
    bool hasRoomForBody();
    void growBody();
    void dispatch();
    unsigned int statusOf(error_code error) const;
    void refuse(unsigned int status);
    void respond(Response response);

    void write(Response response);
    void writeSome();
    void written();
    void linger();

    tcp::socket mSocket;
    asio::steady_timer mTimer;
    std::shared_ptr<ConnectionOwner> mOwner;
    const Limits& mLimits;
    std::shared_ptr<ConnectedClient> mClient;
    Step mStep = Step::Idle;
    Clock::time_point mSince = Clock::now(); // when the step began that standing() tells of
    boost::beast::flat_buffer mBuffer;
    size_t mSeenBytes = 0; // of a head in the buffer: the end is not among them
    MemoryShare mInputMemory;
    std::optional<Parser> mParser;
    Request mRequest;
    size_t mHeadMemory = 0;
    std::shared_ptr<MemoryShare> mRequestMemory;
    std::string mAnswerHead;
    std::string mAnswerBody;
    size_t mWrittenBytes = 0;
    MemoryShare mAnswerMemory;
    size_t mLingerBytes = 0;
    unsigned int mVersion = 11;
    bool mKeepAlive = false;
    bool mIsHead = false;
    bool mAwaitsInput = false;
    bool mIsQueued = false; // the next request came with the last one
};

// Every handler of a connection runs in here, and so do those of the server's user that it calls:
// an allocation that fails ends the connection that it was for.
template <typename Guarded>
void HttpConnection::guarded(Guarded action)
{
    try {
        action();
    } catch (const std::bad_alloc&) {
        end();
    }
}

void HttpConnection::start()
{
    error_code ignored;
    mSocket.non_blocking(true, ignored);
    // Headers and body go out as two buffers; the second must not wait for an acknowledgement.
    mSocket.set_option(tcp::no_delay(true), ignored);
    nextRequest();
}

void HttpConnection::end()
{
    if (mStep == Step::Closed) {
        return;
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
    if (mIsQueued || (mStep != Step::AwaitsRoom && hasInput())) {
        return std::nullopt;
    }
    switch (mStep) {
    case Step::Head:
        return Standing{Standing::Shown::HalfHead, mSince};
    case Step::Idle:
        return Standing{Standing::Shown::Nothing, mSince};
    case Step::Lingering:
        return Standing{Standing::Shown::LastAnswer, mSince};
    case Step::Body:
    case Step::AwaitsRoom:
        return Standing{Standing::Shown::HalfBody, mSince};
    default:
        return std::nullopt;
    }
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
    mVersion = 11;
    mIsHead = false;
    releaseInput();
    armTimer(mLimits.idleTimeout, &HttpConnection::close);
    if (mBuffer.size() > 0) {
        mIsQueued = true;
        asio::post(mSocket.get_executor(), [self = shared_from_this()] {
            self->mIsQueued = false;
            if (self->mStep == Step::Idle) {
                self->guarded([&self] { self->takeHead(); });
            }
        });
    } else {
        awaitInput();
    }
    mOwner->becameIdle();
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

// Reads what there is, up to so many bytes; false when the connection has to wait or has ended.
bool HttpConnection::readSome(size_t bytes)
{
    error_code error;
    const size_t got = mSocket.read_some(mBuffer.prepare(bytes), error);
    if (error == asio::error::would_block || error == asio::error::interrupted) {
        awaitInput();
        return false;
    }
    if (error) {
        inputEnded();
        return false;
    }
    mBuffer.commit(got);
    return true;
}

// A request that stays unfinished is answered: the client may still read.
void HttpConnection::inputEnded()
{
    if (mStep == Step::Body || mBuffer.size() > 0) {
        refuse(kBadRequest);
    } else {
        end();
    }
}

std::string_view HttpConnection::unread() const
{
    const auto data = mBuffer.cdata();
    return {static_cast<const char*>(data.data()), data.size()};
}

// Buffers are not kept for requests to come: thousands of them would be what one burst leaves.
void HttpConnection::releaseInput()
{
    mBuffer.shrink_to_fit();
    mInputMemory.force(kConnectionBytes + mBuffer.capacity());
}

void HttpConnection::readHead()
{
    const size_t bytes = std::min(kHeadPieceBytes, mBuffer.max_size() - mBuffer.size());
    const size_t capacity = std::max(mBuffer.capacity(), 2 * mBuffer.size() + bytes);
    if (!mInputMemory.resize(kConnectionBytes + capacity, Holding::Small)) {
        refuse(kServiceUnavailable);
    } else if (readSome(bytes)) {
        takeHead();
    }
}

void HttpConnection::takeHead()
{
    if (mStep == Step::Idle) {
        mBuffer.consume(leadingLineEnds(unread()));
        if (unread().empty() || unread() == "\r") {
            awaitInput();
            return;
        }
    }
    const size_t bytes = headBytes(unread(), mSeenBytes);
    mSeenBytes = mBuffer.size();
    if (bytes > 0) {
        parseHead(bytes);
    } else if (mBuffer.size() >= mLimits.headerBytes) {
        refuse(statusOfTooLong(unread(), mLimits));
    } else {
        awaitRestOfHead();
    }
}

// Most heads come whole and need no time of their own.
void HttpConnection::awaitRestOfHead()
{
    if (mStep == Step::Idle) {
        mStep = Step::Head;
        mSince = Clock::now();
        armTimer(mLimits.headerTimeout, &HttpConnection::requestTimedOut);
    }
    awaitInput();
}

void HttpConnection::parseHead(size_t bytes)
{
    const std::span<char> head(static_cast<char*>(mBuffer.data().data()), bytes);
    if (const unsigned int status = refusalOfText(head, mLimits)) {
        refuse(status);
        return;
    }
    mParser.emplace();
    mParser->header_limit(static_cast<uint32_t>(bytes) + 1);
    mParser->body_limit(mLimits.bodyBytes);
    error_code error;
    mBuffer.consume(mParser->put(asio::buffer(head.data(), head.size()), error));
    if (error || !mParser->is_header_done()) {
        refuse(statusOf(error));
        return;
    }
    takeHeader();
    judge();
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

void HttpConnection::judge()
{
    const unsigned int status = refusalOf(mRequest, mVersion, !mParser->is_done(), mLimits);
    if (status != 0) {
        refuse(status);
        return;
    }
    mRequest.target = originForm(mRequest.target);
    mRequestMemory = std::make_shared<MemoryShare>(mOwner->budget());
    mHeadMemory = memoryOf(mRequest);
    if (!mRequestMemory->resize(mHeadMemory, Holding::Small)) {
        refuse(kServiceUnavailable);
    } else if (mParser->is_done()) {
        dispatch();
    } else {
        beginBody();
    }
}

void HttpConnection::beginBody()
{
    if (expectsContinue(mRequest, mVersion)) {
        if (std::optional<Response> refusal = mOwner->judgeHead(mRequest)) {
            respond(std::move(*refusal));
            return;
        }
        if (!sendContinue()) {
            end();
            return;
        }
    }
    mStep = Step::Body;
    mSince = Clock::now();
    mParser->eager(true);
    armTimer(mLimits.bodyTimeout, &HttpConnection::requestTimedOut);
    takeBody();
}

// Without waiting: a client that has not even room for this has not read what it got before.
bool HttpConnection::sendContinue()
{
    static constexpr std::string_view kContinue = "HTTP/1.1 100 Continue\r\n\r\n";
    error_code error;
    return mSocket.write_some(asio::buffer(kContinue), error) == kContinue.size();
}

void HttpConnection::readBody()
{
    const size_t bytes = std::min(mLimits.readAheadBytes, mBuffer.max_size() - mBuffer.size());
    if (bytes == 0) { // a chunk's extension without end
        refuse(kBadRequest);
        return;
    }
    const size_t capacity = std::max(mBuffer.capacity(), 2 * mBuffer.size() + bytes);
    if (!mInputMemory.resize(kConnectionBytes + capacity, Holding::Small)) {
        refuse(kServiceUnavailable);
    } else if (readSome(bytes)) {
        takeBody();
    }
}

void HttpConnection::takeBody()
{
    if (!hasRoomForBody()) {
        mStep = Step::AwaitsRoom;
        mOwner->awaitRoom(this);
        return;
    }
    growBody();
    error_code error;
    size_t used = 1;
    while (mBuffer.size() > 0 && !mParser->is_done() && !error && used > 0) {
        used = mParser->put(mBuffer.data(), error);
        mBuffer.consume(used);
    }
    if (mParser->is_done()) {
        dispatch();
    } else if (error && error != http::error::need_more) {
        refuse(statusOf(error));
    } else {
        awaitInput();
    }
}

// A body that turns out to be a large one takes all the room it may need before it is read on: with
// half of it each, many could wait for each other.
bool HttpConnection::hasRoomForBody()
{
    const size_t come = mParser->get().body().size() + mBuffer.size();
    const size_t whole = mParser->content_length().value_or(mLimits.bodyBytes);
    if (std::min(come, whole) <= kSmallBytes) {
        return mRequestMemory->resize(mHeadMemory + std::min(whole, kSmallBytes), Holding::Small);
    }
    return mRequestMemory->resize(mHeadMemory + whole, Holding::LargeBody);
}

// By doubling, but never beyond what the body was given room for.
void HttpConnection::growBody()
{
    std::string& body = mParser->get().body();
    const size_t needed = body.size() + mBuffer.size();
    const size_t room = mRequestMemory->bytes() - mHeadMemory;
    if (needed > body.capacity()) {
        body.reserve(std::min(std::max(needed, 2 * body.capacity()), room));
    }
}

// One that was refused meanwhile has nothing to go on with.
void HttpConnection::goOn()
{
    if (mStep != Step::AwaitsRoom) {
        return;
    }
    guarded([this] {
        mStep = Step::Body;
        takeBody();
    });
}

void HttpConnection::dispatch()
{
    mStep = Step::Answering;
    disarmTimer();
    mRequest.body = std::move(mParser->get().body());
    mParser.reset();
    releaseInput();
    mRequestMemory->force(mHeadMemory + mRequest.body.size());
    mRequest.client = mClient;
    mRequest.memory = std::exchange(mRequestMemory, nullptr);
    mOwner->handle(std::exchange(mRequest, {}), [self = shared_from_this()](Response response) {
        self->guarded([&self, &response] { self->write(std::move(response)); });
    });
}

// How to answer a request that could not be read.
unsigned int HttpConnection::statusOf(error_code error) const
{
    return error == http::error::body_limit ? kContentTooLarge : kBadRequest;
}

// What follows a request that cannot be read cannot be told apart: the answer ends the connection.
void HttpConnection::refuse(unsigned int status)
{
    mIsHead = mParser ? mParser->get().method() == http::verb::head : unread().starts_with("HEAD ");
    respond(mOwner->errorPage(status));
}

void HttpConnection::respond(Response response)
{
    mKeepAlive = false;
    mParser.reset();
    mRequest = {};
    mRequestMemory.reset();
    mBuffer.clear();
    releaseInput();
    mStep = Step::Answering;
    write(std::move(response));
}

void HttpConnection::write(Response response)
{
    if (mStep != Step::Answering) {
        return;
    }
    const size_t bytes = response.body.size();
    if (!mAnswerMemory.resize(bytes, bytes > kSmallBytes ? Holding::Answer : Holding::Small)) {
        mKeepAlive = false;
        response = mOwner->errorPage(kServiceUnavailable);
        mAnswerMemory.force(response.body.size());
    }
    mKeepAlive = mKeepAlive && !mOwner->isStopping();
    mAnswerHead = responseHead(response, mVersion, mKeepAlive);
    mAnswerBody = mIsHead || !hasContent(response.status) ? "" : std::move(response.body);
    mWrittenBytes = 0;
    mStep = Step::Writing;
    mSince = Clock::now();
    writeSome();
    if (mStep == Step::Writing) { // which most answers are not any more
        armTimer(mLimits.writeTimeout, &HttpConnection::close);
    }
}

void HttpConnection::writeSome()
{
    if (mStep != Step::Writing) {
        return;
    }
    error_code error;
    const size_t before = mWrittenBytes;
    while (!error && mWrittenBytes < mAnswerHead.size() + mAnswerBody.size()) {
        const size_t ofHead = std::min(mWrittenBytes, mAnswerHead.size());
        const std::array<asio::const_buffer, 2> rest = {asio::buffer(mAnswerHead) + ofHead,
                                                        asio::buffer(mAnswerBody) +
                                                            (mWrittenBytes - ofHead)};
        mWrittenBytes += mSocket.write_some(rest, error);
    }
    mSince = mWrittenBytes > before ? Clock::now() : mSince;
    if (!error) {
        written();
    } else if (error == asio::error::would_block || error == asio::error::interrupted) {
        mSocket.async_wait(tcp::socket::wait_write,
                           [self = shared_from_this()](error_code waitError) {
                               if (!waitError) {
                                   self->guarded([&self] { self->writeSome(); });
                               }
                           });
    } else {
        end();
    }
}

void HttpConnection::written()
{
    mAnswerHead = {};
    mAnswerBody = {};
    mAnswerMemory.force(0);
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

} // namespace

void startConnection(tcp::socket socket, const std::string& share,
                     std::shared_ptr<ConnectionOwner> owner)
{
    std::make_shared<HttpConnection>(std::move(socket), share, std::move(owner))->start();
}

} // namespace httpd
