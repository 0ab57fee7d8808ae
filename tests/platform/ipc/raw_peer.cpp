#include "raw_peer.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <utility>

namespace OHOS {

namespace {

template <typename T>
void Append(Bytes& bytes, T value)
{
    std::array<uint8_t, sizeof(T)> raw;
    std::memcpy(raw.data(), &value, sizeof(T));
    bytes.insert(bytes.end(), raw.begin(), raw.end());
}

RawSocket Offer(const RawSocket& control)
{
    std::array<int, 2> pair = {-1, -1};
    EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair.data()), 0);
    EXPECT_TRUE(control.Send(Wire::Control(3, 0, 0), {pair[1]}));
    (void)::close(pair[1]);
    return RawSocket(pair[0]);
}

void SetTimeout(int fd)
{
    const timeval limit = {2, 0};
    EXPECT_EQ(::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit)), 0);
    EXPECT_EQ(::setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof(limit)), 0);
}

} // namespace

Wire& Wire::U16(uint16_t value)
{
    return Append(bytes_, value), *this;
}

Wire& Wire::U32(uint32_t value)
{
    return Append(bytes_, value), *this;
}

Wire& Wire::U64(uint64_t value)
{
    return Append(bytes_, value), *this;
}

Wire& Wire::Text(const std::string& text)
{
    bytes_.insert(bytes_.end(), text.begin(), text.end());
    return *this;
}

Wire Wire::Control(uint32_t kind, uint64_t id, uint64_t number)
{
    return Wire().Text("PLGC").U32(kind).U64(id).U64(number).U32(0).U32(0).U32(0).U32(0);
}

Wire Wire::Hello()
{
    return Wire().Text("PLGC").U32(1).U64(0).U64(1).U32(4 << 20).U32(1024).U32(4096).U32(64);
}

Wire Wire::Message(const Head& head)
{
    return Wire()
        .U32(head.magic)
        .U32(head.size)
        .U16(head.kind)
        .U16(head.flags)
        .U16(head.objects)
        .U16(head.descriptors)
        .U64(head.target)
        .U32(head.code)
        .U32(head.sequence);
}

RawSocket::RawSocket(RawSocket&& other) noexcept : fd_(std::exchange(other.fd_, -1))
{}

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
    SetTimeout(socket.fd_);
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
        rights->cmsg_level = SOL_SOCKET;
        rights->cmsg_type = SCM_RIGHTS;
        rights->cmsg_len = CMSG_LEN(descriptors.size() * sizeof(int));
        std::memcpy(CMSG_DATA(rights), descriptors.data(), descriptors.size() * sizeof(int));
    }
    return ::sendmsg(fd_, &message, MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size());
}

Bytes RawSocket::Read(size_t size) const
{
    Bytes bytes(size);
    const ssize_t read = ::recv(fd_, bytes.data(), size, MSG_WAITALL);
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

RawClient::RawClient(const std::string& path)
    : control(RawSocket::Connect(path)), welcome((control.Send(Wire::Hello()), control.Read(40))), lane(Offer(control))
{
    SetTimeout(lane.Fd());
}

RawSocket RawClient::OpenLane() const
{
    RawSocket more = Offer(control);
    SetTimeout(more.Fd());
    return more;
}

int64_t RawClient::Goodbye() const
{
    const Bytes last = control.Read(40);
    if (last.size() != 40 || last[4] != 5) {
        return -1;
    }
    uint64_t reason = 0;
    std::memcpy(&reason, last.data() + 16, sizeof(reason));
    return control.AtEnd() ? static_cast<int64_t>(reason) : -1;
}

} // namespace OHOS
