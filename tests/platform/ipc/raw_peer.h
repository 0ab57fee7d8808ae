#ifndef TESTS_PLATFORM_IPC_RAW_PEER_H
#define TESTS_PLATFORM_IPC_RAW_PEER_H

#include <cstdint>
#include <string>
#include <vector>

namespace OHOS {

using Bytes = std::vector<uint8_t>;

// Bytes of the wire, put together by hand: a client in another language.
class Wire {
public:
    Wire& U16(uint16_t value);
    Wire& U32(uint32_t value);
    Wire& U64(uint64_t value);
    Wire& Text(const std::string& text);
    operator Bytes() const
    {
        return bytes_;
    }

    // A control message with its `id` and `number`, the rest 0.
    static Wire Control(uint32_t kind, uint64_t id, uint64_t number);
    // HELLO of version 1 with the limits that a client has by default.
    static Wire Hello();
    // A head that claims this, true or not.
    struct Head {
        uint32_t magic = 0x4d474c50;
        uint32_t size = 32;
        uint16_t kind = 1;
        uint16_t flags = 0;
        uint16_t objects = 0;
        uint16_t descriptors = 0;
        uint64_t target = 1;
        uint32_t code = 1;
        uint32_t sequence = 1;
    };
    static Wire Message(const Head& head);

private:
    Bytes bytes_;
};

// A stream socket to a daemon that does just what it is told. Reading waits two seconds at most.
class RawSocket {
public:
    explicit RawSocket(int fd) : fd_(fd)
    {}
    RawSocket(RawSocket&& other) noexcept;
    ~RawSocket();
    static RawSocket Connect(const std::string& path);

    bool Send(const Bytes& bytes, const std::vector<int>& descriptors = {}) const;
    // Exactly `size` bytes, or as many as came before the end or the time-out.
    Bytes Read(size_t size) const;
    // Whether the other side has ended it, behind what can still be read.
    bool AtEnd() const;
    int Fd() const
    {
        return fd_;
    }

private:
    int fd_;
};

// A client that has said hello and has a lane.
struct RawClient {
    explicit RawClient(const std::string& path);
    // One more lane.
    RawSocket OpenLane() const;
    // The reason that the daemon gives when it ends the connection; -1 when it does not.
    int64_t Goodbye() const;

    RawSocket control;
    Bytes welcome;
    RawSocket lane;
};

} // namespace OHOS

#endif // TESTS_PLATFORM_IPC_RAW_PEER_H
