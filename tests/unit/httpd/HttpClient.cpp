#include "HttpClient.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdlib>

namespace {

constexpr std::string_view kLineEnd = "\r\n";
constexpr std::string_view kHeaderEnd = "\r\n\r\n";

HttpAnswer parseHead(std::string_view head)
{
    HttpAnswer answer;
    size_t end = head.find(kLineEnd);
    answer.statusLine = head.substr(0, end);
    while (end != std::string_view::npos) {
        head.remove_prefix(end + kLineEnd.size());
        end = head.find(kLineEnd);
        const std::string_view line = head.substr(0, end);
        const size_t colon = line.find(": ");
        if (colon == std::string_view::npos) {
            ADD_FAILURE() << "no header: " << line;
            continue;
        }
        answer.headers.push_back(
            {std::string(line.substr(0, colon)), std::string(line.substr(colon + 2))});
    }
    return answer;
}

sockaddr loopback(const std::string& host, uint16_t port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    EXPECT_EQ(inet_pton(AF_INET, host.c_str(), &address.sin_addr), 1);
    sockaddr generic{};
    static_assert(sizeof generic == sizeof address);
    std::memcpy(&generic, &address, sizeof address);
    return generic;
}

} // namespace

int HttpAnswer::status() const
{
    const size_t blank = statusLine.find(' ');
    return blank == std::string::npos ? 0 : std::stoi(statusLine.substr(blank));
}

std::string HttpAnswer::header(std::string_view name) const
{
    return std::string(httpd::findHeader(headers, name));
}

bool HttpAnswer::hasHeader(std::string_view name) const
{
    for (const httpd::Header& one : headers) {
        if (httpd::findHeader({{one.name, "there"}}, name) == "there") {
            return true;
        }
    }
    return false;
}

HttpClient::HttpClient(boost::asio::io_context& context, uint16_t port, const std::string& from)
    : mContext(context), mSocket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    const sockaddr own = loopback(from, 0);
    EXPECT_EQ(bind(mSocket, &own, sizeof own), 0);
    // The listener's backlog takes the connection; the server accepts it when it runs.
    const sockaddr server = loopback("127.0.0.1", port);
    EXPECT_EQ(connect(mSocket, &server, sizeof server), 0);
}

HttpClient::~HttpClient()
{
    close();
}

void HttpClient::send(std::string_view text)
{
    EXPECT_TRUE(runUntil(mContext,
                         [&] {
                             const ssize_t sent = ::send(mSocket, text.data(), text.size(),
                                                         MSG_DONTWAIT | MSG_NOSIGNAL);
                             if (sent > 0) {
                                 text.remove_prefix(static_cast<size_t>(sent));
                             }
                             const bool isRefused = sent < 0 && errno != EAGAIN;
                             receive();
                             return text.empty() || isRefused;
                         }))
        << text.size() << " bytes not taken";
}

size_t HttpClient::sendSome(std::string_view text) const
{
    const ssize_t sent = ::send(mSocket, text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    return sent < 0 ? 0 : static_cast<size_t>(sent);
}

void HttpClient::shutdownSend() const
{
    shutdown(mSocket, SHUT_WR);
}

void HttpClient::close()
{
    if (mSocket >= 0) {
        ::close(std::exchange(mSocket, -1));
    }
}

void HttpClient::receive()
{
    std::array<char, 65536> buffer{};
    while (!mIsClosed) {
        const ssize_t got = recv(mSocket, buffer.data(), buffer.size(), MSG_DONTWAIT);
        if (got < 0 && errno == EAGAIN) {
            return;
        }
        if (got <= 0) {
            mIsClosed = true;
        } else {
            mReceived.append(buffer.data(), static_cast<size_t>(got));
        }
    }
}

HttpAnswer HttpClient::readAnswer(bool isHead)
{
    size_t headEnd = std::string::npos;
    EXPECT_TRUE(runUntil(mContext, [&] {
        receive();
        headEnd = mReceived.find(kHeaderEnd);
        return headEnd != std::string::npos || mIsClosed;
    }));
    if (headEnd == std::string::npos) {
        ADD_FAILURE() << "no answer, but: " << mReceived;
        return {};
    }
    HttpAnswer answer = parseHead(std::string_view(mReceived).substr(0, headEnd));
    mReceived.erase(0, headEnd + kHeaderEnd.size());
    const std::string length = answer.header("Content-Length");
    const size_t bodyBytes = isHead || length.empty() ? 0 : std::stoul(length);
    EXPECT_TRUE(runUntil(mContext, [&] {
        receive();
        return mReceived.size() >= bodyBytes || mIsClosed;
    }));
    answer.body = mReceived.substr(0, bodyBytes);
    EXPECT_EQ(answer.body.size(), bodyBytes);
    mReceived.erase(0, bodyBytes);
    return answer;
}

HttpAnswer HttpClient::ask(std::string_view text)
{
    send(text);
    return readAnswer();
}

bool HttpClient::isClosedByServer()
{
    const bool isClosed = runUntil(mContext, [&] {
        receive();
        return mIsClosed;
    });
    EXPECT_EQ(mReceived, "");
    return isClosed;
}

std::string HttpClient::readToEnd()
{
    EXPECT_TRUE(runUntil(mContext, [&] {
        receive();
        return mIsClosed;
    }));
    return std::exchange(mReceived, {});
}

bool HttpClient::hasInput()
{
    receive();
    return !mReceived.empty() || mIsClosed;
}
