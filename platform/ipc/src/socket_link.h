#ifndef PLATFORM_IPC_SOCKET_LINK_H
#define PLATFORM_IPC_SOCKET_LINK_H

#include <atomic>
#include <chrono>
#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "control_socket.h"
#include "host/ipc_transport.h"
#include "lane_pool.h"
#include "link.h"
#include "link_group.h"
#include "message_reader.h"
#include "reactor.h"
#include "served_lane.h"

namespace OHOS::Ipc {

// Who is at the other end of a control socket, as the kernel and the listening socket say.
struct PeerName {
    Caller caller;
    std::string token; // name of the socket, for people
};

// What one process has us keep, over all its connections in a group: shared by their links. Any thread.
struct ProcessLoad {
    std::atomic<size_t> lanes{0}; // that it calls through
    Backlog unfinished;
};

// A process behind a control socket, with the lanes in both directions. Its life: Open, then requests and calls until
// either side ends the control socket; then calls fail, what had arrived one-way is still handled, the death recipients
// are told, and the link leaves its group.
// Owned by its group until then, and by lanes and proxies. Any thread may call.
class SocketLink : public Link {
public:
    // `root`: what the peer gets when it has said hello; null on the client's side, where the hello is over.
    SocketLink(std::shared_ptr<LinkGroup> group, Host::UniqueFd control, const PeerName& peer,
        const Host::IpcLimits& limits, const sptr<IPCObjectStub>& root);

    // Joins the group and begins to listen. False when that is impossible: then it has been ended, with its line in the
    // log.
    [[nodiscard]] bool Open();
    // For the group, as it takes the link in: `other` is of the same process.
    void ShareLoad(const SocketLink& other)
    {
        load_ = other.load_;
    }
    // What the peer says that it can take. Before the first call.
    void LimitBy(const ControlMessage& hello);
    // Ends the connection, with a line in the log unless that is in order. From anywhere, under any lock but the
    // control socket's: the rest happens on the reactor's threads.
    void End(EndReason why);

    [[nodiscard]] int Transact(RemoteProxy& object, uint32_t code, MessageParcel& data, MessageParcel& reply,
        const MessageOption& option) override;
    void SendRelease(uint64_t object, uint64_t count) override;
    void DropWhenRead(uint64_t object) override;
    [[nodiscard]] bool IsStranded() const override
    {
        return generation_ != ProcessGeneration();
    }

    [[nodiscard]] Host::IpcConnectionInfo Describe() const;

    // ---- For its parts

    [[nodiscard]] const Host::IpcLimits& Limits() const
    {
        return limits_;
    }
    // What may be sent: within our limits and the peer's.
    [[nodiscard]] const Host::IpcLimits& SendLimits() const
    {
        return sendLimits_;
    }
    [[nodiscard]] Requester& Places()
    {
        return requester_;
    }
    [[nodiscard]] LanePool& Lanes()
    {
        return lanes_;
    }
    // Written and not taken by the peer's sockets, in all lanes.
    [[nodiscard]] std::atomic<size_t>& QueuedBytes()
    {
        return queuedBytes_;
    }
    // Begun by the peer and not whole, in all lanes of all its connections.
    [[nodiscard]] Backlog& Unfinished()
    {
        return load_->unfinished;
    }
    // Gives the peer its end of a new lane. 0, or an IpcError.
    [[nodiscard]] int OfferLane(Host::UniqueFd theirs);
    // Something stands half-way: it is looked at when its time is up.
    void WatchDeadline();
    void LaneEnded(const ServedLane& lane);
    // Whether it was ended here: then nothing more of it is handled.
    [[nodiscard]] bool IsEndedByUs() const
    {
        return endReason_ != EndReason::NONE;
    }
    // What the control socket brings. NONE, or what is wrong with it.
    [[nodiscard]] EndReason OnControlMessage(const ControlMessage& message, std::vector<Host::UniqueFd> descriptors);
    void OnControlEnd();

private:
    class Retired;

    // A lane that the peer calls through.
    struct Served {
        sptr<ServedLane> lane;
        bool draining = false; // the link is dead, and one-way requests may be in it that came before
    };

    [[nodiscard]] EndReason OnHello(const ControlMessage& message);
    [[nodiscard]] EndReason OnLane(std::vector<Host::UniqueFd> descriptors);
    [[nodiscard]] EndReason OnRelease(const ControlMessage& message);

    [[nodiscard]] int CallThrough(CallLane& lane, OutgoingMessage& request, int waitSeconds, MessageParcel& reply);

    void WatchDeadlineIn(std::chrono::milliseconds delay);
    void CheckDeadlines();
    [[nodiscard]] EndReason FindOverdue(Clock::time_point limit, bool& unfinished) const;
    void CloseIfUnused();
    void StopDraining();
    void EndIfDrained();
    void Mourn();

    const uint32_t generation_ = ProcessGeneration();
    const std::shared_ptr<LinkGroup> group_;
    const std::string token_;
    const Host::IpcLimits limits_;
    Host::IpcLimits sendLimits_;     // fixed before the first call
    const sptr<IPCObjectStub> root_; // null on the client's side
    std::atomic<size_t> queuedBytes_{0};
    std::shared_ptr<ProcessLoad> load_ = std::make_shared<ProcessLoad>(); // fixed before the first lane
    const sptr<ControlSocket> control_;
    Requester requester_;
    LanePool lanes_;
    std::atomic<EndReason> endReason_{EndReason::NONE}; // set when it is we who end it
    std::atomic<bool> deadlineWatched_{false};
    Stopwatch greeting_; // the hello is awaited

    mutable std::mutex mutex_; // taken before those of lanes; nothing is let go under it
    // Guarded by mutex_.
    std::vector<Served> served_;
    bool dead_ = false;
    bool mourning_ = false; // the recipients are told, or will be
    bool mourned_ = false;
};

} // namespace OHOS::Ipc

#endif // PLATFORM_IPC_SOCKET_LINK_H
