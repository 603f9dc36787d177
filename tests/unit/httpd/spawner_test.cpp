// The real spawner and real workers, without a front.
#include "control.h"
#include "frame.h"
#include "spawner.h"

#include <ResourceMapper.h>
#include <TempDirectory.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <fstream>

namespace {

using host::ControlKind;
using host::ControlMessage;
using host::Received;
using testing::HasSubstr;
using testing::StartsWith;

constexpr const char* kUncached = "{}";
constexpr const char* kCached = R"({"Thing": {"mappings": {"T": {"is_cached": true}}}})";

constexpr int kLongEnoughMs = 10'000;

bool hasInput(int fd)
{
    pollfd wait{fd, POLLIN, 0};
    return poll(&wait, 1, kLongEnoughMs) == 1;
}

// The payload of the next frame; "" when the other end has closed.
std::string readFrame(int socket)
{
    std::array<char, host::kFrameHeaderBytes> header{};
    uint32_t bytes = 0;
    if (!hasInput(socket) ||
        recv(socket, header.data(), header.size(), MSG_WAITALL) !=
            static_cast<ssize_t>(header.size()) ||
        !host::decodeLength(header.data(), bytes)) {
        return {};
    }
    std::string payload(bytes, '\0');
    EXPECT_EQ(recv(socket, payload.data(), payload.size(), MSG_WAITALL),
              static_cast<ssize_t>(payload.size()));
    return payload;
}

bool isGone(int socket)
{
    char byte = 0;
    return hasInput(socket) && recv(socket, &byte, sizeof byte, 0) <= 0;
}

// Whether a process that is not our child goes away, zombies included.
bool processEnds(pid_t pid)
{
    const auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(kLongEnoughMs);
    while (kill(pid, 0) == 0) {
        if (std::chrono::steady_clock::now() > until) {
            return false;
        }
        (void)poll(nullptr, 0, 1);
    }
    return errno == ESRCH;
}

class SpawnerTest : public testing::Test
{
protected:
    void SetUp() override
    {
        mRmfPath = std::exchange(ResourceMapper::RmfPath, mDirectory.File("mapping.json"));
        mCachePath = std::exchange(SQLInterface::DataCachePath, mDirectory.File("none.db"));
    }

    void TearDown() override
    {
        host::awaitSpawner(mSpawner);
        ResourceMapper::RmfPath = mRmfPath;
        SQLInterface::DataCachePath = mCachePath;
    }

    bool start(const std::string& mapping)
    {
        std::ofstream(ResourceMapper::RmfPath) << mapping;
        return host::startSpawner(mSpawner, mProblem);
    }

    // Asks for a worker.
    ControlMessage spawn() const
    {
        ControlMessage message;
        message.kind = ControlKind::SpawnWorker;
        EXPECT_TRUE(host::sendControl(mSpawner.control.get(), message));
        ControlMessage answer;
        EXPECT_TRUE(hasInput(mSpawner.control.get()));
        EXPECT_EQ(host::receiveControl(mSpawner.control.get(), answer), Received::Message);
        EXPECT_EQ(answer.kind, ControlKind::Forked);
        EXPECT_TRUE(answer.socket.isOpen());
        EXPECT_GT(answer.pid, 0);
        return answer;
    }

    void kill(uint32_t id) const
    {
        ControlMessage message;
        message.kind = ControlKind::Kill;
        message.id = id;
        EXPECT_TRUE(host::sendControl(mSpawner.control.get(), message));
    }

