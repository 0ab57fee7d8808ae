#ifndef PLATFORM_IPC_CONTROL_SOCKET_H
#define PLATFORM_IPC_CONTROL_SOCKET_H

#include <array>
#include <atomic>
#include <mutex>
#include <vector>

#include "descriptor_stream.h"
#include "host/ipc_transport.h"
#include "ipc_socket.h"
#include "outbox.h"
#include "reactor.h"
#include "stopwatch.h"
#include "wire.h"

namespace OHOS::Ipc {

class SocketLink;

// The socket that two processes know each other by: carries control messages, and its end is the end of the connection.
// Owned by its link. Sending is for any thread; what arrives is told to the link, on the reactor's threads, one at a
// time. Does not know what the messages mean.
class ControlSocket : public Pollable {
public:
    // `link` outlives the watching, by owning it.
    ControlSocket(SocketLink& link, Host::UniqueFd socket);

    // Begins to listen. False when it cannot be watched.
    [[nodiscard]] bool Open();
    // Sends or queues, with at most one descriptor. GONE when the connection is at its end, or comes to it by this;
    // REFUSED, and nothing has happened, when the system does not take the descriptor.
    Sending::State Send(const ControlMessage& message, Host::UniqueFd descriptor = Host::UniqueFd());
    // Sends if it can be sent now: the last word.
    void SayGoodbye(EndReason why);
    // Ends the connection: the reader finds the end.
    void Shutdown();
    // Lets go of the socket, at its end.
    void Close();

    // Any thread: whether a message stands half-way, and what the peer is guilty of if it has since before `limit`.
    [[nodiscard]] bool IsUnfinished() const;
    [[nodiscard]] EndReason Overdue(Clock::time_point limit) const;

    [[nodiscard]] bool OnReady(uint32_t events) override;

private:
    [[nodiscard]] EndReason Read(bool toTheEnd);
    [[nodiscard]] EndReason HandOut();
    [[nodiscard]] Sending::State Flush();

    SocketLink& link_;
    Reactor::Ticket ticket_ = 0;
    Stopwatch receiving_;
    Stopwatch sending_;

    // Of the thread that the reactor gives it to, which reads, and alone closes the socket.
    DescriptorStream stream_;
    std::array<uint8_t, 32 * sizeof(ControlMessage)> bytes_;
    size_t size_ = 0; // of what is in bytes_
    bool ended_ = false;

    std::mutex mutex_;
    // Guarded by mutex_, but for reading.
    IpcSocket socket_;
    Outbox outbox_;
};

} // namespace OHOS::Ipc

#endif // PLATFORM_IPC_CONTROL_SOCKET_H
