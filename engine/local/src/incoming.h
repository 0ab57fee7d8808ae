#ifndef PELAGO_ENGINE_LOCAL_INCOMING_H
#define PELAGO_ENGINE_LOCAL_INCOMING_H

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "channel.h"
#include "context.h"
#include "file_store.h"
#include "listener_queue.h"
#include "offer.h"
#include "pelago_receive_listener.h"
#include "report_queue.h"
#include "transmit_param.h"

namespace OHOS::Pelago::Local {

// One transfer from one device, from the receiver's side: an offer that waits, then bytes.
// Held by the inbox while it waits and by the context once it is accepted, and by the handle that the listener was
// given. On the loop's thread; the handle brings calls there.
class Incoming final : public Transfer, public std::enable_shared_from_this<Incoming> {
public:
    Incoming(std::shared_ptr<Context> context, std::shared_ptr<ListenerQueue> listeners,
        sptr<PelagoReceiveListener> listener, std::shared_ptr<Channel> channel, Offer offer);

    // Tells the listener and begins to wait.
    void Ask(const RecvPreview& preview);
    [[nodiscard]] bool IsWaiting() const
    {
        return state_ == State::OFFERED;
    }

    // As PelagoReceiver tells them.
    [[nodiscard]] int32_t Accept(Host::UniqueFd directory, const sptr<IReceiveProgress>& progress);
    [[nodiscard]] int32_t Refuse(int32_t reason);
    [[nodiscard]] int32_t Cancel();

    // Ends it for this reason, unless it has ended or the point of no return is behind it.
    void EndWith(const Outcome& outcome);
    void Drop() override;

private:
    enum class State : uint8_t {
        OFFERED,
        ACCEPTED,
        COMMITTING, // behind the point of no return: only the file system can still fail it
        ENDING,     // for pending_, once the byte thread is out of the way
        ENDED,
    };

    // What the byte thread works on; shared so that the socket can be shut down under the thread.
    struct Bytes {
        Host::UniqueFd socket;
        std::unique_ptr<FileStore> store;
        std::vector<std::string> names;
        Outcome outcome;
    };
    class Handle;
    class Mourner;

    void OnFrame(FrameType type, std::string_view body);
    void OnAbort(std::string_view body);
    void OnChannelEnd(const char* why);
    [[nodiscard]] bool IsOf(TransmitEventType event) const;
    void Show(const sptr<PelagoReceiver>& handle, const RecvPreview& preview) const;
    void OnShown();
    [[nodiscard]] bool OpenByteSocket(Host::UniqueFd& forSender);
    [[nodiscard]] bool Follow(const sptr<IReceiveProgress>& progress);
    void StartBytes();
    void OnTaken(uint64_t taken);
    void OnBytesReceived();
    void CommitIfReady();
    void Conclude();
    void End(const Outcome& outcome);
    void TellListener(const Outcome& outcome);
    void TellMotion(int32_t state, int32_t code);
    void TellGestureAnswered();
    void ClosePop();
    void TellGestureEnded(const Outcome& outcome, bool answered);
    void GuardStall();
    void TellProgress(const Outcome& outcome);
    void Release();

    const std::shared_ptr<Context> context_;
    const std::shared_ptr<ListenerQueue> listeners_;
    const sptr<PelagoReceiveListener> listener_; // a proxy
    const std::shared_ptr<Channel> channel_;
    const Offer offer_;
    const uint64_t total_;
    State state_ = State::OFFERED;
    Outcome pending_;
    wptr<PelagoReceiver> handle_;

    sptr<IReceiveProgress> progress_;
    sptr<IRemoteObject::DeathRecipient> mourner_;
    std::shared_ptr<ReportQueue> reports_;
    std::shared_ptr<Bytes> bytes_;
    std::optional<ByteThread> thread_;
    std::optional<Speedometer> speed_;
    ControlLoop::Id timer_ = 0;
    uint64_t countedBytes_ = 0;
    bool moving_ = false; // the byte thread is at work
    bool allTaken_ = false;
    bool finishSeen_ = false;
};

} // namespace OHOS::Pelago::Local

#endif // PELAGO_ENGINE_LOCAL_INCOMING_H
