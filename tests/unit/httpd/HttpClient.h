// A client that says exactly what it is told to, in the thread that also runs the server: while it
// waits, the server works.
#ifndef HTTP_CLIENT_H_
#define HTTP_CLIENT_H_

#include <RunUntil.h>
#include <httpd/server.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// One answer, taken apart.
struct HttpAnswer
{
    std::string statusLine; // "HTTP/1.1 200 OK"
    std::vector<httpd::Header> headers;
    std::string body;

    int status() const;
    std::string header(std::string_view name) const; // "" when there is none
    bool hasHeader(std::string_view name) const;
};

class HttpClient
{
public:
    // Connects from this loopback address, to 127.0.0.1.
    HttpClient(boost::asio::io_context& context, uint16_t port,
               const std::string& from = "127.0.0.1");
    ~HttpClient();
    HttpClient(const HttpClient&) = delete;
    HttpClient& operator=(const HttpClient&) = delete;

    // Sends all of text, or as much of it as the server takes before it closes.
    void send(std::string_view text);

    // Sends as much of text as can be sent without waiting; how much that was.
    size_t sendSome(std::string_view text) const;

    // No more will be sent; answers can still be read.
    void shutdownSend() const;

    // Closes the connection now.
    void close();

    // The next answer. isHead: it has no body, whatever its Content-Length.
    HttpAnswer readAnswer(bool isHead = false);

    // send() and readAnswer().
    HttpAnswer ask(std::string_view text);

    // Whether the server closes the connection, without sending anything more.
    bool isClosedByServer();

    // All bytes until the server closes the connection or resets it.
    std::string readToEnd();

    // Whether there is something to read now, without letting the server work any further.
    bool hasInput();

private:
    void receive();

    boost::asio::io_context& mContext;
    int mSocket;
    std::string mReceived;
    bool mIsClosed = false;
};

#endif
