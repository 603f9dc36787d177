#include "CannedServer.h"

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>

namespace {

constexpr int kBacklog = 16;

void require(bool condition, const char* what)
{
    if (!condition) {
        throw std::runtime_error(what);
    }
}

int listenOnUnix(const std::string& path)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    require(path.size() < sizeof address.sun_path, "socket path");
    path.copy(address.sun_path, path.size());
    const int listener = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    require(::bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0, "bind");
    return listener;
}

int listenOnLoopback(int& port)
{
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    require(::bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0, "bind");
    socklen_t length = sizeof address;
    require(::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length) == 0,
            "getsockname");
    port = ntohs(address.sin_port);
    return listener;
}

std::size_t contentLength(const std::string& head)
{
    const std::string name = "Content-Length: ";
    const std::size_t at = head.find(name);
    return at == std::string::npos ? 0 : std::strtoul(head.c_str() + at + name.size(), nullptr, 10);
}

bool sendAll(int connection, const std::string& bytes)
{
    for (std::size_t sent = 0; sent < bytes.size();) {
        const ssize_t count =
            ::send(connection, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (count <= 0) {
            return false;
        }
        sent += static_cast<std::size_t>(count);
    }
    return true;
}

} // namespace

CannedServer::CannedServer(const std::string& socketPath)
    : mListener(socketPath.empty() ? listenOnLoopback(mPort) : listenOnUnix(socketPath))
{
    require(::listen(mListener, kBacklog) == 0, "listen");
    require(::pipe(mStop) == 0, "pipe");
    mThread = std::thread([this] { serve(); });
}

CannedServer::~CannedServer()
{
    ::close(mStop[1]);
    mThread.join();
    ::close(mStop[0]);
    ::close(mListener);
}

void CannedServer::add(Reply reply)
{
    const std::lock_guard lock(mMutex);
    mReplies.push_back(std::move(reply));
}

void CannedServer::addXml(const std::string& body)
{
    add({http("200 OK", "Content-Type: application/xml; charset=\"utf-8\"\r\n", body)});
}

std::vector<std::string> CannedServer::requests()
{
    const std::lock_guard lock(mMutex);
    return mRequests;
}

unsigned CannedServer::connections()
{
    const std::lock_guard lock(mMutex);
    return mConnections;
}

// Whether the descriptor has something to say; false once the test is over.
bool CannedServer::waitFor(int descriptor)
{
    pollfd waited[2] = {{descriptor, POLLIN, 0}, {mStop[0], POLLIN, 0}};
    return ::poll(waited, 2, -1) > 0 && waited[1].revents == 0;
}

void CannedServer::serve()
{
    std::vector<std::thread> serving; // a client may open a connection while it keeps another
    while (waitFor(mListener)) {
        const int connection = ::accept4(mListener, nullptr, nullptr, SOCK_CLOEXEC);
        if (connection >= 0) {
            serving.emplace_back([this, connection] {
                serveConnection(connection);
                ::close(connection);
            });
        }
    }
    for (std::thread& thread : serving) {
        thread.join();
    }
}

bool CannedServer::readRequest(int connection, std::string& request)
{
    request.clear();
    std::size_t wanted = 0;
    while (wanted == 0 || request.size() < wanted) {
        char bytes[4096];
        const ssize_t count = waitFor(connection) ? ::recv(connection, bytes, sizeof bytes, 0) : 0;
        if (count <= 0) {
            return false;
        }
        request.append(bytes, static_cast<std::size_t>(count));
        const std::size_t head = request.find("\r\n\r\n");
        if (head != std::string::npos) {
            wanted = head + 4 + contentLength(request.substr(0, head));
        }
    }
    return true;
}

void CannedServer::serveConnection(int connection)
{
    std::string request;
    for (bool isFirst = true; readRequest(connection, request); isFirst = false) {
        Reply reply = {"", Reply::Then::Close};
        {
            const std::lock_guard lock(mMutex);
            mRequests.push_back(request);
            mConnections += isFirst ? 1 : 0;
            if (!mReplies.empty()) {
                reply = std::move(mReplies.front());
                mReplies.pop_front();
            }
        }
        if (!sendAll(connection, reply.bytes) || reply.then == Reply::Then::Close) {
            return;
        }
        if (reply.then == Reply::Then::Stall) {
            (void)waitFor(connection);
            return;
        }
    }
}

std::string CannedServer::http(const std::string& statusLine, const std::string& headers,
                               const std::string& body)
{
    return "HTTP/1.1 " + statusLine + "\r\n" + headers +
           "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

std::string CannedServer::message(const std::string& operation, const std::string& content)
{
    return R"(<?xml version="1.0" encoding="utf-8"?>)"
           R"(<CIM CIMVERSION="2.0" DTDVERSION="2.0"><MESSAGE ID="4711" PROTOCOLVERSION="1.0">)"
           R"(<SIMPLERSP><IMETHODRESPONSE NAME=")" +
           operation + "\">" + content + "</IMETHODRESPONSE></SIMPLERSP></MESSAGE></CIM>";
}

std::string CannedServer::returning(const std::string& operation, const std::string& objects)
{
    return message(operation, "<IRETURNVALUE>" + objects + "</IRETURNVALUE>");
}
