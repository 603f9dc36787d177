// A server on the loopback that answers each request with what a test has laid down.
#ifndef TESTS_CANNED_SERVER_H_
#define TESTS_CANNED_SERVER_H_

#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

class CannedServer
{
public:
    struct Reply
    {
        std::string bytes;
        // What comes behind the bytes: the next request, the end of the connection, or silence
        // until the client gives up.
        enum class Then { Next, Close, Stall } then = Then::Next;
    };

    // On a free port of the loopback, or on a Unix socket at that path.
    explicit CannedServer(const std::string& socketPath = "");
    ~CannedServer();
    CannedServer(const CannedServer&) = delete;
    CannedServer& operator=(const CannedServer&) = delete;

    std::string port() const { return std::to_string(mPort); }
    void add(Reply reply);
    // An answer of status 200 and the right content type.
    void addXml(const std::string& body);

    // All requests so far, head and body as they came.
    std::vector<std::string> requests();
    // Without those that brought no byte.
    unsigned connections();

    static std::string http(const std::string& statusLine, const std::string& headers,
                            const std::string& body);
    // An answer to an intrinsic operation around the content of IRETURNVALUE, or an ERROR.
    static std::string message(const std::string& operation, const std::string& content);
    static std::string returning(const std::string& operation, const std::string& objects);

private:
    void serve();
    void serveConnection(int connection);
    bool readRequest(int connection, std::string& request);
    bool waitFor(int descriptor);

    int mPort = 0; // filled in with the listener
    int mListener = -1;
    int mStop[2] = {-1, -1};
    std::mutex mMutex;
    std::deque<Reply> mReplies;
    std::vector<std::string> mRequests;
    unsigned mConnections = 0;
    std::thread mThread;
};

#endif
