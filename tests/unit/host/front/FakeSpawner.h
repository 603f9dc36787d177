// The far side of the front's sockets to other processes: the test plays the spawner and what it
// forks, in the thread that also runs the part of the front under test.
#ifndef FAKE_SPAWNER_H_
#define FAKE_SPAWNER_H_

#include "wire/control.h"
#include "wire/worker_message.h"

#include <boost/asio/io_context.hpp>
#include <httpd/server.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

// A frame of which only the length that it announces is there.
inline std::string lengthOnly(uint32_t bytes)
{
    std::string text(sizeof bytes, '\0');
    std::memcpy(text.data(), &bytes, sizeof bytes);
    return text;
}

// A worker's end of its socket, or that of the process that holds the message-queue endpoint.
class FakeWorker
{
public:
    FakeWorker(boost::asio::io_context& context, service::FileDescriptor socket, uint32_t id);

    uint32_t id() const { return mId; }

    void send(std::string_view bytes);
    void sendReady();
    void answer(const httpd::Response& response);
    void decline(host::Declined reason);

    // The payload of the next frame.
    std::string readPayload();

    // Whether something of a request has come, without letting the front work any further.
    bool hasRequest();

    // The next request; readTarget() that of a read or an action.
    host::WorkerRequest readRequest();
    host::ReadRequest readRead() { return std::get<host::ReadRequest>(readRequest()); }
    host::ActionRequest readAction() { return std::get<host::ActionRequest>(readRequest()); }
    std::string readTarget();

    // Reads this many bytes of whatever comes; false when they do not come.
    bool discard(size_t bytes);

    // Whether the front closes the socket.
    bool isClosedByFront();

    // Ends like a process that ends.
    void close() { mSocket.reset(); }

private:
    std::string nextPayload();
    bool receive(size_t bytes);

    boost::asio::io_context& mContext;
    service::FileDescriptor mSocket;
    uint32_t mId;
    std::string mReceived;
    bool mIsClosed = false;
};

class FakeSpawner
{
public:
    explicit FakeSpawner(boost::asio::io_context& context);

    // The front's end of the control socket.
    int frontEnd() const { return mFrontEnd.get(); }

    // The next message of the front. nextIs() also compares its kind.
    host::ControlMessage next();
    bool nextIs(host::ControlKind kind);

    // Whether the front has sent anything more, without letting it work any further.
    bool hasMessage();

    // Announces a process, as the answer to a Spawn....
    FakeWorker announceWorker();

    void send(const host::ControlMessage& message);
    void close() { mFarEnd.reset(); }

private:
    boost::asio::io_context& mContext;
    service::FileDescriptor mFrontEnd;
    service::FileDescriptor mFarEnd;
    uint32_t mLastId = 0;
};

#endif
