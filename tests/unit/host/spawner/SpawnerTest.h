// The real spawner and what it forks, without a front: the test plays that.
#ifndef SPAWNER_TEST_H_
#define SPAWNER_TEST_H_

#include "spawner/spawner.h"
#include "wire/control.h"
#include "wire/worker_message.h"

#include <ResourceMapper.h>
#include <TempDirectory.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <fstream>
#include <string>
#include <utility>

inline constexpr int kLongEnoughMs = 10'000;

inline bool hasInput(int fd)
{
    pollfd wait{fd, POLLIN, 0};
    return poll(&wait, 1, kLongEnoughMs) == 1;
}

// The payload of the next frame; "" when the other end has closed.
inline std::string readFrame(int socket)
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

inline bool isGone(int socket)
{
    char byte = 0;
    return hasInput(socket) && recv(socket, &byte, sizeof byte, 0) <= 0;
}

// Whether a process that is not our child goes away, zombies included.
inline bool processEnds(pid_t pid)
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

    // Asks for a process.
    host::ControlMessage spawn(host::ControlKind kind = host::ControlKind::SpawnWorker,
                               const std::string& text = {}) const
    {
        host::ControlMessage message;
        message.kind = kind;
        message.text = text;
        EXPECT_TRUE(host::sendControl(mSpawner.control.get(), message));
        host::ControlMessage answer;
        EXPECT_TRUE(hasInput(mSpawner.control.get()));
        EXPECT_EQ(host::receiveControl(mSpawner.control.get(), answer), host::Received::Message);
        EXPECT_EQ(answer.kind, host::ControlKind::Forked);
        EXPECT_TRUE(answer.descriptor.isOpen());
        EXPECT_GT(answer.pid, 0);
        return answer;
    }

    void kill(uint32_t id) const
    {
        host::ControlMessage message;
        message.kind = host::ControlKind::Kill;
        message.id = id;
        EXPECT_TRUE(host::sendControl(mSpawner.control.get(), message));
    }

    support::TempDirectory mDirectory;
    std::string mRmfPath;
    std::string mCachePath;
    host::Spawner mSpawner;
    std::string mProblem;
};

#endif
