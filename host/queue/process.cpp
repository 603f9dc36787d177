#include "queue/process.h"

#include "host_limits.h"
#include "log.h"
#include "process_limits.h"
#include "process_name.h"
#include "tell.h"
#include "wire/frame_io.h"

#include <fcntl.h>
#include <poll.h>
#include <service/errno_text.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#include <zmq.hpp>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <map>
#include <vector>

namespace host {

namespace {

// Owner and group may ask.
constexpr mode_t kSocketMask = 0117;

using Parts = std::vector<zmq::message_t>;

// Whether a socket may belong to a living process: all but one that refuses connections.
bool isServed(const std::string& path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    const service::FileDescriptor probe(
        socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    return connect(probe.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 ||
           errno != ECONNREFUSED;
}

// Binding removes whatever is at the path: only what a former process has left may be.
bool mayBind(const std::string& path, std::string& problem)
{
    struct stat found
    {};
    if (lstat(path.c_str(), &found) != 0) {
        problem = errno == ENOENT ? "" : service::errnoText();
    } else if (!S_ISSOCK(found.st_mode)) {
        problem = "there is something that is no socket: remove it or name another path";
    } else if (isServed(path)) {
        problem = "another process answers there: stop it or name another path";
    }
    return problem.empty();
}

// Whoever may read a directory may lock it, for as long as he likes: only a lock that is held no
// longer than a start takes is that of another service.
bool awaitLock(int directory)
{
    using std::chrono::steady_clock;
    constexpr int kPollMs = 10;
    const auto until = steady_clock::now() + kQueueLockTime;
    while (flock(directory, LOCK_EX | LOCK_NB) != 0) {
        if (steady_clock::now() >= until) {
            return false;
        }
        (void)poll(nullptr, 0, kPollMs);
    }
    return true;
}

class QueueProcess
{
public:
    explicit QueueProcess(int front);

    // False with the cause in problem.
    bool open(const std::string& endpoint, std::string& problem);
    // Until the front is gone.
    void serve();

private:
    bool passRequest();
    bool passAnswer();
    Parts receiveParts();

    int mFront; // the socket to it
    std::string mPath;
    zmq::context_t mContext;
    zmq::socket_t mClients;
    std::map<uint32_t, Parts> mEnvelopes; // of requests that are not answered yet
    uint32_t mLastNumber = 0;
};

QueueProcess::QueueProcess(int front) : mFront(front), mClients(mContext, zmq::socket_type::router)
{
    mClients.set(zmq::sockopt::maxmsgsize, kMaxQueueRequestBytes);
    mClients.set(zmq::sockopt::rcvhwm, kMaxUnreadQueueRequests);
    mClients.set(zmq::sockopt::sndhwm, kMaxUnsentQueueAnswers);
    mClients.set(zmq::sockopt::linger, kQueueLingerMs);
}

bool QueueProcess::open(const std::string& endpoint, std::string& problem)
{
    mPath = endpoint.substr(endpoint.find('/') + 2);
    const std::string directory = mPath.substr(0, mPath.rfind('/') + 1);
    // Two services that start at the same time must not both find that nobody answers.
    const service::FileDescriptor lock(
        ::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!lock.isOpen()) {
        problem = directory + ": " + service::errnoText();
        return false;
    }
    if (!awaitLock(lock.get())) {
        log(Severity::Error, "somebody keeps a lock on " + directory + ": goes on without it");
    }
    if (!mayBind(mPath, problem)) {
        return false;
    }
    (void)umask(kSocketMask);
    try {
        mClients.bind(endpoint);
    } catch (const zmq::error_t& error) {
        problem = error.what();
    }
    return problem.empty();
}

// Requests above the limit wait in ZeroMQ's queues.
void QueueProcess::serve()
{
    bool isConnected = sendFrame(mFront, encodeReady());
    while (isConnected) {
        zmq_pollitem_t waits[] = {{nullptr, mFront, ZMQ_POLLIN, 0},
                                  {mClients.handle(), 0, ZMQ_POLLIN, 0}};
        const bool takesRequests = mEnvelopes.size() < kMaxQueueRequestsAtOnce;
        if (zmq_poll(waits, takesRequests ? 2 : 1, -1) < 0) {
            continue; // interrupted
        }
        if (waits[0].revents != 0) {
            isConnected = passAnswer();
        }
        if (isConnected && waits[1].revents != 0) {
            isConnected = passRequest();
        }
    }
    (void)unlink(mPath.c_str()); // while nobody else can have opened it
}

Parts QueueProcess::receiveParts()
{
    Parts parts;
    do {
        parts.emplace_back();
        if (!mClients.recv(parts.back(), zmq::recv_flags::dontwait)) {
            return {};
        }
    } while (parts.back().more());
    return parts;
}

// A message is an envelope, which ends with an empty part, and the request. What has no envelope
// cannot be answered.
bool QueueProcess::passRequest()
{
    Parts envelope = receiveParts();
    const auto delimiter = std::find_if(envelope.begin(), envelope.end(),
                                        [](const zmq::message_t& part) { return part.empty(); });
    const ptrdiff_t sentInFront = delimiter - envelope.begin() - 1; // the first names the client
    if (delimiter == envelope.end() || sentInFront > kMaxQueueEnvelopeParts) {
        return true;
    }
    // Several parts are as malformed as none.
    const bool isOnePart = envelope.end() - delimiter == 2;
    const std::string request = isOnePart ? envelope.back().to_string() : std::string();
    envelope.erase(delimiter + 1, envelope.end());
    mEnvelopes[++mLastNumber] = std::move(envelope);
    return sendFrame(mFront, encodeNumbered(mLastNumber, request));
}

bool QueueProcess::passAnswer()
{
    std::string payload;
    std::string answer;
    uint32_t number = 0;
    if (!receiveFrame(mFront, payload)) {
        return false;
    }
    if (isPing(payload)) {
        // Where the front has gone an answer may stand behind its last question.
        (void)sendFrame(mFront, encodePing());
        return true;
    }
    if (!decodeNumbered(payload, number, answer)) {
        return false;
    }
    auto waiting = mEnvelopes.extract(number);
    if (waiting.empty()) {
        return false;
    }
    for (zmq::message_t& part : waiting.mapped()) {
        (void)mClients.send(part, zmq::send_flags::sndmore);
    }
    (void)mClients.send(zmq::buffer(answer), zmq::send_flags::none);
    return true;
}

bool serveEndpoint(int front, const std::string& endpoint)
{
    std::string problem;
    try {
        QueueProcess process(front);
        if (process.open(endpoint, problem)) {
            process.serve();
            return true;
        }
    } catch (const std::exception& error) {
        problem = error.what();
    }
    tellLastWords("--oem-endpoint " + endpoint + ": " + problem);
    return false;
}

} // namespace

void runQueueProcess(service::FileDescriptor front, const std::string& endpoint)
{
    nameProcess(ProcessKind::Queue);
    limitResources();
    // The socket stays open until the end: the front ends a process whose socket closes.
    const bool wasServed = serveEndpoint(front.get(), endpoint);
    // NOLINTNEXTLINE(concurrency-mt-unsafe): ZeroMQ's threads have ended
    std::exit(wasServed ? EXIT_SUCCESS : EXIT_FAILURE);
}

} // namespace host