    support::TempDirectory mDirectory;
    std::string mRmfPath;
    std::string mCachePath;
    host::Spawner mSpawner;
    std::string mProblem;
};

TEST_F(SpawnerTest, MissingMappingFileIsReported)
{
    EXPECT_FALSE(host::startSpawner(mSpawner, mProblem));
    EXPECT_THAT(mProblem,
                StartsWith("cannot read the mapping file " + ResourceMapper::RmfPath + ":"));
    EXPECT_THAT(mProblem, HasSubstr("--rmf"));
}

TEST_F(SpawnerTest, MalformedMappingFileIsReported)
{
    EXPECT_FALSE(start("{\"Thing\": "));
    EXPECT_THAT(mProblem, HasSubstr(ResourceMapper::RmfPath + " is not a JSON object"));
}

TEST_F(SpawnerTest, TellsWhetherWorkersUseTheCache)
{
    ASSERT_TRUE(start(kUncached)) << mProblem;
    EXPECT_FALSE(mSpawner.usesCache);
    host::awaitSpawner(mSpawner);
    ASSERT_TRUE(start(kCached)) << mProblem;
    EXPECT_TRUE(mSpawner.usesCache);
}

TEST_F(SpawnerTest, WorkerGetsReadyAndAnswersOneRequestAfterTheOther)
{
    ASSERT_TRUE(start(kUncached)) << mProblem;
    const ControlMessage worker = spawn();
    EXPECT_TRUE(host::isReady(readFrame(worker.socket.get())));
    for (int i = 0; i < 3; ++i) {
        const std::string request = host::encodeRequest({"/redfish/v1/Nothing"});
        ASSERT_EQ(send(worker.socket.get(), request.data(), request.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(request.size()));
        httpd::Response response;
        ASSERT_TRUE(host::decodeResponse(readFrame(worker.socket.get()), response));
        EXPECT_EQ(response.status, 404U);
    }
}

TEST_F(SpawnerTest, WorkersHaveNoSocketsOfOthers)
{
    ASSERT_TRUE(start(kUncached)) << mProblem;
    ControlMessage first = spawn();
    const ControlMessage second = spawn();
    EXPECT_TRUE(host::isReady(readFrame(first.socket.get())));
    EXPECT_TRUE(host::isReady(readFrame(second.socket.get())));
    EXPECT_NE(first.id, second.id);
    first.socket.reset();
    EXPECT_TRUE(processEnds(first.pid)); // nobody else holds the other end
    const std::string request = host::encodeRequest({"/redfish/v1/Nothing"});
    ASSERT_EQ(send(second.socket.get(), request.data(), request.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(request.size()));
    EXPECT_NE(readFrame(second.socket.get()), "");
}

TEST_F(SpawnerTest, KilledWorkerIsReapedAndOthersLive)
{
    ASSERT_TRUE(start(kUncached)) << mProblem;
    const ControlMessage killed = spawn();
    const ControlMessage other = spawn();
    EXPECT_TRUE(host::isReady(readFrame(killed.socket.get())));
    kill(killed.id);
    EXPECT_TRUE(isGone(killed.socket.get()));
    EXPECT_TRUE(processEnds(killed.pid));
    kill(killed.id); // an id of the past names nobody
    EXPECT_TRUE(host::isReady(readFrame(other.socket.get())));
    EXPECT_EQ(spawn().id, other.id + 1);
    EXPECT_EQ(::kill(other.pid, 0), 0);
}

TEST_F(SpawnerTest, WorkerThatCannotOpenTheCacheEndsUnready)
{
    ASSERT_TRUE(start(kCached)) << mProblem;
    const ControlMessage worker = spawn();
    EXPECT_TRUE(isGone(worker.socket.get()));
    EXPECT_TRUE(processEnds(worker.pid));
}

TEST_F(SpawnerTest, WorkerThatGetsNonsenseEnds)
{
    ASSERT_TRUE(start(kUncached)) << mProblem;
    const ControlMessage worker = spawn();
    EXPECT_TRUE(host::isReady(readFrame(worker.socket.get())));
    const std::string nonsense(host::kFrameHeaderBytes, '\xff');
    ASSERT_EQ(send(worker.socket.get(), nonsense.data(), nonsense.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(nonsense.size()));
    EXPECT_TRUE(isGone(worker.socket.get()));
    EXPECT_TRUE(processEnds(worker.pid));
}

TEST_F(SpawnerTest, EveryoneEndsWithTheControlSocket)
{
    ASSERT_TRUE(start(kUncached)) << mProblem;
    ControlMessage idle = spawn();
    ControlMessage held = spawn(); // its socket stays open: the spawner has to end it
    EXPECT_TRUE(host::isReady(readFrame(held.socket.get())));
    idle.socket.reset();
    const pid_t spawner = mSpawner.pid;
    host::awaitSpawner(mSpawner);
    EXPECT_EQ(::kill(spawner, 0), -1);
    EXPECT_EQ(::kill(idle.pid, 0), -1);
    EXPECT_EQ(::kill(held.pid, 0), -1);
    EXPECT_TRUE(isGone(held.socket.get()));
}

TEST_F(SpawnerTest, WorkersDoNotOutliveASpawnerThatIsKilled)
{
    ASSERT_TRUE(start(kUncached)) << mProblem;
    const ControlMessage worker = spawn();
    EXPECT_TRUE(host::isReady(readFrame(worker.socket.get())));
    ASSERT_EQ(::kill(mSpawner.pid, SIGKILL), 0);
    EXPECT_TRUE(isGone(worker.socket.get()));
    ControlMessage message;
    EXPECT_TRUE(hasInput(mSpawner.control.get()));
    EXPECT_EQ(host::receiveControl(mSpawner.control.get(), message), Received::Gone);
}

} // namespace
