#include "wire/control.h"

#include <sys/socket.h>

#include <cerrno>
#include <cstddef>
#include <cstring>

namespace host {

namespace {

constexpr size_t kMaxTextBytes = 512;

// A packet as it travels; text is cut to what fits.
struct Packet
{
    ControlKind kind;
    uint32_t id;
    int32_t pid;
    uint32_t textBytes;
    char text[kMaxTextBytes];
};

// Room for one file descriptor beside a packet.
union FdSlot {
    cmsghdr header;
    char bytes[CMSG_SPACE(sizeof(int))];
};

void attach(msghdr& header, FdSlot& slot, int fd)
{
    header.msg_control = slot.bytes;
    header.msg_controllen = sizeof slot.bytes;
    cmsghdr* control = CMSG_FIRSTHDR(&header);
    control->cmsg_level = SOL_SOCKET;
    control->cmsg_type = SCM_RIGHTS;
    control->cmsg_len = CMSG_LEN(sizeof fd);
    std::memcpy(CMSG_DATA(control), &fd, sizeof fd);
}

service::FileDescriptor attachedDescriptor(msghdr& header)
{
    const cmsghdr* control = CMSG_FIRSTHDR(&header);
    if (control == nullptr || control->cmsg_level != SOL_SOCKET ||
        control->cmsg_type != SCM_RIGHTS || control->cmsg_len != CMSG_LEN(sizeof(int))) {
        return {};
    }
    int fd = -1;
    std::memcpy(&fd, CMSG_DATA(control), sizeof fd);
    return service::FileDescriptor(fd);
}

} // namespace

bool sendControl(int socket, const ControlMessage& message)
{
    Packet packet{message.kind, message.id, message.pid, 0, {}};
    packet.textBytes = static_cast<uint32_t>(message.text.copy(packet.text, sizeof packet.text));
    iovec data{&packet, sizeof packet};
    FdSlot slot{};
    msghdr header{};
    header.msg_iov = &data;
    header.msg_iovlen = 1;
    if (message.descriptor.isOpen()) {
        attach(header, slot, message.descriptor.get());
    }
    ssize_t sent = 0;
    do {
        sent = sendmsg(socket, &header, MSG_NOSIGNAL);
    } while (sent < 0 && errno == EINTR);
    return sent == static_cast<ssize_t>(sizeof packet);
}

Received receiveControl(int socket, ControlMessage& message)
{
    Packet packet{};
    iovec data{&packet, sizeof packet};
    FdSlot slot{};
    msghdr header{};
    header.msg_iov = &data;
    header.msg_iovlen = 1;
    header.msg_control = slot.bytes;
    header.msg_controllen = sizeof slot.bytes;
    ssize_t got = 0;
    do {
        got = recvmsg(socket, &header, MSG_CMSG_CLOEXEC);
    } while (got < 0 && errno == EINTR);
    if (got < 0 && errno == EAGAIN) {
        return Received::Nothing;
    }
    if (got != static_cast<ssize_t>(sizeof packet) || packet.textBytes > sizeof packet.text) {
        return Received::Gone;
    }
    message.kind = packet.kind;
    message.id = packet.id;
    message.pid = packet.pid;
    message.text.assign(packet.text, packet.textBytes);
    message.descriptor = attachedDescriptor(header);
    return Received::Message;
}

} // namespace host
