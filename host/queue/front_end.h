// The front's end of the message queue: keeps the process that holds the endpoint (process.h),
// takes its requests and gives it the answers.
//
// Threads: everything runs in the one thread that runs the io_context.
#ifndef HOST_QUEUE_FRONT_END_H_
#define HOST_QUEUE_FRONT_END_H_

#include "front/child.h"
#include "front/supervisor.h"

#include <boost/asio/io_context.hpp>

#include <functional>
#include <memory>
#include <string>

namespace host {

class QueueFrontEnd
{
public:
    // Gives a request its answer; to be called once. After the process that asked has ended it does
    // nothing.
    using Reply = std::function<void(const std::string& answer)>;
    using Handler = std::function<void(const std::string& request, const Reply& reply)>;

    struct Events
    {
        std::function<void()> ready;                    // the endpoint is open, for the first time
        std::function<void(const std::string&)> failed; // it could not be opened at first
    };

    // The link must outlive this, and be stopped before it goes.
    QueueFrontEnd(boost::asio::io_context& context, SpawnerLink& spawner,
                  const std::string& endpoint, Handler handler, Events events);
    ~QueueFrontEnd(); // NOLINT(bugprone-exception-escape): see its definition
    QueueFrontEnd(const QueueFrontEnd&) = delete;
    QueueFrontEnd& operator=(const QueueFrontEnd&) = delete;

    void start();

    // After a std::bad_alloc has left a handler: does what may have been left undone.
    void recover();

    // Takes no more requests; calls drained once those that are out have been answered.
    void drain(std::function<void()> drained);

    // Closes the endpoint; requests that are still out are dropped.
    void stop();

private:
    Supervisor::Events supervisorEvents(const std::string& endpoint, Events events);
    void addProcess(ControlMessage& forked);
    void frameRead(const std::string& payload);
    void take(uint32_t number, const std::string& request);
    void answerSent();
    void processGone();
    void tellDrained();

    boost::asio::io_context& mContext;
    SpawnerLink& mSpawner;
    Handler mHandler;
    Supervisor mSupervisor;
    std::shared_ptr<Child> mProcess; // null while there is none
    size_t mUnanswered = 0;          // its requests whose answers are not written yet
    std::function<void()> mDrained;  // null once called
    bool mIsDraining = false;
};

} // namespace host

#endif
