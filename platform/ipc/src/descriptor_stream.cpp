#include "descriptor_stream.h"

#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>

#include "wire.h"

namespace OHOS::Ipc {

namespace {

// What a socket option of the peer's choice adds to what is read: a descriptor of the sender's process.
constexpr int SCM_PROCESS_DESCRIPTOR = 4;

union ControlSpace {
    char bytes[CMSG_SPACE(DESCRIPTORS_PER_SOCKET_MESSAGE * sizeof(int))];
    cmsghdr align;
};

size_t SizeOf(const iovec* parts, size_t count)
{
    size_t size = 0;
    for (size_t i = 0; i < count; ++i) {
        size += parts[i].iov_len;
    }
    return size;
}

DescriptorStream::Fill FillOfError(int error)
{
    if (error == EAGAIN || error == EWOULDBLOCK || error == EINTR) {
        return DescriptorStream::Fill::NOTHING;
    }
    return DescriptorStream::Fill::RESET;
}

} // namespace

DescriptorStream::Fill DescriptorStream::Receive(int fd, iovec* parts, size_t count, int flags)
{
    ControlSpace control;
    msghdr message = {};
    message.msg_iov = parts;
    message.msg_iovlen = count;
    message.msg_control = control.bytes;
    message.msg_controllen = sizeof(control.bytes);
    ssize_t read = 0;
    do {
        read = ::recvmsg(fd, &message, flags | MSG_CMSG_CLOEXEC);
    } while (read < 0 && errno == EINTR && (flags & MSG_DONTWAIT) != 0);
    if (read < 0) {
        return FillOfError(errno);
    }
    if (read == 0) {
        return Fill::CLOSED;
    }
    lastRead_ = static_cast<size_t>(read);
    position_ += lastRead_;
    mayHaveMore_ = lastRead_ == SizeOf(parts, count);
    TakeDescriptors(message);
    return Fill::DATA;
}

void DescriptorStream::TakeDescriptors(msghdr& message)
{
    for (cmsghdr* part = CMSG_FIRSTHDR(&message); part != nullptr; part = CMSG_NXTHDR(&message, part)) {
        const bool ours = part->cmsg_level == SOL_SOCKET && part->cmsg_type == SCM_RIGHTS;
        if (!ours && (part->cmsg_level != SOL_SOCKET || part->cmsg_type != SCM_PROCESS_DESCRIPTOR)) {
            continue;
        }
        mayHaveMore_ = mayHaveMore_ || ours;
        for (size_t offset = 0; offset < part->cmsg_len - CMSG_LEN(0); offset += sizeof(int)) {
            int received = -1;
            std::memcpy(&received, CMSG_DATA(part) + offset, sizeof(received));
            Host::UniqueFd taken(received);
            if (ours) {
                arrived_.push_back({std::move(taken), position_ - 1});
            }
        }
    }
    if ((message.msg_flags & MSG_CTRUNC) != 0) {
        arrived_.push_back({Host::UniqueFd(), position_ - 1}); // at least one was lost here
        mayHaveMore_ = true;                                   // the read stopped behind it all the same
    }
}

size_t DescriptorStream::CountBefore(uint64_t position) const
{
    return static_cast<size_t>(std::count_if(
        arrived_.begin(), arrived_.end(), [position](const Arrived& one) { return one.position < position; }));
}

std::vector<Host::UniqueFd> DescriptorStream::TakeBefore(uint64_t position, size_t announced)
{
    std::vector<Host::UniqueFd> taken;
    const auto count = static_cast<ptrdiff_t>(CountBefore(position)); // they come in the order of their positions
    bool lost = false;                                                // from there on nobody knows which is which
    for (auto one = arrived_.begin(); one != arrived_.begin() + count; ++one) {
        lost = lost || !one->fd.IsOpen();
        taken.push_back(lost ? Host::UniqueFd() : std::move(one->fd));
    }
    arrived_.erase(arrived_.begin(), arrived_.begin() + count);
    taken.resize(std::max(announced, taken.size()));
    return taken;
}

} // namespace OHOS::Ipc
