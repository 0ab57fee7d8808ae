#ifndef PELAGO_ENGINE_LOCAL_ENGINE_H
#define PELAGO_ENGINE_LOCAL_ENGINE_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "local_engine_limits.h"
#include "share_client.h"

namespace OHOS::Pelago {

// What other devices may know of a device. Plain values.
struct LocalDevice {
    std::string id;   // 1 to MAX_LOCAL_DEVICE_ID of [A-Za-z0-9_-]: it names the files of the device
    std::string name; // as its owner typed it: any bytes; shown to others as UTF-8
    int32_t type = 0; // the type code of the record
    std::string accountHash;
    int32_t capability = 0; // bits; without CAPABILITY_BYTES, sends of bytes are refused
};
inline constexpr int32_t CAPABILITY_BYTES = 4;

struct LocalEngineConfig {
    std::string nearbyFolder; // absolute; made, with mode 0700, when it is missing; its parent must exist
    std::string contactsFile; // absolute, or empty for none; may come and go while the engine runs
    LocalDevice device;
    int64_t stallLimitMs = STALL_LIMIT_MS; // shorter in tests, all three
    int64_t unreadLimitMs = UNREAD_LIMIT_MS;
    int64_t swingFindMs = SWING_FIND_MS;
};

// For the dump. Sizes are of now, the rest counts from Start.
struct LocalEngineCounters {
    size_t peers = 0; // found and not lost
    size_t subscribers = 0;
    bool published = false;
    bool receiving = false;      // a receive listener is registered
    int32_t discoveryPolicy = 0; // as EnableDiscoveryPolicy gave it; 0: not visible
    int32_t accountPermission = 0;
    size_t sending = 0;        // transfers that have not ended
    size_t offers = 0;         // incoming ones that wait for an answer: 0 or 1
    size_t accepted = 0;       // incoming ones that were accepted and have not ended
    uint64_t sent = 0;         // ended well
    uint64_t sendFailures = 0; // ended otherwise
    uint64_t received = 0;
    uint64_t receiveFailures = 0;
    uint64_t bytesSent = 0; // handed to the kernel for peers, of ended transfers
    uint64_t bytesReceived = 0;
    uint64_t refusedPeers = 0; // connections and descriptions dropped for what they said
};

// The share engine of a Linux machine: devices of one user find each other through a folder and move bytes through Unix
// sockets in it. docs/engine.md tells the folder, the channel and how a transfer ends.
//
// Made by the daemon, which installs it into ShareClient after Start and takes it out before Stop; several may live in
// one process. It owns its files in the folder, one control thread, one queue of the scheduler for discovery and one
// for each transfer, and a thread for each transfer that moves bytes. Any thread may call all but Start and Stop. Calls
// answer at once; listeners hear what follows later, on a queue, with no lock of the engine held. For threaded time. It
// does not know the service, does not decide who may share with whom, and listens on nothing but its two sockets in the
// folder.
class LocalEngine final : public ShareClientBackend {
public:
    explicit LocalEngine(LocalEngineConfig config);
    ~LocalEngine() override; // as Stop
    LocalEngine(const LocalEngine&) = delete;
    LocalEngine& operator=(const LocalEngine&) = delete;

    // Makes the folder and starts the control thread; every other operation fails before it. False, with nothing left
    // behind and the reason in `error`, when that fails. Once in the life of an engine.
    [[nodiscard]] bool Start(std::string& error);

    // Ends all transfers as the loss of this device would, takes its files out of the folder, and waits until none of
    // its threads is left. No report begins after it. Not from a listener's call. A second time nothing happens.
    void Stop();

    // Changes what others see of this device; a published one is found again by them. The id stays. False for a device
    // that cannot be written, which changes nothing.
    [[nodiscard]] bool UpdateDevice(const LocalDevice& device);

    [[nodiscard]] LocalEngineCounters Counters() const;

    // Notes: short texts between two devices, visible or not, over the engine's channel; whoever touches a device talks
    // to it so. What a note says is between those who write and read it, and so is whether `from` is believed.
    using NoteListener = std::function<void(const std::string& from, const std::string& note)>;
    using NoteResult = std::function<void(bool taken)>;
    // From now on notes are taken, and `listener` hears of them on a queue of the engine. False when the engine does
    // not run.
    [[nodiscard]] bool ServeNotes(NoteListener listener);
    // `result` hears on the same queue, once, whether the device has taken the note; not at all once the engine stops.
    // False, and it is not called, for a note that is too long and when the engine does not run.
    [[nodiscard]] bool SendNote(const std::string& deviceId, const std::string& note, NoteResult result);

