#ifndef PLATFORM_IPC_OUTBOX_H
#define PLATFORM_IPC_OUTBOX_H

#include <sys/uio.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

#include "host/unique_fd.h"
#include "message.h"

namespace OHOS::Ipc {

// One message on its way into a socket, written in as few pieces as its descriptors allow. Points to bytes and
// descriptors that stay the owner's. One thread at a time; never waits.
class Sending {
public:
    enum class State {
        SENT,
        BLOCKED, // the peer has to read first
        GONE,    // the peer has closed
        REFUSED, // the system takes no more descriptors, or has no memory
    };

    explicit Sending(const OutgoingMessage& message) : Sending(message.Bytes(), message.Descriptors())
    {}
    Sending(const std::array<iovec, 3>& parts, const std::vector<Host::UniqueFd>& descriptors)
        : parts_(parts), descriptors_(&descriptors)
    {}

    // Writes on.
    [[nodiscard]] State Continue(int socket);
    // Whether a part of it has been written: then the socket is of no use for anything else before the rest.
    [[nodiscard]] bool IsBegun() const
    {
        return begun_;
    }
    [[nodiscard]] size_t Remaining() const;

    // Copies the rest of the bytes.
    [[nodiscard]] std::vector<uint8_t> CopyRest() const;
    [[nodiscard]] size_t DescriptorsSent() const
    {
        return descriptorsSent_;
    }

private:
    [[nodiscard]] ssize_t WriteOnce(int socket);
    void Advance(size_t written);

    std::array<iovec, 3> parts_;
    const std::vector<Host::UniqueFd>* descriptors_;
    size_t descriptorsSent_ = 0;
    bool begun_ = false;
};

// What a message that has to wait keeps alive.
struct Baggage {
    // Takes descriptors and objects out of the parcel.
    static Baggage Of(MessageParcel& parcel, GivenObjects given);

    std::vector<Host::UniqueFd> descriptors;
    std::vector<sptr<IRemoteObject>> objects; // a release may not overtake the message that names them
    GivenObjects given;
};

// Messages that a peer has not made room for, in their order. Not for two threads at once; lets go of no object. Counts
// its bytes in `queuedBytes` of the connection, which outlives it.
class Outbox {
public:
    explicit Outbox(std::atomic<size_t>& queuedBytes) : queuedBytes_(queuedBytes)
    {}
    ~Outbox();
    Outbox(const Outbox&) = delete;
    Outbox& operator=(const Outbox&) = delete;

    [[nodiscard]] bool IsEmpty() const
    {
        return waiting_.empty();
    }
    // Adds what is left of a message.
    void Add(const Sending& rest, Baggage baggage);
    // Drops what waits, and what it had with it.
    void Clear();
    // Writes on. SENT: it is empty now. `delivered` gets what the messages that went out whole had with them.
    [[nodiscard]] Sending::State Flush(int socket, std::vector<Baggage>& delivered);

private:
    struct Waiting {
        Waiting(const Sending& rest, Baggage baggage);

        std::vector<uint8_t> bytes;
        Baggage baggage;
        Sending sending;
    };

    std::atomic<size_t>& queuedBytes_;
    std::deque<Waiting> waiting_;
};

} // namespace OHOS::Ipc

#endif // PLATFORM_IPC_OUTBOX_H
