// The real process that holds the message-queue endpoint, with real clients; the test plays the
// front.
#include "StderrFile.h"
#include "host_limits.h"
#include "spawner/SpawnerTest.h"
#include "wire/frame_io.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <service/file_descriptor.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <zmq.hpp>

#include <filesystem>
#include <iterator>
#include <optional>
#include <utility>
#include <vector>

namespace {

using host::ControlKind;
using host::ControlMessage;
using testing::ElementsAre;
using testing::HasSubstr;

// A message to or from the front: the request's number and the text.
using Numbered = std::pair<uint32_t, std::string>;

// A client of the endpoint; it waits ten seconds at most.
class Client
{
public:
    Client(zmq::context_t& context, const std::string& endpoint,
           zmq::socket_type type = zmq::socket_type::req)
        : mSocket(context, type)
    {
        mSocket.set(zmq::sockopt::rcvtimeo, kLongEnoughMs);
        mSocket.set(zmq::sockopt::linger, 0);
        mSocket.connect(endpoint);
    }

    void send(const std::vector<std::string>& parts)
    {
        for (size_t i = 0; i < parts.size(); ++i) {
            const auto flag =
                i + 1 < parts.size() ? zmq::send_flags::sndmore : zmq::send_flags::none;
            EXPECT_TRUE(mSocket.send(zmq::buffer(parts[i]), flag));
        }
    }

    std::vector<std::string> receive()
    {
        std::vector<std::string> parts;
        zmq::message_t part;
        do {
            if (!mSocket.recv(part)) {
                ADD_FAILURE() << "no answer";
                break;
            }
            parts.push_back(part.to_string());
        } while (part.more());
        return parts;
    }

private:
    zmq::socket_t mSocket;
};

class QueueProcessTest : public SpawnerTest
{
protected:
    void SetUp() override
    {
        SpawnerTest::SetUp();
        ASSERT_TRUE(start("{}")) << mProblem;
    }

    std::string endpoint() const { return "ipc://" + mPath; }

    ControlMessage spawnEndpoint() const
    {
        return spawn(ControlKind::SpawnQueueProcess, endpoint());
    }

    ControlMessage openEndpoint() const
    {
        ControlMessage process = spawnEndpoint();
        EXPECT_TRUE(host::isReady(readFrame(process.descriptor.get())));
        return process;
    }

    static Numbered nextRequest(const ControlMessage& process)
    {
        Numbered request;
        EXPECT_TRUE(host::decodeNumbered(readFrame(process.descriptor.get()), request.first,
                                         request.second));
        return request;
    }

    static void answer(const ControlMessage& process, uint32_t number, const std::string& text)
    {
        EXPECT_TRUE(host::sendFrame(process.descriptor.get(), host::encodeNumbered(number, text)));
    }

    // A socket of the test at the endpoint's path.
    service::FileDescriptor boundSocket(int type) const
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        EXPECT_LT(mPath.size(), sizeof address.sun_path);
        mPath.copy(address.sun_path, sizeof address.sun_path - 1);
        service::FileDescriptor bound(socket(AF_UNIX, type | SOCK_CLOEXEC, 0));
        EXPECT_EQ(bind(bound.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        return bound;
    }

    // That the endpoint can be asked.
    void expectServed(const ControlMessage& process)
    {
        Client client(mContext, endpoint());
        client.send({"still there?"});
        const Numbered request = nextRequest(process);
        EXPECT_EQ(request.second, "still there?");
        answer(process, request.first, "yes");
        EXPECT_THAT(client.receive(), ElementsAre("yes"));
    }

    // Starts again, with a spawner whose messages are kept.
    void startNotingErrors()
    {
        host::awaitSpawner(mSpawner);
        mErrors.emplace(mDirectory.File("errors"));
        ASSERT_TRUE(start("{}")) << mProblem;
    }

    // That a process has ended and has said why, with everything else that the spawner forked.
    void expectEndedSaying(const ControlMessage& process, const std::string& problem)
    {
        host::awaitSpawner(mSpawner); // after which all is written
        EXPECT_THAT(mErrors->text(),
                    HasSubstr("cimgated: --oem-endpoint " + endpoint() + ": " + problem + "\n"));
        EXPECT_THAT(mErrors->text(),
                    HasSubstr(": message-queue endpoint " + std::to_string(process.pid) +
                              " ended with status 1\n"));
    }

    // That the endpoint is not opened, and why.
    void expectRefused(const std::string& problem)
    {
        startNotingErrors();
        const ControlMessage process = spawnEndpoint();
        EXPECT_TRUE(isGone(process.descriptor.get())); // without a word
        expectEndedSaying(process, problem);
    }

    std::string mPath = mDirectory.File("oem.sock");
    std::optional<StderrFile> mErrors;
    zmq::context_t mContext;
};

// ---- The socket

TEST_F(QueueProcessTest, SocketIsForOwnerAndGroupWhateverTheUmask)
{
    for (const mode_t mask : {0U, 022U, 077U, 0777U}) {
        host::awaitSpawner(mSpawner);
        const mode_t former = umask(mask);
        const bool isStarted = host::startSpawner(mSpawner, mProblem);
        (void)umask(former);
        ASSERT_TRUE(isStarted) << mProblem;
        const ControlMessage process = openEndpoint();
        struct stat found
        {};
        ASSERT_EQ(stat(mPath.c_str(), &found), 0);
        EXPECT_EQ(found.st_mode, S_IFSOCK | 0660U) << std::oct << mask;
    }
}

TEST_F(QueueProcessTest, SocketThatAFormerProcessHasLeftIsReplaced)
{
    {
        const service::FileDescriptor former = boundSocket(SOCK_STREAM);
        ASSERT_EQ(listen(former.get(), 1), 0);
    }
    ASSERT_TRUE(std::filesystem::is_socket(mPath));
    expectServed(openEndpoint());
}

TEST_F(QueueProcessTest, SocketOfAnotherTypeThatIsInUseIsLeftAlone)
{
    const service::FileDescriptor other = boundSocket(SOCK_DGRAM);
    struct stat before
    {};
    ASSERT_EQ(stat(mPath.c_str(), &before), 0);
    expectRefused("another process answers there: stop it or name another path");
    struct stat after
    {};
    ASSERT_EQ(stat(mPath.c_str(), &after), 0);
    EXPECT_EQ(after.st_ino, before.st_ino);
}

TEST_F(QueueProcessTest, FileIsLeftAlone)
{
    std::ofstream(mPath) << "precious";
    expectRefused("there is something that is no socket: remove it or name another path");
    std::ifstream file(mPath);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), "precious");
}

