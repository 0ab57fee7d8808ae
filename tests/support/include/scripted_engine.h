#ifndef PELAGO_TESTS_SCRIPTED_ENGINE_H
#define PELAGO_TESTS_SCRIPTED_ENGINE_H

#include <algorithm>
#include <functional>
#include <memory>

#include <fcntl.h>
#include <unistd.h>

#include "engine_handles.h"
#include "engine_listener_proxies.h"
#include "host/scheduler.h"
#include "script.h"
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
    int32_t Accept(int, const sptr<IReceiveProgress>&) override
    {
        answer = "accept";
        return RECEIVER_OK;
    }
    int32_t Refuse(int32_t reason) override
    {
        answer = "refuse " + std::to_string(reason);
        return RECEIVER_OK;
    }
    int32_t Cancel() override
    {
        answer = "cancel";
        return RECEIVER_OK;
    }

    std::string answer; // "", "accept", "refuse N" or "cancel"
};

// The engine of a test: takes every request, writes it down, and says only what the test makes it say. Each report goes
// through the listener's remote object, as work of the engine's own queue: it happens when the test settles. The
// journal says e.g. "Subscribe", "EnableDiscoveryPolicy 2", "SendFile phone", "Cancel phone".
class ScriptedEngine : public Script, public ShareClientBackend {
public:
    ScriptedEngine() : queue_(Host::Scheduler::Instance().CreateQueue("engine"))
    {}
    ~ScriptedEngine() override
    {
        CloseTransfers();
    }

    // The next `times` requests of this name are refused; -1 for all.
    void Refuse(const std::string& operation, int times = 1)
    {
        RefuseWith(operation, 1, times);
    }

    // Peers.
    void Found(const ShareDevice& device)
    {
        Play(subscribe_, [copy = sptr<ShareDevice>(new ShareDevice(device))](auto& to) { to.OnDeviceFound(copy); });
    }
    void Lost(const ShareDevice& device)
    {
        Play(subscribe_, [copy = sptr<ShareDevice>(new ShareDevice(device))](auto& to) { to.OnDeviceLost(copy); });
    }
    void SwingStatus(int role, const std::string& deviceId, int code)
    {
        Play(swing_, [role, id = deviceId, code](auto& to) mutable { to.OnSwingStatus(role, id, code); });
    }

    // Transfers, the latest one to each device. Null when there is none.
    std::shared_ptr<ScriptedTransfer> TransferTo(const std::string& deviceId) const
    {
        auto found = std::find_if(transfers_.rbegin(), transfers_.rend(),
            [&deviceId](const auto& transfer) { return transfer->deviceId == deviceId; });
        return found == transfers_.rend() ? nullptr : *found;
    }
    // Plays a report of the latest transfer to the device.
    void Report(const std::string& deviceId, const std::function<void(ITransmitCallback&)>& report)
    {
        auto transfer = TransferTo(deviceId);
        Play(transfer == nullptr ? nullptr : transfer->callback, report);
    }

    // Lets go of the descriptors of all transfers.
    void CloseTransfers()
    {
        for (const auto& transfer : transfers_) {
            for (FileHolder& file : transfer->bean.uriList) {
                (void)::close(std::exchange(file.fileFd, -1)); // -1 when it is closed already
            }
        }
    }

    // Runs inside each request that starts a transfer, before the service has the handle: what a device's engine may
    // do, and ours never does.
    std::function<void(ScriptedTransfer&)> whenStarted;

    // The device that a tap led to last.
    sptr<ShareDevice> lastCollabDevice;

    // Offers.
    void Tell(const std::function<void(PelagoReceiveListener&)>& event)
    {
        Play(receive_, event);
    }

    bool IsPublished() const
    {
        return publish_ != nullptr;
    }
    bool IsSubscribed() const
    {
        return subscribe_ != nullptr;
    }

