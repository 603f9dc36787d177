// A client's connection, fed with any bytes in pieces of any size, while the client reads what it
// is answered, or a part of it, or nothing. What comes back is HTTP and nothing else.
//
// An input is a sequence of steps: a byte that says what to do and how much of it, and the bytes to
// be sent, if it says so.
#include "checks.h"

#include <boost/asio/io_context.hpp>
#include <connection.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace {

using boost::asio::ip::tcp;

// What is sent and received at a time by the server, small enough to be filled by an input.
constexpr int kSocketBytes = 4096;
constexpr size_t kLargeAnswerBytes = 40000;

httpd::Limits smallLimits()
{
    httpd::Limits limits;
    limits.requestLineBytes = 256;
    limits.headerBytes = 512;
    limits.headerCount = 8;
    limits.bodyBytes = size_t{64} * 1024;
    limits.readAheadBytes = 128;
    limits.clientMemoryBytes = size_t{72} * 1024; // less than what connection, body and answer want
    return limits;
}

// A server of one connection: it answers at once, later or never, as the target says.
class OneConnection : public httpd::ConnectionOwner
{
public:
    explicit OneConnection(const std::shared_ptr<httpd::MemoryBudget>& budget) : mBudget(budget) {}

    void handle(httpd::Request request, httpd::Reply reply) override;
    std::optional<httpd::Response> judgeHead(const httpd::Request& request) override
    {
        return request.target == "/judged" ? std::optional(page(405)) : std::nullopt;
    }
    httpd::Response errorPage(unsigned int status) override { return page(status); }
    void answered(const httpd::Exchange& /*exchange*/) noexcept override {}
    const httpd::Limits& limits() const override { return mLimits; }
    const std::shared_ptr<httpd::MemoryBudget>& budget() const override { return mBudget; }
    bool isStopping() const override { return false; }
    void opened(httpd::Connection* connection) override { mConnection = connection; }
    void becameIdle() override {}
    void awaitRoom(httpd::Connection* connection) override
    {
        fuzz::require(connection == mConnection && !mAwaitsRoom, "a connection waits once");
        mAwaitsRoom = true;
    }
    void closed(httpd::Connection* /*connection*/) noexcept override { mConnection = nullptr; }

    void answerNext();
    void makeRoom();
    void close();
    bool isOpen() const { return mConnection != nullptr; }

private:
    static httpd::Response page(unsigned int status) { return {status, {}, "page"}; }

    const httpd::Limits mLimits = smallLimits();
    std::shared_ptr<httpd::MemoryBudget> mBudget;
    httpd::Connection* mConnection = nullptr;
    httpd::Reply mReply;
    bool mAwaitsRoom = false;
};

void OneConnection::handle(httpd::Request request, httpd::Reply reply)
{
    fuzz::require(!request.target.empty() && !request.method.empty(), "a request is a request");
    fuzz::require(request.body.size() <= mLimits.bodyBytes, "a body is within its limit");
    fuzz::require(request.headers.size() <= mLimits.headerCount, "headers are within their limit");
    fuzz::require(!mReply, "one request of a connection is answered at a time");
    if (request.target.starts_with("/later")) {
        mReply = std::move(reply);
    } else if (request.target.starts_with("/never")) {
        return;
    } else {
        const bool isLarge = request.target.starts_with("/large");
        reply({200, {{"X-Target", "some"}}, std::string(isLarge ? kLargeAnswerBytes : 5, 'x')});
    }
}

void OneConnection::answerNext()
{
    if (const httpd::Reply reply = std::exchange(mReply, nullptr)) {
        reply({200, {}, "later"});
    }
}

void OneConnection::makeRoom()
{
    if (mAwaitsRoom && mConnection != nullptr && mConnection->takeRoom()) {
        mAwaitsRoom = false;
        mConnection->goOn();
    }
}

void OneConnection::close()
{
    mReply = nullptr;
    if (mConnection != nullptr) {
        mConnection->close();
    }
}

