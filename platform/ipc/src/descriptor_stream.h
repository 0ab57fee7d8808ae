#ifndef PLATFORM_IPC_DESCRIPTOR_STREAM_H
#define PLATFORM_IPC_DESCRIPTOR_STREAM_H

#include <sys/socket.h>
#include <sys/uio.h>

#include <cstddef>
#include <cstdint>
#include <vector>

#include "host/unique_fd.h"

namespace OHOS::Ipc {

// The receiving end of a stream socket: bytes, and the descriptors that travel with them, each of which belongs to the
// message that the last byte of its read is in. Keeps the descriptors until their message is whole. One thread at a
// time.
class DescriptorStream {
public:
    enum class Fill {
        DATA,    // something was read
        NOTHING, // nothing there, or nothing came in time
        CLOSED,  // the peer has closed, and had read all that was sent to it
        RESET,   // the peer has closed and left something unread
    };

    // Reads once into `parts`, which have room. `flags` as for recvmsg.
    [[nodiscard]] Fill Receive(int fd, iovec* parts, size_t count, int flags);

    // Bytes that the last successful Receive read.
    [[nodiscard]] size_t LastRead() const
    {
        return lastRead_;
    }
    // Whether there may be more to read at once: the read filled its room, or stopped behind descriptors.
    [[nodiscard]] bool MayHaveMore() const
    {
        return mayHaveMore_;
    }
    // Bytes read so far: the position in the stream.
    [[nodiscard]] uint64_t Position() const
    {
        return position_;
    }

    // Descriptors that are kept.
    [[nodiscard]] size_t Count() const
    {
        return arrived_.size();
    }
    [[nodiscard]] size_t CountBefore(uint64_t position) const;
    // Takes those that came with bytes before `position`, and fills up with closed ones to `announced`: those that this
    // process could not take because it may open no more, and all behind them, whose numbers are not known any more.
    [[nodiscard]] std::vector<Host::UniqueFd> TakeBefore(uint64_t position, size_t announced);

private:
    struct Arrived {
        Host::UniqueFd fd; // closed: one or more were lost
        uint64_t position; // of the last byte of its read
    };

    void TakeDescriptors(msghdr& message);

    std::vector<Arrived> arrived_;
    uint64_t position_ = 0;
    size_t lastRead_ = 0;
    bool mayHaveMore_ = true;
};

} // namespace OHOS::Ipc

#endif // PLATFORM_IPC_DESCRIPTOR_STREAM_H
