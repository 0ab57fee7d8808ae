#ifndef PELAGO_TESTS_RECORDING_CLIENT_H
#define PELAGO_TESTS_RECORDING_CLIENT_H

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "callback_stubs.h"
#include "host/loopback.h"
#include "i_trellis_service.h"

namespace OHOS::Pelago {

using Lines = std::vector<std::string>;

// A callback that writes down what it hears, one line each: "OnDeviceFound <id> <state>", "OnConnectHub <name>
// <value>", "OnTransStateChange <id> event=<e> value=<v> stamp=<n> state=<s> percent=<p>", "OnSend <id> files=<n>".
class RecordingCallback : public TrellisCallbackStub {
public:
    void OnEnableStatusChanged() override
    {
        Hear("OnEnableStatusChanged");
    }
    void OnDeviceFound(const ShareDeviceInfo& device) override
    {
        Hear(device, "OnDeviceFound", " " + std::to_string(device.deviceState));
    }
    void OnDeviceLost(const ShareDeviceInfo& device) override
    {
        Hear(device, "OnDeviceLost");
    }
    void OnTransStateChange(
        const ShareDeviceInfo& device, int64_t state, int64_t stateValue, int64_t timeStamp) override
    {
        Hear(device, "OnTransStateChange",
            " event=" + std::to_string(state) + " value=" + std::to_string(stateValue) +
                " stamp=" + std::to_string(timeStamp) + " state=" + std::to_string(device.deviceState) +
                " percent=" + std::to_string(device.percent));
    }
    void OnSend(const ShareDeviceInfo& device, const SendBean& bean) override
    {
        Hear(device, "OnSend", " files=" + std::to_string(bean.uriList.size()));
    }
    void OnSendBytes(const ShareDeviceInfo& device, const BytesInfo& bytes) override
    {
        Hear(device, "OnSendBytes", " title=" + bytes.bytesTitle);
    }
    void OnCancel(const ShareDeviceInfo& device) override
    {
        Hear(device, "OnCancel");
    }
    void OnSendFile(const ShareDeviceInfo& device, const DataBean& bean) override
    {
        Hear(device, "OnSendFile", " files=" + std::to_string(bean.fileItems.size()));
    }
    void OnConnectHub(std::string name, int32_t value) override
    {
        Hear("OnConnectHub " + name + " " + std::to_string(value));
    }
    void OnCorvaneIdHeadImageReceive(const ShareDeviceInfo& device, const std::string& headImage) override
    {
        Hear(device, "OnCorvaneIdHeadImageReceive", " " + headImage);
    }
    void OnThermalLevelChanged(int32_t lastLevel, int32_t newLevel, int8_t connectionSide, int8_t action) override
    {
        Hear("OnThermalLevelChanged " + std::to_string(lastLevel) + " " + std::to_string(newLevel) + " " +
             std::to_string(connectionSide) + " " + std::to_string(action));
    }
    void OnSwingPop(const ShareDeviceInfo& device) override
    {
        Hear("OnSwingPop " + device.deviceId);
    }
    void OnReportSwingEvent(int32_t gesture, int32_t, int32_t, const std::string& concurrentId) override
    {
        Hear("OnReportSwingEvent " + std::to_string(gesture) + " " + concurrentId);
    }
    void OnSwitchNotifyComponent(int32_t component) override
    {
        Hear("OnSwitchNotifyComponent " + std::to_string(component));
    }

    // What was heard since the last look.
    Lines TakeHeard()
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return std::exchange(heard_, {});
    }
    // Runs after each line, inside the call.
    std::function<void(const std::string& line)> during;
    // The records that came last, whole.
    ShareDeviceInfo lastDevice;

private:
    void Hear(const std::string& line, const ShareDeviceInfo* device = nullptr)
    {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            heard_.push_back(line);
            lastDevice = device == nullptr ? lastDevice : *device;
        }
        if (during) {
            during(line);
        }
    }
    void Hear(const ShareDeviceInfo& device, const std::string& what, const std::string& rest = "")
    {
        Hear(what + " " + device.deviceId + rest, &device);
    }

    std::mutex mutex_; // of what was heard
    Lines heard_;
};

// The same for a client that follows a receive: "OnStatusChanged 1", "OnSendCancelBeforeConfirm", "OnErrorBeforeConfirm
// 7".
class RecordingSenderAction : public SenderActionCallbackStub {
public:
    void OnStatusChanged(int8_t state) override
    {
        heard_.push_back("OnStatusChanged " + std::to_string(state));
    }
    void OnPreviewReceive(const sptr<PelagoReceiver>&) override
    {
        heard_.push_back("OnPreviewReceive");
    }
    void OnSendCancelBeforeConfirm(const sptr<PelagoReceiver>&) override
    {
        heard_.push_back("OnSendCancelBeforeConfirm");
    }
    void OnErrorBeforeConfirm(const sptr<PelagoReceiver>&, int32_t errorCode) override
    {
        heard_.push_back("OnErrorBeforeConfirm " + std::to_string(errorCode));
    }
    void OnRecvBytesInfo(const sptr<PelagoReceiver>&, const std::string& senderName, int32_t, const std::string&,
        const std::string&) override
    {
        heard_.push_back("OnRecvBytesInfo " + senderName);
    }

    Lines TakeHeard()
    {
        return std::exchange(heard_, {});
    }

private:
    Lines heard_;
};

// A client process in manual time. Its calls cross the border in parcels, under its own pid and token.
class TestClient {
public:
    // `tokenId` is one of Host::TokenId. `service` is the stub of the service in this process.
    TestClient(pid_t pid, uint32_t tokenId, const sptr<IRemoteObject>& service)
        : callback(new RecordingCallback()), senderAction(new RecordingSenderAction()),
          process_(std::make_unique<Host::LoopbackProcess>(Host::LoopbackProcess::Identity{pid, 1000, tokenId})),
          remote_(process_->Connect(service)), service_(iface_cast<ITrellisService>(remote_))
    {}

    // The service as this client sees it.
    ITrellisService* operator->() const
    {
        return service_.GetRefPtr();
    }
    // The remote object of the service, for requests that no proxy would write.
    const sptr<IRemoteObject>& Remote() const
    {
        return remote_;
    }
    Host::LoopbackProcess& Process()
    {
        return *process_;
    }

    // Registers the callback and forgets what it heard of that.
    void Register()
    {
        EXPECT_TRUE(service_->RegisterTrellisCallback(callback));
        (void)TakeHeard();
    }
    void RegisterAsHub()
    {
        EXPECT_TRUE(service_->RegisterCorvaneShareApiTrellisCallback(callback));
        (void)TakeHeard();
    }
    Lines TakeHeard()
    {
        return callback->TakeHeard();
    }
    void Kill()
    {
        process_->Kill();
    }

    const sptr<RecordingCallback> callback;
    const sptr<RecordingSenderAction> senderAction;

private:
    std::unique_ptr<Host::LoopbackProcess> process_;
    sptr<IRemoteObject> remote_;
    sptr<ITrellisService> service_;
};

} // namespace OHOS::Pelago

#endif // PELAGO_TESTS_RECORDING_CLIENT_H