TEST_F(QueueProcessTest, DirectoryIsLeftAlone)
{
    std::filesystem::create_directory(mPath);
    expectRefused("there is something that is no socket: remove it or name another path");
    EXPECT_TRUE(std::filesystem::is_directory(mPath));
}

TEST_F(QueueProcessTest, SymbolicLinkIsLeftAlone)
{
    std::filesystem::create_symlink(mDirectory.File("elsewhere"), mPath);
    expectRefused("there is something that is no socket: remove it or name another path");
    EXPECT_TRUE(std::filesystem::is_symlink(mPath));
    EXPECT_FALSE(std::filesystem::exists(mDirectory.File("elsewhere")));
}

TEST_F(QueueProcessTest, SocketOnWhichAnotherProcessAnswersIsLeftAlone)
{
    startNotingErrors();
    ControlMessage first = openEndpoint();
    const ControlMessage second = spawnEndpoint();
    EXPECT_TRUE(isGone(second.descriptor.get()));
    expectServed(first);
    first.descriptor.reset();
    expectEndedSaying(second, "another process answers there: stop it or name another path");
}

TEST_F(QueueProcessTest, MissingDirectoryIsReported)
{
    mPath = mDirectory.File("missing/oem.sock");
    expectRefused(mDirectory.File("missing/") + ": No such file or directory");
}

// ---- Requests and answers

TEST_F(QueueProcessTest, AnswersGoToTheClientsThatAsked)
{
    const ControlMessage process = openEndpoint();
    Client first(mContext, endpoint());
    Client second(mContext, endpoint());
    first.send({"from the first"});
    const Numbered firstRequest = nextRequest(process);
    second.send({"from the second"});
    const Numbered secondRequest = nextRequest(process);
    EXPECT_EQ(firstRequest.second, "from the first");
    EXPECT_EQ(secondRequest.second, "from the second");
    EXPECT_NE(firstRequest.first, secondRequest.first);
    answer(process, secondRequest.first, "to the second");
    EXPECT_THAT(second.receive(), ElementsAre("to the second"));
    answer(process, firstRequest.first, "to the first");
    EXPECT_THAT(first.receive(), ElementsAre("to the first"));
}

TEST_F(QueueProcessTest, BytesPassAsTheyAre)
{
    const ControlMessage process = openEndpoint();
    Client client(mContext, endpoint());
    const std::string bytes("\0\xff\n", 3);
    client.send({bytes});
    const Numbered request = nextRequest(process);
    EXPECT_EQ(request.second, bytes);
    const std::string large = bytes + std::string(3UL * 1024 * 1024, 'x');
    answer(process, request.first, large);
    EXPECT_TRUE(client.receive() == std::vector{large});
    client.send({""});
    const Numbered empty = nextRequest(process);
    EXPECT_EQ(empty.second, "");
    answer(process, empty.first, "");
    EXPECT_THAT(client.receive(), ElementsAre(""));
}

