#ifndef PELAGO_ENGINE_LOCAL_ENGINE_H
#define PELAGO_ENGINE_LOCAL_ENGINE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "share_client.h"

namespace OHOS::Pelago {

// What other devices may know of a device. Plain values.
struct LocalDevice {
    std::string id;   // 1 to MAX_LOCAL_DEVICE_ID of [A-Za-z0-9_-]: it names the files of the device
    std::string name; // as its owner typed it: any bytes; shown to others as UTF-8
    int32_t type = 0; // the type code of the record
    std::string accountHash;
    int32_t capability = 0;
};
inline constexpr size_t MAX_LOCAL_DEVICE_ID = 64;

struct LocalEngineConfig {
    std::string nearbyFolder; // absolute; made, with mode 0700, when it is missing; its parent must exist
    std::string contactsFile; // absolute, or empty for none; may come and go while the engine runs
    LocalDevice device;
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
// does not know the service, does not decide who may share with whom, and listens on nothing but its socket.
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
    [[nodiscard]] bool SwingSubscribe(const sptr<ISubscribeListener>& listener) override;
    [[nodiscard]] bool SwingUnSubscribe(const sptr<ISubscribeListener>& listener) override;

    // Adds the device's discoverer flags to those of the peer, or sets them if `updateFlag` is not 0, and reports the
    // peer, with its contact, to `listener`. A device that discovery has not seen is reported as it was given.
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

    void ReportSwingEvent(int32_t event, int32_t x, int32_t y, const std::string& text) override; // no gestures here
    [[nodiscard]] bool GetNudgePublishInfo(std::string& info) override;                           // this device as JSON

    static constexpr int PUBLISH_ID = 9024; // what publish results carry

private:
    class Impl;
    const std::shared_ptr<Impl> impl_;
};

} // namespace OHOS::Pelago

#endif // PELAGO_ENGINE_LOCAL_ENGINE_H
