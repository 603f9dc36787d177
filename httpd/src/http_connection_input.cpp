// What a connection reads: heads, bodies, and what is wrong with them.
#include "http_connection.h"
#include "request_head.h"

#include <boost/asio/buffer.hpp>

#include <algorithm>
#include <span>

namespace httpd {

namespace asio = boost::asio;
using boost::system::error_code;

namespace {

// What is read of a head at a time: most are smaller.
constexpr size_t kHeadPieceBytes = 4096;

// What the headers of a request take, their text and its bookkeeping.
size_t memoryOf(const Request& request)
{
    size_t bytes = sizeof(Request) + request.method.size() + request.target.size();
    for (const Header& header : request.headers) {
        bytes += sizeof(Header) + header.name.size() + header.value.size();
    }
    return bytes;
}

} // namespace

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
    mBegun = mBegun == Clock::time_point() ? Clock::now() : mBegun;
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
    mParser = std::make_unique<RequestParser>(mLimits);
    if (const unsigned int status = mParser->putHead({head.data(), head.size()})) {
        refuse(status);
        return;
    }
    mBuffer.consume(bytes);
    mRequest = mParser->takeRequest();
    mVersion = mParser->version();
    mKeepAlive = mParser->isKeptAlive();
    mIsHead = mParser->isHeadRequest();
    noteRequest();
    judge();
}

void HttpConnection::judge()
{
    const unsigned int status = refusalOf(mRequest, mVersion, !mParser->isDone(), mLimits);
    if (status != 0) {
        refuse(status);
        return;
    }
    mRequest.target = originForm(mRequest.target);
    mRequestMemory = std::make_shared<MemoryShare>(mOwner->budget());
    mHeadMemory = memoryOf(mRequest);
    if (!mRequestMemory->resize(mHeadMemory, Holding::Small)) {
        refuse(kServiceUnavailable);
    } else if (mParser->isDone()) {
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
    size_t used = 0;
    const unsigned int status = mParser->putBody(unread(), used);
    mBuffer.consume(used);
    if (mParser->isDone()) {
        dispatch();
    } else if (status != 0) {
        refuse(status);
    } else {
        awaitInput();
    }
}

// A body that turns out to be a large one takes all the room it may need before it is read on: with
// half of it each, many could wait for each other.
bool HttpConnection::hasRoomForBody()
{
    const size_t come = mParser->body().size() + mBuffer.size();
    const uint64_t announced = mParser->announcedBytes().value_or(mLimits.bodyBytes);
    const auto whole = static_cast<size_t>(std::min<uint64_t>(announced, mLimits.bodyBytes));
    if (std::min(come, whole) <= kSmallBytes) {
        return mRequestMemory->resize(mHeadMemory + std::min(whole, kSmallBytes), Holding::Small);
    }
    return mRequestMemory->resize(mHeadMemory + whole, Holding::LargeBody);
}

// By doubling, but never beyond what the body was given room for.
void HttpConnection::growBody()
{
    std::string& body = mParser->body();
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
    mRequest.body = std::move(mParser->body());
    mParser.reset();
    releaseInput();
    mRequestMemory->force(mHeadMemory + mRequest.body.size());
    mRequest.client = mClient;
    mRequest.memory = std::exchange(mRequestMemory, nullptr);
    mOwner->handle(std::exchange(mRequest, {}), [self = shared_from_this()](Response response) {
        self->guarded([&self, &response] { self->write(std::move(response)); });
    });
}

// What follows a request that cannot be read cannot be told apart: the answer ends the connection.
void HttpConnection::refuse(unsigned int status)
{
    mIsHead = mParser ? mParser->isHeadRequest() : unread().starts_with("HEAD ");
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

} // namespace httpd