TEST_F(QueueProcessTest, RequestOfSeveralPartsIsPassedOnAsAnEmptyOne)
{
    const ControlMessage process = openEndpoint();
    Client client(mContext, endpoint());
    client.send({"{}", "{}"});
    const Numbered request = nextRequest(process);
    EXPECT_EQ(request.second, "");
    answer(process, request.first, "malformed");
    EXPECT_THAT(client.receive(), ElementsAre("malformed"));
}

TEST_F(QueueProcessTest, MessageThatCannotBeAnsweredIsDropped)
{
    const ControlMessage process = openEndpoint();
    Client client(mContext, endpoint(), zmq::socket_type::dealer);
    client.send({"no envelope"});
    client.send({"still", "none"});
    client.send({"", "request"});
    const Numbered request = nextRequest(process);
    EXPECT_EQ(request.second, "request");
    answer(process, request.first, "answer");
    EXPECT_THAT(client.receive(), ElementsAre("", "answer"));
}

TEST_F(QueueProcessTest, EnvelopesOfProxiesComeBackUpToALimit)
{
    const ControlMessage process = openEndpoint();
    Client client(mContext, endpoint(), zmq::socket_type::dealer);
    std::vector<std::string> proxies(host::kMaxQueueEnvelopeParts + 1, "proxy");
    proxies.insert(proxies.end(), {"", "too many"});
    client.send(proxies);
    proxies.erase(proxies.begin());
    proxies.back() = "as many as may be";
    client.send(proxies);
    const Numbered request = nextRequest(process);
    EXPECT_EQ(request.second, "as many as may be");
    answer(process, request.first, "answer");
    proxies.back() = "answer";
    EXPECT_EQ(client.receive(), proxies);
}

TEST_F(QueueProcessTest, RequestsAboveTheLimitWaitUntilOthersAreAnswered)
{
    const ControlMessage process = openEndpoint();
    Client client(mContext, endpoint(), zmq::socket_type::dealer);
    for (size_t i = 0; i <= host::kMaxQueueRequestsAtOnce; ++i) {
        client.send({"", std::to_string(i)});
    }
    Numbered request;
    for (size_t i = 0; i < host::kMaxQueueRequestsAtOnce; ++i) {
        request = nextRequest(process);
        EXPECT_EQ(request.second, std::to_string(i));
    }
    pollfd wait{process.descriptor.get(), POLLIN, 0};
    constexpr int kShortMs = 200; // only a fault would be missed by a shorter wait
    EXPECT_EQ(poll(&wait, 1, kShortMs), 0);
    answer(process, request.first, "answer");
    EXPECT_EQ(nextRequest(process).second, std::to_string(host::kMaxQueueRequestsAtOnce));
    EXPECT_THAT(client.receive(), ElementsAre("", "answer"));
}

TEST_F(QueueProcessTest, ClientThatIsGoneHarmsNobody)
{
    const ControlMessage process = openEndpoint();
    std::optional<Client> gone(std::in_place, mContext, endpoint());
    gone->send({"from one that leaves"});
    const Numbered request = nextRequest(process);
    gone.reset();
    answer(process, request.first, "to nobody");
    expectServed(process);
}

// ---- The end

TEST_F(QueueProcessTest, EndsWithTheFrontsSocket)
{
    ControlMessage process = openEndpoint();
    Client client(mContext, endpoint());
    client.send({"never answered"});
    EXPECT_EQ(nextRequest(process).second, "never answered");
    process.descriptor.reset();
    EXPECT_TRUE(processEnds(process.pid));
    EXPECT_FALSE(std::filesystem::exists(mPath));
    expectServed(openEndpoint());
}

TEST_F(QueueProcessTest, NonsenseOfTheFrontEndsIt)
{
    for (const std::string& nonsense :
         {host::encodeNumbered(1, "nobody has asked"), host::encodeReady(),
          std::string(host::kFrameHeaderBytes, '\xff')}) {
        const ControlMessage process = openEndpoint();
        EXPECT_TRUE(host::sendFrame(process.descriptor.get(), nonsense));
        EXPECT_TRUE(isGone(process.descriptor.get()));
        EXPECT_TRUE(processEnds(process.pid));
    }
}

TEST_F(QueueProcessTest, SecondAnswerToARequestEndsIt)
{
    const ControlMessage process = openEndpoint();
    Client client(mContext, endpoint());
    client.send({"request"});
    const Numbered request = nextRequest(process);
    answer(process, request.first, "first");
    EXPECT_THAT(client.receive(), ElementsAre("first"));
    answer(process, request.first, "second");
    EXPECT_TRUE(isGone(process.descriptor.get()));
}

} // namespace