    // ShareClientBackend
    bool ConnectWithRetry() override
    {
        return !IsRefused("ConnectWithRetry"); // not written down: the service connects before everything else
    }
    bool Publish(const sptr<IPublishListener>& listener) override
    {
        return Keep(publish_, sptr<PublishListenerProxy>::MakeSptr(listener->AsObject()), "Publish");
    }
    bool UnPublish(int, const sptr<IPublishListener>&) override
    {
        return Keep(publish_, nullptr, "UnPublish");
    }
    bool RegisterReceiveListener(const sptr<PelagoReceiveListener>& listener) override
    {
        return Keep(receive_, sptr<ReceiveListenerProxy>::MakeSptr(listener->AsObject()), "RegisterReceiveListener");
    }
    bool UnRegisterReceiveListener(const sptr<PelagoReceiveListener>&) override
    {
        return Keep(receive_, nullptr, "UnRegisterReceiveListener");
    }
    bool Subscribe(const sptr<ISubscribeListener>& listener) override
    {
        return Keep(subscribe_, sptr<SubscribeListenerProxy>::MakeSptr(listener->AsObject()), "Subscribe");
    }
    bool UnSubscribe(int subscribeId, const sptr<ISubscribeListener>&) override
    {
        return Keep(subscribe_, nullptr, "UnSubscribe", std::to_string(subscribeId));
    }
    bool SwingSubscribe(const sptr<ISubscribeListener>& listener) override
    {
        return Keep(swing_, sptr<SubscribeListenerProxy>::MakeSptr(listener->AsObject()), "SwingSubscribe");
    }
    bool SwingUnSubscribe(const sptr<ISubscribeListener>&) override
    {
        return Keep(swing_, nullptr, "SwingUnSubscribe");
    }
    bool OnCollabDeviceFound(
        const sptr<ShareDevice>& device, const sptr<ISubscribeListener>& listener, uint32_t updateFlag) override
    {
        if (!IsTaken("OnCollabDeviceFound", device->GetDeviceId() + " " + std::to_string(updateFlag))) {
            return false;
        }
        lastCollabDevice = device;
        sptr<ISubscribeListener> proxy = new SubscribeListenerProxy(listener->AsObject());
        Play(proxy, [device](auto& to) { to.OnDeviceFound(device); });
        return true;
    }
    bool ClearDiscovererFlag(const std::string& deviceId, uint32_t flag) override
    {
        return IsTaken("ClearDiscovererFlag", deviceId + " " + std::to_string(flag));
    }
    void EnableDiscoveryPolicy(int detectableType) override
    {
        (void)Take("EnableDiscoveryPolicy", std::to_string(detectableType)); // cannot be refused
    }
    bool SetAccountPermission(int accountPermission) override
    {
        return IsTaken("SetAccountPermission", std::to_string(accountPermission));
    }
    sptr<PelagoSender> SendFile(const TransmitParam& param, SendBean& bean, const std::string& packageName) override
    {
        return Begin("SendFile", param, packageName, bean);
    }
    sptr<PelagoSender> SendFile(const TransmitParam& param, const DataBean&, const std::string& packageName) override
    {
        return Begin("SendFile", param, packageName);
    }
    sptr<PelagoSender> SendBytes(const TransmitParam& param, const BytesInfo&) override
    {
        return Begin("SendBytes", param, "");
    }
    bool ApplyUriPermission(const std::string& uri) override
    {
        return IsTaken("ApplyUriPermission", uri);
    }
    void ReportSwingEvent(int32_t event, int32_t, int32_t, const std::string&) override
    {
        (void)Take("ReportSwingEvent", std::to_string(event)); // cannot be refused
    }
    bool GetNudgePublishInfo(std::string& info) override
    {
        return Keep(info, "nudge", "GetNudgePublishInfo");
    }

private:
    // The service's handle of a transfer: marks it and writes it down.
    class Handle : public PelagoSenderStub {
    public:
        Handle(ScriptedEngine& engine, std::shared_ptr<ScriptedTransfer> transfer)
            : engine_(engine), transfer_(std::move(transfer))
        {}
        void Cancel() override
        {
            transfer_->cancelled = true;
            (void)engine_.Take("Cancel", transfer_->deviceId); // cannot be refused
        }
        void SwingConfirm(int32_t choice) override
        {
            (void)engine_.Take("SwingConfirm", std::to_string(choice)); // likewise
        }

    private:
        ScriptedEngine& engine_;
        const std::shared_ptr<ScriptedTransfer> transfer_;
    };

    bool IsTaken(const std::string& operation, const std::string& details = "")
    {
        return Take(operation, details) == 0;
    }
    // The same, and keeps what came with the request.
    template <typename Slot, typename Value>
    bool Keep(Slot& slot, Value&& value, const std::string& operation, const std::string& details = "")
    {
        if (!IsTaken(operation, details)) {
            return false;
        }
        slot = std::forward<Value>(value);
        return true;
    }
    sptr<PelagoSender> Begin(const std::string& operation, const TransmitParam& param, const std::string& packageName,
        const SendBean& bean = {})
    {
        if (!IsTaken(operation, param.deviceId)) {
            return nullptr;
        }
        auto transfer = std::make_shared<ScriptedTransfer>();
        transfer->deviceId = param.deviceId;
        transfer->eventType = param.eventType;
        transfer->packageName = packageName;
        transfer->bean = bean;
        for (FileHolder& file : transfer->bean.uriList) {
            file.fileFd = ::fcntl(file.fileFd, F_DUPFD_CLOEXEC, 0);
        }
        transfer->callback = new TransmitCallbackProxy(param.callback->AsObject());
        transfers_.push_back(transfer);
        if (whenStarted) {
            whenStarted(*transfer);
        }
        return new Handle(*this, transfer);
    }
    // Calls the listener, if there is one, from the engine's own queue.
    template <typename Listener, typename Event>
    void Play(const sptr<Listener>& listener, Event event)
    {
        auto play = [listener, event = std::move(event)]() mutable {
            if (listener != nullptr) {
                event(*listener);
            }
        };
        (void)queue_->Post(std::move(play)); // the queue lives as long as the engine
    }

    std::shared_ptr<Host::TaskQueue> queue_;
    sptr<IPublishListener> publish_;
    sptr<PelagoReceiveListener> receive_;
    sptr<ISubscribeListener> subscribe_;
    sptr<ISubscribeListener> swing_;
    std::vector<std::shared_ptr<ScriptedTransfer>> transfers_;
};

} // namespace OHOS::Pelago

#endif // PELAGO_TESTS_SCRIPTED_ENGINE_H
