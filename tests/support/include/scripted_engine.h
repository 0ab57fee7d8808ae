#ifndef PELAGO_TESTS_SCRIPTED_ENGINE_H
#define PELAGO_TESTS_SCRIPTED_ENGINE_H

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "engine_handles.h"
#include "engine_listener_proxies.h"
#include "host/scheduler.h"
#include "share_client.h"

namespace OHOS::Pelago {

// A transfer that the service has asked for.
struct ScriptedTransfer {
    std::string deviceId;
    TransmitEventType eventType = TransmitEventType::ORDINARY;
    std::string packageName;          // none with a text
    SendBean bean;                    // with descriptors of its own, closed with the engine
    sptr<ITransmitCallback> callback; // a proxy that goes through the stub's parcels
    bool cancelled = false;
};

// An offer's receiver: keeps what the extension answered.
class ScriptedReceiver : public PelagoReceiverStub {
public:
    int32_t Accept(int directoryFd, const sptr<IReceiveProgress>& progress) override;
    int32_t Refuse(int32_t reason) override;
    int32_t Cancel() override;

    std::string answer; // "", "accept", "refuse N" or "cancel"
};

// The engine of a test: takes every request, writes it down, and says only what the test makes it say. Each report goes
// through the listener's remote object, as work of the engine's own queue: it happens when the test settles.
class ScriptedEngine : public ShareClientBackend {
public:
    ScriptedEngine();
    ~ScriptedEngine() override;

    // What has been asked since the last look, e.g. "Subscribe", "EnableDiscoveryPolicy 2", "SendFile phone".
    std::vector<std::string> TakeJournal();
    // The same as one text, separated by ", ".
    std::string TakeAsked();
    // The next `times` requests of this name are refused; -1 for all.
    void Refuse(const std::string& operation, int times = 1);

    // Peers.
    void Found(const ShareDevice& device);
    void Lost(const ShareDevice& device);
    void SwingStatus(int role, const std::string& deviceId, int code);

    // Transfers, the latest one to each device. Null when there is none.
    std::shared_ptr<ScriptedTransfer> TransferTo(const std::string& deviceId) const;
    // Plays a report of the latest transfer to the device.
    void Report(const std::string& deviceId, const std::function<void(ITransmitCallback&)>& report);

    // Lets go of the descriptors of all transfers.
    void CloseTransfers();

    // Runs inside each request that starts a transfer, before the service has the handle: what a device's engine may
    // do, and ours never does.
    std::function<void(ScriptedTransfer&)> whenStarted;

    // The device that a tap led to last.
    sptr<ShareDevice> lastCollabDevice;

    // Offers.
    void Tell(const std::function<void(PelagoReceiveListener&)>& event);

    bool IsPublished() const
    {
        return publish_ != nullptr;
    }
    bool IsReceiving() const
    {
        return receive_ != nullptr;
    }
    bool IsSubscribed() const
    {
        return subscribe_ != nullptr;
    }

    // ShareClientBackend
    bool ConnectWithRetry() override;
    bool Publish(const sptr<IPublishListener>& listener) override;
    bool UnPublish(int publishId, const sptr<IPublishListener>& listener) override;
    bool RegisterReceiveListener(const sptr<PelagoReceiveListener>& listener) override;
    bool UnRegisterReceiveListener(const sptr<PelagoReceiveListener>& listener) override;
    bool Subscribe(const sptr<ISubscribeListener>& listener) override;
    bool UnSubscribe(int subscribeId, const sptr<ISubscribeListener>& listener) override;
    bool SwingSubscribe(const sptr<ISubscribeListener>& listener) override;
    bool SwingUnSubscribe(const sptr<ISubscribeListener>& listener) override;
    bool OnCollabDeviceFound(
        const sptr<ShareDevice>& device, const sptr<ISubscribeListener>& listener, uint32_t updateFlag) override;
    bool ClearDiscovererFlag(const std::string& deviceId, uint32_t flag) override;
    void EnableDiscoveryPolicy(int detectableType) override;
    bool SetAccountPermission(int accountPermission) override;
    sptr<PelagoSender> SendFile(const TransmitParam& param, SendBean& bean, const std::string& packageName) override;
    sptr<PelagoSender> SendFile(
        const TransmitParam& param, const DataBean& bean, const std::string& packageName) override;
    sptr<PelagoSender> SendBytes(const TransmitParam& param, const BytesInfo& bytes) override;
    bool ApplyUriPermission(const std::string& uri) override;
    void ReportSwingEvent(int32_t event, int32_t x, int32_t y, const std::string& text) override;
    bool GetNudgePublishInfo(std::string& info) override;

private:
    // Writes the request down, and says whether it is taken.
    bool Take(const std::string& operation, const std::string& details = "");
    std::shared_ptr<ScriptedTransfer> NewTransfer(const TransmitParam& param);
    sptr<PelagoSender> HandleOf(const std::shared_ptr<ScriptedTransfer>& transfer);
    // Calls the listener, if there is one, from the engine's own queue.
    template <typename Listener, typename Event>
    void Play(const sptr<Listener>& listener, Event event);

    std::shared_ptr<Host::TaskQueue> queue_;
    std::mutex journalMutex_; // of the two below: the service asks from many threads
    std::vector<std::string> journal_;
    std::map<std::string, int> refusals_;
    sptr<IPublishListener> publish_;
    sptr<PelagoReceiveListener> receive_;
    sptr<ISubscribeListener> subscribe_;
    sptr<ISubscribeListener> swing_;
    std::vector<std::shared_ptr<ScriptedTransfer>> transfers_;
};

} // namespace OHOS::Pelago

#endif // PELAGO_TESTS_SCRIPTED_ENGINE_H
