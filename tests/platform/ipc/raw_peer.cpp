#include "raw_peer.h"

#include <gtest/gtest.h>
#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>

namespace OHOS {

namespace {

template <typename... Fields>
Bytes Raw(const Fields&... fields)
{
    Bytes bytes;
    const auto append = [&bytes](const void* field, size_t size) {
        const auto* begin = static_cast<const uint8_t*>(field);
        bytes.insert(bytes.end(), begin, begin + size);
    };
    (append(&fields, sizeof(fields)), ...);
    return bytes;
}

} // namespace

Bytes operator+(Bytes front, const Bytes& back)
{
    front.insert(front.end(), back.begin(), back.end());
    return front;
}

Bytes operator+(Bytes front, const std::string& back)
{
    return std::move(front) + Bytes(back.begin(), back.end());
}

Bytes operator+(Bytes front, uint32_t back)
{
    return std::move(front) + Raw(back);
}

Bytes Message(const RawHead& head)
{
    return Raw(head.magic, head.size, head.kind, head.flags, head.objects, head.descriptors, head.target, head.code,
        head.sequence);
}

Bytes ObjectRecord(uint64_t id, uint32_t owner)
{
    return Raw(id, owner, uint32_t{0});
}

Bytes Control(uint32_t kind, uint64_t id, uint64_t number)
{
    return Raw(uint32_t{0x43474c50}, kind, id, number, uint64_t{0}, uint64_t{0});
}

Bytes Hello()
{
    return Hex("504c4743 01000000 0000000000000000 0100000000000000 00004000 00040000 00100000 40000000");
}

Bytes Hex(const std::string& digits)
{
    Bytes bytes;
    for (size_t i = 0; i < digits.size(); i += digits[i] == ' ' ? 1 : 2) {
        if (digits[i] != ' ') {
            bytes.push_back(static_cast<uint8_t>(std::stoi(digits.substr(i, 2), nullptr, 16)));
        }
    }
    return bytes;
}

RawSocket::RawSocket(int fd) : fd_(fd)
{
    const timeval limit = {2, 0};
    EXPECT_EQ(::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit)), 0);
    EXPECT_EQ(::setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof(limit)), 0);
}

RawSocket::~RawSocket()
{
    if (fd_ >= 0) {
        (void)::close(fd_);
    }
}

RawSocket RawSocket::Connect(const std::string& path)
{
    RawSocket socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    (void)path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    EXPECT_EQ(::connect(socket.fd_, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
    return socket;
}

bool RawSocket::Send(const Bytes& bytes, const std::vector<int>& descriptors) const
{
    std::array<char, CMSG_SPACE(253 * sizeof(int))> control = {};
    iovec part = {const_cast<uint8_t*>(bytes.data()), bytes.size()};
    msghdr message = {};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    if (!descriptors.empty()) {
        message.msg_control = control.data();
        message.msg_controllen = CMSG_SPACE(descriptors.size() * sizeof(int));
        cmsghdr* rights = CMSG_FIRSTHDR(&message);
        *rights = {CMSG_LEN(descriptors.size() * sizeof(int)), SOL_SOCKET, SCM_RIGHTS};
        std::memcpy(CMSG_DATA(rights), descriptors.data(), descriptors.size() * sizeof(int));
    }
    return ::sendmsg(fd_, &message, MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size());
}

Bytes RawSocket::Read(size_t size, int* descriptor) const
{
    std::array<char, CMSG_SPACE(sizeof(int))> control = {};
    Bytes bytes(size);
    iovec part = {bytes.data(), size};
    msghdr message = {};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = descriptor == nullptr ? nullptr : control.data();
    message.msg_controllen = descriptor == nullptr ? 0 : control.size();
    const ssize_t read = ::recvmsg(fd_, &message, MSG_WAITALL | MSG_CMSG_CLOEXEC);
    if (const cmsghdr* rights = CMSG_FIRSTHDR(&message); rights != nullptr) {
        std::memcpy(descriptor, CMSG_DATA(rights), sizeof(int));
    }
    bytes.resize(read < 0 ? 0 : static_cast<size_t>(read));
    return bytes;
}

bool RawSocket::AtEnd() const
{
    std::array<uint8_t, 4096> rest;
    ssize_t read = 0;
    do {
        read = ::recv(fd_, rest.data(), rest.size(), 0);
    } while (read > 0);
    return read == 0 || errno == ECONNRESET;
}

RawSocket RawSocket::Offer(int option) const
{
    std::array<int, 2> pair = {-1, -1};
    const int on = 1;
    EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair.data()), 0);
    EXPECT_TRUE(option == 0 || ::setsockopt(pair[1], SOL_SOCKET, option, &on, sizeof(on)) == 0 || errno == ENOPROTOOPT);
    EXPECT_TRUE(Send(Control(3, 0, 0), {pair[1]}));
    (void)::close(pair[1]);
    return RawSocket(pair[0]);
}

bool RawSocket::IsTaken() const
{
    int waiting = -1;
    return ::ioctl(fd_, SIOCOUTQ, &waiting) == 0 && waiting == 0;
}

int64_t RawClient::Goodbye() const
{
    const Bytes last = control.Read(40);
    if (last.size() != 40 || last[4] != 5) {
        return -1;
    }
    return control.AtEnd() ? last[16] : -1;
}

} // namespace OHOS
