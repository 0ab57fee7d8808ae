#ifndef PELAGO_TESTS_RECORDING_CLIENT_H
#define PELAGO_TESTS_RECORDING_CLIENT_H

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "callback_stubs.h"
#include "host/loopback.h"
#include "i_trellis_service.h"

namespace OHOS::Pelago {

using Lines = std::vector<std::string>;

// A callback that writes down what it hears, one line each: "OnDeviceFound <id> <state>", "OnConnectHub <name>
// <value>", "OnTransStateChange <id> event=<e> value=<v> stamp=<n> state=<s> percent=<p>", "OnSend <id> files=<n>".
class RecordingCallback : public TrellisCallbackStub {
public:
    void OnEnableStatusChanged() override;
    void OnDeviceFound(const ShareDeviceInfo& device) override;
    void OnDeviceLost(const ShareDeviceInfo& device) override;
    void OnTransStateChange(
        const ShareDeviceInfo& device, int64_t state, int64_t stateValue, int64_t timeStamp) override;
    void OnSend(const ShareDeviceInfo& device, const SendBean& bean) override;
    void OnSendBytes(const ShareDeviceInfo& device, const BytesInfo& bytes) override;
    void OnCancel(const ShareDeviceInfo& device) override;
    void OnSendFile(const ShareDeviceInfo& device, const DataBean& bean) override;
    void OnConnectHub(std::string name, int32_t value) override;
    void OnCorvaneIdHeadImageReceive(const ShareDeviceInfo& device, const std::string& headImage) override;
    void OnThermalLevelChanged(int32_t lastLevel, int32_t newLevel, int8_t connectionSide, int8_t action) override;
    void OnSwingPop(const ShareDeviceInfo& device) override;
    void OnReportSwingEvent(int32_t gesture, int32_t x, int32_t y, const std::string& concurrentId) override;
    void OnSwitchNotifyComponent(int32_t component) override;

    // What was heard since the last look.
    Lines TakeHeard();
    // Runs after each line, inside the call.
    std::function<void(const std::string& line)> during;
    // The records that came last, whole.
    ShareDeviceInfo lastDevice;

private:
    void Hear(const std::string& line);
    void Hear(const ShareDeviceInfo& device, const std::string& what, const std::string& rest = "");

    Lines heard_;
};

// The same for a client that follows a receive: "OnStatusChanged 1", "OnSendCancelBeforeConfirm", "OnErrorBeforeConfirm
// 7".
class RecordingSenderAction : public SenderActionCallbackStub {
public:
    void OnStatusChanged(int8_t state) override;
    void OnPreviewReceive(const sptr<PelagoReceiver>& receiver) override;
    void OnSendCancelBeforeConfirm(const sptr<PelagoReceiver>& receiver) override;
    void OnErrorBeforeConfirm(const sptr<PelagoReceiver>& receiver, int32_t errorCode) override;
    void OnRecvBytesInfo(const sptr<PelagoReceiver>& receiver, const std::string& senderName, int32_t bytesType,
        const std::string& bytesData, const std::string& previewData) override;

    Lines TakeHeard();

private:
    Lines heard_;
};

// A client process in manual time. Its calls cross the border in parcels, under its own pid and token.
class TestClient {
public:
    // `tokenId` is one of Host::TokenId. `service` is the stub of the service in this process.
    TestClient(pid_t pid, uint32_t tokenId, const sptr<IRemoteObject>& service);

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
    void Register();
    void RegisterAsHub();
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
