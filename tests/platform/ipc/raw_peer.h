#ifndef TESTS_PLATFORM_IPC_RAW_PEER_H
#define TESTS_PLATFORM_IPC_RAW_PEER_H

#include <gtest/gtest.h>
#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

#include "bytes.h"

namespace OHOS {

// The bytes of the wire, put together by hand: a client in another language.
struct RawHead {
    uint32_t size = 32;
    uint16_t kind = 1;
    uint16_t flags = 0;
    uint16_t objects = 0;
    uint16_t descriptors = 0;
    uint64_t target = 1;
    uint32_t code = 1;
    uint32_t sequence = 1;
    uint32_t magic = 0x4d474c50; // stands first on the wire
};

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
inline Bytes operator+(Bytes front, const Bytes& back)
{
    front.insert(front.end(), back.begin(), back.end());
    return front;
}
inline Bytes operator+(Bytes front, const std::string& back)
{
    return std::move(front) + Bytes(back.begin(), back.end());
}
inline Bytes operator+(Bytes front, uint32_t back)
{
    return std::move(front) + Raw(back);
}
inline Bytes Message(const RawHead& head)
{
    return Raw(head.magic, head.size, head.kind, head.flags, head.objects, head.descriptors, head.target, head.code,
        head.sequence);
}
inline Bytes ObjectRecord(uint64_t id, uint32_t owner)
{
    return Raw(id, owner, uint32_t{0});
}
// A control message with its `id` and `number`, the rest 0.
inline Bytes Control(uint32_t kind, uint64_t id, uint64_t number)
{
    return Raw(uint32_t{0x43474c50}, kind, id, number, uint64_t{0}, uint64_t{0});
}
// HELLO of version 1 with the limits that a client has by default.
inline Bytes Hello()
{
    return Hex("504c4743 01000000 0000000000000000 0100000000000000 00004000 00040000 00100000 40000000");
}

// A stream socket to a daemon that does just what it is told. Neither way it waits for more
// than twenty seconds.
class RawSocket {
public:
    explicit RawSocket(int fd) : fd_(fd)
    {
        const timeval limit = {20, 0};
        EXPECT_EQ(::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit)), 0);
        EXPECT_EQ(::setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof(limit)), 0);
    }
    RawSocket(RawSocket&& other) noexcept : fd_(std::exchange(other.fd_, -1))
    {}
    ~RawSocket()
    {
        if (fd_ >= 0) {
            (void)::close(fd_);
        }
    }
    static RawSocket Connect(const std::string& path)
    {
        RawSocket socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        sockaddr_un address = {AF_UNIX, {}};
        (void)path.copy(address.sun_path, sizeof(address.sun_path) - 1);
        EXPECT_EQ(::connect(socket.fd_, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
        return socket;
    }

    bool Send(const Bytes& bytes, const std::vector<int>& descriptors = {}) const
    {
        Rights rights = {CMSG_LEN(descriptors.size() * sizeof(int)), SOL_SOCKET, SCM_RIGHTS, {}};
        std::copy(descriptors.begin(), descriptors.end(), rights.descriptors.begin());
        iovec part = {const_cast<uint8_t*>(bytes.data()), bytes.size()};
        const msghdr message = {nullptr, 0, &part, 1, &rights, descriptors.empty() ? 0 : rights.length, 0};
        return ::sendmsg(fd_, &message, MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size());
    }
    // Exactly `size` bytes, or as many as came before the end or the time-out; `descriptor` takes one that came along.
    Bytes Read(size_t size, int* descriptor = nullptr) const
    {
        Rights rights = {};
        Bytes bytes(size);
        iovec part = {bytes.data(), size};
        msghdr message = {nullptr, 0, &part, 1, &rights, descriptor == nullptr ? 0 : CMSG_LEN(sizeof(int)), 0};
        const ssize_t read = ::recvmsg(fd_, &message, MSG_WAITALL | MSG_CMSG_CLOEXEC);
        if (descriptor != nullptr && message.msg_controllen != 0) {
            *descriptor = rights.descriptors[0];
        }
        bytes.resize(read < 0 ? 0 : static_cast<size_t>(read));
        return bytes;
    }
    // Whether the other side has ended it, behind what can still be read.
    bool AtEnd() const
    {
        std::array<uint8_t, 4096> rest;
        ssize_t read = 0;
        do {
            read = ::recv(fd_, rest.data(), rest.size(), 0);
        } while (read > 0);
        return read == 0 || errno == ECONNRESET;
    }
    // Makes a lane and gives its other end away, with a socket option set there if `option` is one.
    RawSocket Offer(int option = 0) const
    {
        std::array<int, 2> pair = {-1, -1};
        const int on = 1;
        EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair.data()), 0);
        EXPECT_TRUE(
            option == 0 || ::setsockopt(pair[1], SOL_SOCKET, option, &on, sizeof(on)) == 0 || errno == ENOPROTOOPT);
        EXPECT_TRUE(Send(Control(3, 0, 0), {pair[1]}));
        (void)::close(pair[1]);
        return RawSocket(pair[0]);
    }
    // Whether the other side has taken all that was sent.
    bool IsTaken() const
    {
        int waiting = -1;
        return ::ioctl(fd_, SIOCOUTQ, &waiting) == 0 && waiting == 0;
    }

private:
    // A cmsghdr with room for as many descriptors as a socket message carries.
    struct Rights {
        size_t length;
        int level;
        int type;
        std::array<int, 253> descriptors;
    };

    int fd_;
};

// A client that has said hello and has a lane.
struct RawClient {
    explicit RawClient(const std::string& path)
        : control(RawSocket::Connect(path)), welcome((control.Send(Hello()), control.Read(40))), lane(control.Offer())
    {}
    // The reason that the daemon gives when it ends the connection; -1 when it does not.
    int64_t Goodbye() const
    {
        const Bytes last = control.Read(40);
        return last.size() == 40 && last[4] == 5 && control.AtEnd() ? last[16] : -1;
    }
    // Sends the request on the lane and reads its reply, `size` bytes long.
    Bytes Ask(const Bytes& request, size_t size = 32, const std::vector<int>& descriptors = {}) const
    {
        return lane.Send(request, descriptors) ? lane.Read(size) : Bytes();
    }

    RawSocket control;
    Bytes welcome;
    RawSocket lane;
};

} // namespace OHOS

#endif // TESTS_PLATFORM_IPC_RAW_PEER_H
