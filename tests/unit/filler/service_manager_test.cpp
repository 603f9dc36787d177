#include "TempDirectory.h"
#include "service_manager.h"

#include <gtest/gtest.h>
#include <service/file_descriptor.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstdlib>
#include <string>

namespace {

using filler::ServiceManager;

// The socket of a service manager; an abstract name begins with "@".
class ManagerSocket
{
public:
    explicit ManagerSocket(const std::string& name)
        : mSocket(socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0))
    {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        name.copy(address.sun_path, name.size());
        if (name[0] == '@') {
            address.sun_path[0] = '\0';
        }
        EXPECT_EQ(bind(mSocket.get(), reinterpret_cast<const sockaddr*>(&address),
                       static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size())),
                  0)
            << name;
        setenv("NOTIFY_SOCKET", name.c_str(), 1); // NOLINT(concurrency-mt-unsafe)
    }

    // What it was told; "" where nothing has come.
    [[nodiscard]] std::string Take() const
    {
        std::array<char, 65536> buffer{};
        const ssize_t bytes = recv(mSocket.get(), buffer.data(), buffer.size(), 0);
        return bytes < 0 ? "" : std::string(buffer.data(), static_cast<size_t>(bytes));
    }

private:
    service::FileDescriptor mSocket;
};

void expectTold(const ManagerSocket& socket)
{
    const ServiceManager manager;
    manager.tellReady();
    EXPECT_EQ(socket.Take(), "READY=1");
    manager.tellStatus("3 of 9 classes\nREADY=1");
    EXPECT_EQ(socket.Take(), "STATUS=3 of 9 classes READY=1");
    manager.tellStopping();
    EXPECT_EQ(socket.Take(), "STOPPING=1");
    EXPECT_EQ(socket.Take(), "");
}

TEST(ToServiceManager, GoesToASocketOfTheFileSystem)
{
    const support::TempDirectory directory;
    expectTold(ManagerSocket(directory.File("notify")));
}

TEST(ToServiceManager, GoesToAnAbstractSocket)
{
    expectTold(ManagerSocket("@cimgate-test-" + std::to_string(getpid())));
}

TEST(ToServiceManager, IsNotForChildren)
{
    const support::TempDirectory directory;
    const ManagerSocket socket(directory.File("notify"));
    const ServiceManager manager;
    EXPECT_EQ(getenv("NOTIFY_SOCKET"), nullptr); // NOLINT(concurrency-mt-unsafe)
    ServiceManager().tellReady();
    EXPECT_EQ(socket.Take(), "");
}

TEST(ToServiceManager, IsDroppedWhereNobodyListens)
{
    const support::TempDirectory directory;
    for (const std::string& name :
         {directory.File("nobody"), std::string("@cimgate-test-nobody"), std::string("relative"),
          std::string(), "/" + std::string(200, 'a')}) {
        setenv("NOTIFY_SOCKET", name.c_str(), 1); // NOLINT(concurrency-mt-unsafe)
        ServiceManager().tellReady();
    }
    ServiceManager().tellReady();
}

TEST(ToServiceManager, WaitsForNobody)
{
    const support::TempDirectory directory;
    const ManagerSocket socket(directory.File("notify"));
    const ServiceManager manager;
    for (int i = 0; i < 1000; ++i) { // beyond what a socket holds
        manager.tellStatus(std::string(1000, 'x'));
    }
    EXPECT_EQ(socket.Take().size(), 1007U);
}

} // namespace
