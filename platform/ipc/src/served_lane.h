#ifndef PLATFORM_IPC_SERVED_LANE_H
#define PLATFORM_IPC_SERVED_LANE_H

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>

#include "ipc_socket.h"
#include "message_reader.h"
#include "outbox.h"
#include "reactor.h"
#include "request_road.h"
#include "stopwatch.h"

namespace OHOS::Ipc {

class SocketLink;

// Kept by a lane for as long as something may be unread in it; what it stands for happens when the last one lets go.
using Hold = std::shared_ptr<void>;
// By object. A lane lets go of all at once, so the newest of an object takes the place of those before it, whose end is
// then the end of nothing: a peer that takes and releases one all the time has us keep no more than one.
using Holds = std::map<uint64_t, Hold>;

// A lane that the peer calls through: reads a request, runs it, writes the reply, one after the other, and rests in the
// reactor's set in between. Owned by its link until it ends; belongs to the thread that the reactor gives it to, but
// for what is said to be for any.
class ServedLane : public Pollable {
public:
    ServedLane(SocketLink& link, Host::UniqueFd socket);

    // Begins to listen. False when it cannot be watched.
    [[nodiscard]] bool Open();

    // Any thread: lets the reader find the end, with `drain` behind what has arrived.
    void Shutdown(bool drain) const;
    // Any thread: keeps `hold` until all has been read that is there now, and not at all if nothing is.
    void HoldUntilRead(uint64_t object, const Hold& hold);
    // Any thread: whether a request runs whose caller waits.
    [[nodiscard]] bool IsInSynchronousRequest() const
    {
        return inSynchronousRequest_;
    }

    // Any thread: whether a message stands half-way, and what the peer is guilty of if it has since before `limit`.
    [[nodiscard]] bool IsUnfinished() const;
    [[nodiscard]] EndReason Overdue(Clock::time_point limit) const;

    [[nodiscard]] bool OnReady(uint32_t events) override;
    [[nodiscard]] Requester* PlaceFor() override;

private:
    enum class Next {
        GO_ON,
        REST,     // until something comes
        GIVE_WAY, // others wait for a place
        END,
    };

    [[nodiscard]] Next Step(bool& drained);
    [[nodiscard]] Next RestForMore();
    [[nodiscard]] Next Read(bool& drained);
    [[nodiscard]] Next Serve(IncomingMessage& request);
    [[nodiscard]] Next Reply(Answer& answer);
    [[nodiscard]] Next ReplyRefused(const Answer& answer, bool begun);
    [[nodiscard]] Next FlushReply();
    void BeginWork();
    void Rest();
    void Close();

    const sptr<SocketLink> link_;
    const IpcSocket socket_;
    Reactor::Ticket ticket_ = 0;
    MessageReader reader_;
    Outbox outbox_;
    bool ending_ = false;    // the end is there to be read
    GivenObjects lastReply_; // its stubs come back if the caller goes without having read it
    std::atomic<bool> inSynchronousRequest_{false};
    Stopwatch receiving_; // a request has begun to arrive
    Stopwatch sending_;   // a reply is not being taken

    std::mutex mutex_;
    // Guarded by mutex_.
    bool quiet_ = true; // nobody works here, and no message has begun
    Holds holds_;
};

} // namespace OHOS::Ipc

#endif // PLATFORM_IPC_SERVED_LANE_H
