// One worker as the front sees it: a socket, the request that it has, and that request's deadline.
#ifndef HOST_FRONT_WORKER_CONNECTION_H_
#define HOST_FRONT_WORKER_CONNECTION_H_

#include "front/worker_pool.h"
#include "wire/frame_io.h"

#include <optional>

namespace host {

class Worker : public std::enable_shared_from_this<Worker>
{
public:
    // message is the spawner's that announced it.
    Worker(WorkerPool& pool, boost::asio::io_context& context, ControlMessage& message);

    bool isFree() const { return mIsReady && !mIsEnding && !mTask; }
    // Whether it may be at the CIM object manager.
    bool mayBeReadingLive() const { return mTask && mTask->request.mayReadLive; }
    // Whether it has ever been given a request.
    bool wasUsed() const { return mWasUsed; }

    // Reads frames from now on: "ready" first, then one answer for each request.
    void start();

    // Hands it a request; only while it is free. When the answer has not come by its deadline, the
    // worker is ended.
    void assign(Task task);

    // Forgets the worker and its request; a worker that has one is ended.
    void close();

private:
    void awaitFrame();
    void frameRead();
    void answerRead();
    void declined(Declined reason);
    void writeRequest(const WorkerRequest& request);
    void armDeadline(std::chrono::steady_clock::time_point until);
    void disarmDeadline();
    void deadlinePassed();
    void end();
    void gone();
    void complete(Outcome outcome, httpd::Response response);

    WorkerPool* mPool; // null once closed
    boost::asio::local::stream_protocol::socket mSocket;
    boost::asio::steady_timer mDeadline;
    uint32_t mId;
    pid_t mPid;
    FrameBuffer mFrame;
    std::optional<Task> mTask;
    bool mIsReady = false;
    bool mIsEnding = false; // the spawner has been asked to end it
    bool mWasUsed = false;
};

} // namespace host

#endif
