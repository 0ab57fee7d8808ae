#ifndef COLLAB_LOCAL_LOCAL_COLLAB_H
#define COLLAB_LOCAL_LOCAL_COLLAB_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "collab_backend.h"
#include "note_carrier.h"

namespace OHOS::Host {
class TaskQueue;
}

namespace OHOS::Synfold {

struct Note;

// What a tap tells the peer of this device. Plain values.
struct CollabDevice {
    std::string id; // by which the engine of the peer reaches it
    std::string name;
    int32_t type = 0;
    std::string bleMac;
};

// What the service has asked to be shown. `extraInfo` is as it was given.
struct ServiceState {
    uint64_t sequence = 0; // from 1 on
    std::string serviceName;
    std::string extraInfo;
    int32_t state = 0;
};

// A text that went to the service or came from it.
struct CollabText {
    uint64_t sequence = 0; // from 1 on; shared with the states
    std::string what;      // "knock", "deliver", "reply", "publish"
    std::string peer;      // empty when it was played by hand
    std::string text;
};

// How far a tap has come. Everything behind REQUESTED is an end.
enum class TapStep : uint8_t {
    KNOCKING,       // the service is asked whether an application wants it
    REQUESTED,      // the peer has the request
    ANSWERED,       // the service has the peer's answer: from here on it is the engine's
    NO_APPLICATION, // nobody here wants it, and the peer was told
    BUSY,           // the peer is in another tap
    UNREACHABLE,    // nobody took the request
    NO_ANSWER,      // the peer took it and said nothing in time
};
[[nodiscard]] const char* NameOf(TapStep step);

struct TapRecord {
    uint32_t tap = 0; // its number, from 1 on
    std::string peer;
    TapStep step = TapStep::KNOCKING;
    std::function<void(TapStep end)> done; // null once it was called, and in a view
};

// The framework's event that is played by hand.
enum class CollabEvent : uint8_t {
    KNOCK,
    PUBLISH,
    DELIVER,
};

// What the dump and the watchers see. Newest last.
struct CollabView {
    std::vector<ServiceState> states;
    std::vector<CollabText> texts;
    std::vector<TapRecord> taps;
};

// The collaboration framework of a Linux machine. Keeps what the service shows, and lets this device touch another one:
// a tap asks the service whether somebody wants it, goes to the peer's stand-in as a request, comes back as the peer's
// answer, and ends with what the service makes of it.
//
// Owned by the process, which installs it with InstallCollabBackend, by a shared pointer; owns one queue of the
// scheduler, on which it calls the service, through the callbacks' remote objects and with no lock held. Any thread may
// call everything; no request calls back before it has returned. It polls nothing. It does not know the service, moves
// no bytes, and trusts no peer: a note that makes no sense is dropped.
class LocalCollab final : public CollabBackend, public std::enable_shared_from_this<LocalCollab> {
public:
    using StateObserver = std::function<void(const ServiceState&)>;
    using ChangeObserver = std::function<void()>;

    static constexpr uint32_t TAP_CODE = 8; // the request that wants taps
    static constexpr size_t KEPT = 32;      // states, texts and taps that are remembered, of each
    static constexpr size_t MAX_TEXT =
        size_t{16} * 1024;                            // bytes of a reply to a peer, and of what is remembered of a text
    static constexpr size_t MAX_SHORT_TEXT = 1024;    // bytes of a name, an address, an id
    static constexpr size_t MAX_UNDER_WAY = 16;       // taps that wait for an answer, and requests that wait for ours
    static constexpr size_t MAX_WAITING_NOTES = 64;   // of peers, until the service has time for them
    static constexpr int64_t ANSWER_LIMIT_MS = 5'000; // for the peer's answer: below the six seconds of the service
    static constexpr int32_t RESULT_REFUSED = 1;      // of a request that makes no sense here

    LocalCollab(CollabDevice self, std::shared_ptr<NoteCarrier> carrier);
    ~LocalCollab() override;
    LocalCollab(const LocalCollab&) = delete;
    LocalCollab& operator=(const LocalCollab&) = delete;