    // Where the hand of this device's user points while a swing goes on; empty for nowhere. Forgotten when it was used,
    // and when the swing is over.
    void AimSwing(const std::string& deviceId);
    // The content of the swing is there and shown: now the device that the hand points at is reported to those who
    // subscribed for swings, with Discoverer::SWING, as soon as it can be reached. If that takes longer than
    // SWING_FIND_MS they hear of the swing's failure and end instead.
    void ShowSwing();

    [[nodiscard]] bool ConnectWithRetry() override; // whether the engine runs
    // Makes the device visible, unless the policy says otherwise; the result is told with PUBLISH_ID.
    [[nodiscard]] bool Publish(const sptr<IPublishListener>& listener) override;
    [[nodiscard]] bool UnPublish(int publishId, const sptr<IPublishListener>& listener) override;
    // One listener; a second replaces the first. Without one, every offer is refused as not supported.
    [[nodiscard]] bool RegisterReceiveListener(const sptr<PelagoReceiveListener>& listener) override;
    [[nodiscard]] bool UnRegisterReceiveListener(const sptr<PelagoReceiveListener>& listener) override;

    // Adds a listener, by its object, and tells it every peer that is there; a listener that was there already hears of
    // all of them anew. The id of a removal is not looked at.
    [[nodiscard]] bool Subscribe(const sptr<ISubscribeListener>& listener) override;
    [[nodiscard]] bool UnSubscribe(int subscribeId, const sptr<ISubscribeListener>& listener) override;
    // The listener hears of the devices that a hand points at and of how swings end; of other peers it hears nothing.
    [[nodiscard]] bool SwingSubscribe(const sptr<ISubscribeListener>& listener) override;
    [[nodiscard]] bool SwingUnSubscribe(const sptr<ISubscribeListener>& listener) override;

    // A tap has found the device: connects to it, adds its discoverer flags to those of the peer, and reports it with
    // what both the tap and its description say to `listener`. False when it cannot be reached. With an `updateFlag`
    // the tap is known already and only its address is new: that is kept, and nobody hears of it; false for a device
    // that no tap has found. The listener hears of the loss, too, if nobody has subscribed.
    [[nodiscard]] bool OnCollabDeviceFound(
        const sptr<ShareDevice>& device, const sptr<ISubscribeListener>& listener, uint32_t updateFlag) override;
    // False for a device that is not known.
    [[nodiscard]] bool ClearDiscovererFlag(const std::string& deviceId, uint32_t flag) override;
    void EnableDiscoveryPolicy(int detectableType) override;
    [[nodiscard]] bool SetAccountPermission(int accountPermission) override;

    // Null without a callback or a running engine. Every other refusal ends the transfer that is returned: with OnError
    // and one of engine_errors.h, or with a status.
    [[nodiscard]] sptr<PelagoSender> SendFile(
        const TransmitParam& param, SendBean& bean, const std::string& packageName) override;
    [[nodiscard]] sptr<PelagoSender> SendFile(
        const TransmitParam& param, const DataBean& bean, const std::string& packageName) override;
    [[nodiscard]] sptr<PelagoSender> SendBytes(const TransmitParam& param, const BytesInfo& bytes) override;
    // Whether SendFile would open the URI for this caller.
    [[nodiscard]] bool ApplyUriPermission(const std::string& uri) override;

    // SWING_OVER ends the search for the device that the hand points at. Other events mean nothing here.
    void ReportSwingEvent(int32_t event, int32_t x, int32_t y, const std::string& text) override;
    // What this device tells of itself to one that taps it: a JSON text.
    [[nodiscard]] bool GetNudgePublishInfo(std::string& info) override;

    static constexpr int PUBLISH_ID = 9024; // what publish results carry
    static constexpr int32_t SWING_OVER = 10000;

private:
    class Impl;
    const std::shared_ptr<Impl> impl_;
};

} // namespace OHOS::Pelago

#endif // PELAGO_ENGINE_LOCAL_ENGINE_H
