#include "client_presence.h"

#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/sock_diag.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <optional>

namespace httpd {

namespace {

struct Query
{
    nlmsghdr header{};
    inet_diag_req_v2 request{};
};

// One end of a connection as the kernel's socket diagnosis wants it.
struct End
{
    std::array<uint32_t, 4> address{};
    uint16_t port = 0;
    uint8_t family = 0;
    bool isLocal = false; // on this machine
};

std::optional<End> endOf(const sockaddr_storage& storage)
{
    End end;
    end.family = static_cast<uint8_t>(storage.ss_family);
    if (storage.ss_family == AF_INET) {
        sockaddr_in address{};
        std::memcpy(&address, &storage, sizeof address);
        std::memcpy(end.address.data(), &address.sin_addr, sizeof address.sin_addr);
        end.port = address.sin_port;
        end.isLocal = (ntohl(address.sin_addr.s_addr) >> 24U) == IN_LOOPBACKNET;
        return end;
    }
    if (storage.ss_family == AF_INET6) {
        sockaddr_in6 address{};
        std::memcpy(&address, &storage, sizeof address);
        std::memcpy(end.address.data(), &address.sin6_addr, sizeof address.sin6_addr);
        end.port = address.sin6_port;
        end.isLocal = IN6_IS_ADDR_LOOPBACK(&address.sin6_addr);
        return end;
    }
    return std::nullopt;
}

using NameOf = int (*)(int, sockaddr*, socklen_t*);

std::optional<End> endOf(int socket, NameOf nameOf)
{
    sockaddr_storage storage{};
    socklen_t size = sizeof storage;
    if (nameOf(socket, reinterpret_cast<sockaddr*>(&storage), &size) != 0) {
        return std::nullopt;
    }
    return endOf(storage);
}

Query queryFor(const End& client, const End& server)
{
    Query query;
    query.header.nlmsg_len = sizeof query;
    query.header.nlmsg_type = SOCK_DIAG_BY_FAMILY;
    query.header.nlmsg_flags = NLM_F_REQUEST;
    query.request.sdiag_family = client.family;
    query.request.sdiag_protocol = IPPROTO_TCP;
    query.request.idiag_states = UINT32_MAX;
    inet_diag_sockid& id = query.request.id;
    id.idiag_sport = client.port;
    id.idiag_dport = server.port;
    std::memcpy(id.idiag_src, client.address.data(), sizeof id.idiag_src);
    std::memcpy(id.idiag_dst, server.address.data(), sizeof id.idiag_dst);
    id.idiag_cookie[0] = INET_DIAG_NOCOOKIE;
    id.idiag_cookie[1] = INET_DIAG_NOCOOKIE;
    return query;
}

// A socket that is not there any more, or that nobody holds.
bool saysGone(const char* answer, size_t size)
{
    nlmsghdr header{};
    if (size < sizeof header) {
        return false;
    }
    std::memcpy(&header, answer, sizeof header);
    answer += NLMSG_HDRLEN;
    size -= NLMSG_HDRLEN;
    if (header.nlmsg_type == NLMSG_ERROR && size >= sizeof(nlmsgerr)) {
        nlmsgerr error{};
        std::memcpy(&error, answer, sizeof error);
        return error.error == -ENOENT;
    }
    if (header.nlmsg_type == SOCK_DIAG_BY_FAMILY && size >= sizeof(inet_diag_msg)) {
        inet_diag_msg found{};
        std::memcpy(&found, answer, sizeof found);
        return found.idiag_inode == 0;
    }
    return false;
}

bool hasNoOwner(const End& client, const End& server)
{
    const int netlink =
        ::socket(AF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_SOCK_DIAG);
    if (netlink < 0) {
        return false;
    }
    const Query query = queryFor(client, server);
    std::array<char, 4096> answer{};
    // The kernel answers before send() returns.
    const bool isAsked = send(netlink, &query, sizeof query, 0) == sizeof query;
    const ssize_t size = isAsked ? recv(netlink, answer.data(), answer.size(), 0) : -1;
    (void)close(netlink);
    return size > 0 && saysGone(answer.data(), static_cast<size_t>(size));
}

} // namespace

bool hasClientGone(int socket)
{
    pollfd state{socket, POLLRDHUP, 0};
    if (poll(&state, 1, 0) < 1) {
        return false;
    }
    if ((state.revents & (POLLERR | POLLHUP | POLLNVAL)) != 0) {
        return true;
    }
    const auto client = endOf(socket, getpeername);
    const auto server = endOf(socket, getsockname);
    return client && server && client->isLocal && hasNoOwner(*client, *server);
}

} // namespace httpd
