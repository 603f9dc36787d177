// One worker as the front sees it: a socket, the request that it has, and that request's deadline.
#ifndef HOST_WORKER_CONNECTION_H_
#define HOST_WORKER_CONNECTION_H_

#include "worker_pool.h"

#include <boost/asio/local/stream_protocol.hpp>

namespace host {

class Worker : public std::enable_shared_from_this<Worker>
{
public:
    Worker(WorkerPool& pool, boost::asio::io_context& context, pid_t pid, FileDescriptor socket);

    pid_t pid() const { return mPid; }
    bool isFree() const { return mIsReady && !mDone; }

    // Reads frames from now on: "ready" first, then one answer for each request.
    void start();

    // Hands it a request; only while it is free.
    void assign(const WorkerRequest& request, Completion done, std::chrono::seconds timeout);

    // Forgets the worker and its request.
    void close();

private:
    void readFrame();
    void readPayload(uint32_t bytes);
    void frameRead();
    void writeRequest();
    void deadlinePassed();
    void gone();
    void complete(Outcome outcome, httpd::Response response);

    WorkerPool* mPool; // null once closed
    boost::asio::local::stream_protocol::socket mSocket;
    boost::asio::steady_timer mDeadline;
    pid_t mPid;
    char mHeader[kFrameHeaderBytes] = {};
    std::string mPayload;
    std::string mRequest;
    Completion mDone; // empty while it has no request
    bool mIsReady = false;
    bool mIsTooLate = false;
};

} // namespace host

#endif
