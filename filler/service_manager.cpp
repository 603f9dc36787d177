#include "service_manager.h"

#include <service/file_descriptor.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>

namespace filler {

ServiceManager::ServiceManager()
{
    constexpr const char* kVariable = "NOTIFY_SOCKET";
    const char* const socket = std::getenv(kVariable); // NOLINT(concurrency-mt-unsafe): one thread
    if (socket != nullptr && (*socket == '/' || *socket == '@')) {
        mSocket = socket;
    }
    (void)unsetenv(kVariable); // NOLINT(concurrency-mt-unsafe)
}

void ServiceManager::tellStatus(std::string text) const
{
    std::replace(text.begin(), text.end(), '\n', ' '); // which would begin another assignment
    tell("STATUS=" + text);
}

void ServiceManager::tell(const std::string& message) const
{
    sockaddr_un address = {};
    if (mSocket.empty() || mSocket.size() >= sizeof address.sun_path) {
        return;
    }
    address.sun_family = AF_UNIX;
    mSocket.copy(address.sun_path, mSocket.size());
    if (mSocket[0] == '@') {
        address.sun_path[0] = '\0';
    }
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + mSocket.size());
    const service::FileDescriptor socket(
        ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    (void)sendto(socket.get(), message.data(), message.size(), MSG_NOSIGNAL,
                 reinterpret_cast<const sockaddr*>(&address), length);
}

} // namespace filler