    // Before it is installed. `onState` hears of every state that is shown, with its whole text; `onChange` of anything
    // new in the view, often. Both on the queue.
    void SetObservers(StateObserver onState, ChangeObserver onChange);
    // Lets go of carrier, observers and callbacks; nothing is called once the present call has returned. Final.
    void Close();

    // Touches `peer`. `done` hears, on the queue, how it ended; not at all once this is closed. The number of the tap
    // in the view; 0, and `done` is not called, when MAX_UNDER_WAY run already.
    [[nodiscard]] uint32_t Tap(const std::string& peer, std::function<void(TapStep end)> done);
    // A note that the carrier has brought.
    void OnNote(const std::string& peer, const std::string& note);
    // Plays one event, with any text. `done` gets, on the queue, what the service gave back; RESULT_NOT_CALLED when it
    // has not registered for it, and at once when this is closed.
    void Play(CollabEvent event, const std::string& text, const std::function<void(int32_t result)>& done);

    [[nodiscard]] CollabView View() const;

    // CollabBackend. Requests without a callback and codes other than TAP_CODE give RESULT_REFUSED, and so does a reply
    // that answers no request of a peer.
    [[nodiscard]] int32_t RequestService(uint32_t code, const sptr<ServicePublishCallbackStub>& callback) override;
    int32_t UnRequestService(uint32_t code) override;
    [[nodiscard]] int32_t RequestServiceByParam(
        const std::string& param, const sptr<ServicePublishCallbackStub>& callback) override;
    [[nodiscard]] int32_t RegisterServiceDeliverCallback(
        int32_t systemAbilityId, const sptr<ServiceDeliverCallbackStub>& callback) override;
    int32_t PublishServiceState(const std::string& serviceName, const std::string& serviceName2,
        const std::string& extraInfo, int32_t state) override;
    int32_t SubscribeNotifyDisconnect(const std::string& serviceName, const std::string& serviceName2,
        const std::string& event, const sptr<CallbackSkeleton>& callback) override;

private:
    // A request of a peer that the service has not answered yet.
    struct Delivery {
        std::string peer;
        uint32_t tap; // the peer's number of it
    };

    // Each runs on the queue.
    void Knock(uint32_t tap, const std::string& peer);
    void TakeNote(const std::string& peer, const std::string& text);
    void TakeRequest(const std::string& peer, const Note& note);
    void TakeReply(const std::string& peer, const Note& note);
    [[nodiscard]] int32_t CallPublish(CollabEvent event, const std::string& peer, const std::string& text);
    [[nodiscard]] int32_t CallDeliver(const std::string& peer, const std::string& text);

    // Any thread.
    void GiveUpDelivery(uint32_t action);
    void Send(const std::string& peer, const std::string& note, std::function<void(bool)> done);
    template <typename Body>
    bool Post(Body body, int64_t delayMs = 0);
    // True when the tap was under way, and for this peer if one is given; it is at `step` then.
    [[nodiscard]] bool MoveTap(uint32_t tap, TapStep step, const std::string& peer = {});
    void Remember(const char* what, const std::string& peer, const std::string& text);
    void TellChange();

    const CollabDevice self_;
    const std::shared_ptr<Host::TaskQueue> queue_;
    std::atomic<size_t> waitingNotes_{0};

    mutable std::mutex mutex_; // guards the rest; never held while anybody is called
    std::shared_ptr<NoteCarrier> carrier_;
    StateObserver onState_;
    ChangeObserver onChange_;
    sptr<IServicePublishCallback> publish_; // proxies, null until somebody registers
    sptr<IServiceDeliverCallback> deliver_;
    uint64_t lastSequence_ = 0;
    uint32_t lastTap_ = 0;
    uint32_t lastAction_ = 0;
    std::deque<ServiceState> states_;
    std::deque<CollabText> texts_;
    std::deque<TapRecord> taps_;
    std::map<uint32_t, Delivery> deliveries_; // by the number under which the service knows them
};

} // namespace OHOS::Synfold

#endif // COLLAB_LOCAL_LOCAL_COLLAB_H
