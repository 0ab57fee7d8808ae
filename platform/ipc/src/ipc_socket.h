#ifndef PLATFORM_IPC_IPC_SOCKET_H
#define PLATFORM_IPC_IPC_SOCKET_H

#include <cstddef>
#include <cstdint>

#include "host/unique_fd.h"

namespace OHOS::Ipc {

// Which process this is: changes in the child of a fork. What was made under another number belongs to the parent, and
// its locks and descriptors are not to be touched.
[[nodiscard]] uint32_t ProcessGeneration();

// Owns a descriptor of the transport (a socket, an epoll set, a timer). The child of a fork closes all of them at once,
// so that a death is seen even when the dead process leaves a child behind.
class IpcSocket {
public:
    IpcSocket() = default;
    explicit IpcSocket(Host::UniqueFd fd);
    IpcSocket(IpcSocket&& other) noexcept;
    IpcSocket& operator=(IpcSocket&& other) noexcept;
    ~IpcSocket();

    [[nodiscard]] int Get() const
    {
        return fd_;
    }
    [[nodiscard]] bool IsOpen() const
    {
        return fd_ >= 0;
    }
    void Close();

    // Bytes that have arrived and were not read.
    [[nodiscard]] size_t Unread() const;
    // Ends both directions, or the receiving one: what has arrived can still be read. Wakes who waits.
    void Shutdown() const;
    void ShutdownReceiving() const;

private:
    int fd_ = -1;
    uint32_t generation_ = 0;
};

// Two connected stream sockets; closed ones when no more can be opened.
struct SocketPair {
    Host::UniqueFd ours;
    Host::UniqueFd theirs;

    static SocketPair Make();
};

// Whether a descriptor that a peer sent is a connected stream socket of the local kind: one that reading and writing
// without waiting is safe on.
[[nodiscard]] bool IsLocalStream(int fd);

} // namespace OHOS::Ipc

#endif // PLATFORM_IPC_IPC_SOCKET_H
