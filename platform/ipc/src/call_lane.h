#ifndef PLATFORM_IPC_CALL_LANE_H
#define PLATFORM_IPC_CALL_LANE_H

#include <chrono>
#include <cstdint>
#include <mutex>

#include "ipc_socket.h"
#include "message_reader.h"
#include "outbox.h"
#include "reactor.h"
#include "stopwatch.h"

namespace OHOS::Ipc {

class SocketLink;

// A lane that this process calls through, one call at a time. Owned by the pool of its link; used by the thread that
// has taken it from there alone, but for the writing of one-way messages that had to wait and for what is said to be
// for any thread. A one-way message is answered too, only that nobody waits for it: the answer tells that it has been
// handled.
class CallLane : public Pollable {
public:
    CallLane(SocketLink& link, Host::UniqueFd socket);

    // Sends, and waits `waitSeconds` for the reply. 0 with the reply, or an IpcError.
    [[nodiscard]] int Call(OutgoingMessage& request, int waitSeconds, IncomingMessage& reply);
    // Sends one-way. What has to wait takes descriptors and objects out of `data` and keeps `target`. 0, or an
    // IpcError.
    [[nodiscard]] int Post(OutgoingMessage& request, MessageParcel& data, const sptr<IRemoteObject>& target);

    // Whether one-way messages may not have been handled yet; looks for answers that have come. Such a lane is for the
    // thread that sent them alone, so that what it sends next comes after.
    [[nodiscard]] bool IsPending();
    // Whether it can be used again: not after a time-out, whose reply may still come, and not when it has failed.
    [[nodiscard]] bool IsUsable() const
    {
        return usable_;
    }
    // Ends the writing of what waits. By the pool, when nobody uses it any more.
    void Close();

    // Any thread: wakes the caller, whose call fails.
    void Shutdown() const;
    // Any thread: whether a message stands half-way, and what the peer is guilty of if it has since before `limit`.
    [[nodiscard]] bool IsUnfinished() const;
    [[nodiscard]] EndReason Overdue(Clock::time_point limit) const;

    [[nodiscard]] bool OnReady(uint32_t events) override;

private:
    static constexpr uint32_t ANSWERS_AT_ONCE = 32;

    [[nodiscard]] int Send(Sending& request, Clock::time_point deadline);
    [[nodiscard]] Sending::State FlushOutbox();
    [[nodiscard]] int WaitForRoom(Clock::time_point deadline) const;
    [[nodiscard]] int AwaitReply(uint32_t sequence, Clock::time_point deadline, IncomingMessage& reply);
    [[nodiscard]] bool TakeAnswer(const MessageHead& head);
    [[nodiscard]] int Receive(Clock::time_point deadline);
    void CollectAnswers();
    [[nodiscard]] int Fail(int error);

    // With outMutex_ held.
    [[nodiscard]] Sending::State Flush(std::vector<Baggage>& delivered);
    void Watch();
    void Unwatch();

    const sptr<SocketLink> link_;
    const IpcSocket socket_;
    MessageReader reader_;
    uint32_t sequence_ = 0;
    uint32_t answered_ = 0; // the last sequence that is
    bool usable_ = true;
    std::chrono::microseconds receiveTimeout_{0}; // what the socket is set to
    Stopwatch sending_;                           // a one-way message is not being taken

    std::mutex outMutex_; // for writing
    // Guarded by outMutex_.
    Outbox outbox_;
    Reactor::Ticket ticket_ = 0; // while the outbox waits for room
};

} // namespace OHOS::Ipc

#endif // PLATFORM_IPC_CALL_LANE_H