// The client's end of the connection.
class Peer
{
public:
    explicit Peer(int socket) : mSocket(socket) {}
    ~Peer() { (void)::close(mSocket); }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    void send(std::string_view text) const
    {
        (void)::send(mSocket, text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    }
    void endSending() const { (void)shutdown(mSocket, SHUT_WR); }

    // Whether there was something to read.
    bool read(size_t bytes)
    {
        static std::array<char, 65536> buffer;
        const ssize_t got =
            recv(mSocket, buffer.data(), std::min(bytes, buffer.size()), MSG_DONTWAIT);
        if (got > 0) {
            mReceived.append(buffer.data(), static_cast<size_t>(got));
        }
        return got > 0;
    }
    const std::string& received() const { return mReceived; }

private:
    const int mSocket;
    std::string mReceived;
};

bool isStatusLine(std::string_view line)
{
    constexpr size_t kStatusAt = 9;
    return line.size() >= kStatusAt + 4 &&
           (line.starts_with("HTTP/1.1 ") || line.starts_with("HTTP/1.0 ")) &&
           line[kStatusAt] >= '1' && line[kStatusAt] <= '5' && line[kStatusAt + 3] == ' ';
}

// The length of the body behind a head; an interim answer and an answer to HEAD have none.
size_t bodyLength(std::string_view head)
{
    constexpr std::string_view kLength = "\r\nContent-Length: ";
    const size_t at = head.find(kLength);
    return at == std::string_view::npos ? 0
                                        : std::stoul(std::string(head.substr(at + kLength.size())));
}

// Answers follow each other without a byte between them; the last one may be cut off. An answer to
// HEAD has a length and no body: the next one begins where it would.
void requireAnswers(std::string_view text)
{
    constexpr std::string_view kHeadEnd = "\r\n\r\n";
    size_t end = text.find(kHeadEnd);
    while (end != std::string_view::npos) {
        const std::string_view head = text.substr(0, end + 2);
        fuzz::require(isStatusLine(head.substr(0, head.find("\r\n"))), "an answer begins as such");
        text.remove_prefix(end + kHeadEnd.size());
        const bool hasBody = !text.starts_with("HTTP/1.");
        text.remove_prefix(hasBody ? std::min(bodyLength(head), text.size()) : 0);
        end = text.find(kHeadEnd);
    }
}

// The steps of an input, one after the other.
class Session
{
public:
    Session(boost::asio::io_context& context, OneConnection& server, int client)
        : mContext(context), mServer(server), mPeer(client)
    {}

    void run(std::string_view input)
    {
        while (!input.empty()) {
            const auto step = static_cast<uint8_t>(input.front());
            input.remove_prefix(1);
            take(step, input);
            work();
        }
        mPeer.endSending();
        do {
            mServer.answerNext();
            work();
        } while (mPeer.read(SIZE_MAX));
        requireAnswers(mPeer.received());
    }

private:
    // The two highest bits say what is done, the others how much of it.
    void take(uint8_t step, std::string_view& input)
    {
        const size_t amount = step & 0x3fU;
        switch (step >> 6U) {
        case 0:
        case 1: {
            // A piece; a large one where all bits are set.
            const size_t bytes = amount == 0x3fU ? input.size() : amount + 1;
            mPeer.send(input.substr(0, bytes));
            input.remove_prefix(std::min(bytes, input.size()));
            break;
        }
        case 2:
            (void)mPeer.read((amount + 1) * 1024);
            break;
        default:
            mServer.answerNext();
            mServer.makeRoom();
            break;
        }
    }

    void work()
    {
        mContext.restart();
        (void)mContext.poll();
    }

    boost::asio::io_context& mContext;
    OneConnection& mServer;
    Peer mPeer;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static boost::asio::io_context context{1};
    const auto budget = std::make_shared<httpd::MemoryBudget>(smallLimits().clientMemoryBytes);
    {
        std::array<int, 2> sockets{};
        fuzz::require(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets.data()) == 0,
                      "there are sockets");
        (void)setsockopt(sockets[0], SOL_SOCKET, SO_SNDBUF, &kSocketBytes, sizeof kSocketBytes);
        const auto server = std::make_shared<OneConnection>(budget);
        httpd::startConnection(tcp::socket(context, tcp::v4(), sockets[0]), "client", server);
        Session(context, *server, sockets[1]).run({reinterpret_cast<const char*>(data), size});
        server->close();
    }
    context.restart();
    (void)context.poll(); // what was cancelled lets go of the connection
    fuzz::require(budget->held() == 0, "all memory of a client is given back");
    return 0;
}
