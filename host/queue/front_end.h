// The front's side of the message-queue endpoint: keeps the process that holds it (oem_process.h),
// takes its requests and gives it the answers.
//
// Threads: everything runs in the one thread that runs the io_context.
#ifndef HOST_QUEUE_FRONT_END_H_
#define HOST_QUEUE_FRONT_END_H_

#include "front/spawner_link.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace host {

class OemConnection;

class OemServer
{
public:
    // Gives a request its answer; to be called once. After the server, or the process that asked,
    // has ended it does nothing.
    using Reply = std::function<void(const std::string& answer)>;
    using Handler = std::function<void(const std::string& request, const Reply& reply)>;

    struct Events
    {
        std::function<void()> ready;                    // the endpoint is open, for the first time
        std::function<void(const std::string&)> failed; // it could not be opened at first
    };

    // The link must outlive the server, and be stopped before it goes.
    OemServer(boost::asio::io_context& context, SpawnerLink& spawner, std::string endpoint,
              Handler handler, Events events);
    ~OemServer(); // NOLINT(bugprone-exception-escape): see its definition
    OemServer(const OemServer&) = delete;
    OemServer& operator=(const OemServer&) = delete;

    void start();

    // Takes no more requests; calls drained once those that are out have been answered.
    void drain(std::function<void()> drained);

    // Closes the endpoint; requests that are still out are dropped.
    void stop();

private:
    friend class OemConnection;

    void spawn();
    void spawned(ControlMessage& message);
    void spawnAfterPause();
    void tellDrained();

    // From the connection
    void endpointReady();
    void answerSent();
    void endpointGone();

    boost::asio::io_context& mContext;
    SpawnerLink& mSpawner;
    std::string mEndpoint;
    Handler mHandler;
    Events mEvents;
    boost::asio::steady_timer mRespawnTimer;
    std::chrono::milliseconds mBackOff{0};
    std::shared_ptr<OemConnection> mConnection; // null while there is no process
    std::function<void()> mDrained;             // null once called
    bool mIsStarting = true;
    bool mIsDraining = false;
    bool mIsStopped = false;
};

} // namespace host

#endif
