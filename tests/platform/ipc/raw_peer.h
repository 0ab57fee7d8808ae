#ifndef TESTS_PLATFORM_IPC_RAW_PEER_H
#define TESTS_PLATFORM_IPC_RAW_PEER_H

#include <cstdint>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace OHOS {

using Bytes = std::vector<uint8_t>;

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
Bytes operator+(Bytes front, const Bytes& back);
Bytes operator+(Bytes front, const std::string& back);
Bytes operator+(Bytes front, uint32_t back);
Bytes Message(const RawHead& head);
Bytes ObjectRecord(uint64_t id, uint32_t owner);
// A control message with its `id` and `number`, the rest 0.
Bytes Control(uint32_t kind, uint64_t id, uint64_t number);
// HELLO of version 1 with the limits that a client has by default.
Bytes Hello();
// Of pairs of hexadecimal digits.
Bytes Hex(const std::string& digits);

// A stream socket to a daemon that does just what it is told. Reading waits two seconds at most.
class RawSocket {
public:
    explicit RawSocket(int fd);
    RawSocket(RawSocket&& other) noexcept : fd_(std::exchange(other.fd_, -1))
    {}
    ~RawSocket();
    static RawSocket Connect(const std::string& path);

    bool Send(const Bytes& bytes, const std::vector<int>& descriptors = {}) const;
    // Exactly `size` bytes, or as many as came before the end or the time-out; `descriptor` takes one that came along.
    Bytes Read(size_t size, int* descriptor = nullptr) const;
    // Whether the other side has ended it, behind what can still be read.
    bool AtEnd() const;
    // Makes a lane and gives its other end away, with a socket option set there if `option` is one.
    RawSocket Offer(int option = 0) const;
    // Whether the other side has taken all that was sent.
    bool IsTaken() const;

private:
    int fd_;
};

// A client that has said hello and has a lane.
struct RawClient {
    explicit RawClient(const std::string& path)
        : control(RawSocket::Connect(path)), welcome((control.Send(Hello()), control.Read(40))), lane(control.Offer())
    {}
    // The reason that the daemon gives when it ends the connection; -1 when it does not.
    int64_t Goodbye() const;
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
