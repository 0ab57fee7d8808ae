#ifndef PELAGO_CORE_TRELLIS_CALLBACK_PROXY_H
#define PELAGO_CORE_TRELLIS_CALLBACK_PROXY_H

#include "iremote_proxy.h"
#include "pelago_trellis_service_callback.h"

namespace OHOS::Pelago {

// What the service holds of a client's callback; made by the broker from the object that a client registers. Every call
// is synchronous, from any thread, and its failure is logged and forgotten: a client that is gone leaves by its death
// notice.
class TrellisCallbackProxy : public IRemoteProxy<PelagoTrellisServiceCallback> {
public:
    explicit TrellisCallbackProxy(const sptr<IRemoteObject>& object);

    void OnEnableStatusChanged() override;
    void OnDeviceFound(const ShareDeviceInfo& device) override;
    void OnDeviceLost(const ShareDeviceInfo& device) override;
    void OnTransStateChange(
        const ShareDeviceInfo& device, int64_t state, int64_t stateValue, int64_t timeStamp) override;
    void OnSend(const ShareDeviceInfo& device, const SendBean& bean) override;
    void OnSendBytes(const ShareDeviceInfo& device, const BytesInfo& bytes) override;
    void OnCancel(const ShareDeviceInfo& device) override;
    // Sends nothing: a client learns of the service's end from the platform.
    void OnShareManagerServiceDied() override;
    void OnSendFile(const ShareDeviceInfo& device, const DataBean& bean) override;
    void OnConnectHub(std::string name, int32_t value) override;
    void OnCorvaneIdHeadImageReceive(const ShareDeviceInfo& device, const std::string& headImage) override;
    void OnThermalLevelChanged(int32_t lastLevel, int32_t newLevel, int8_t connectionSide, int8_t action) override;
    void OnSwingPop(const ShareDeviceInfo& device) override;
    void OnReportSwingEvent(int32_t gesture, int32_t x, int32_t y, const std::string& concurrentId) override;
    void OnSwitchNotifyComponent(int32_t component) override;

private:
    // One call with its debug lines: `name` stands before "Enter" and "Exit".
    template <typename... Fields>
    void Transact(const char* name, TrellisCallbackCode code, const char* subject, const Fields&... fields);
};

} // namespace OHOS::Pelago

#endif // PELAGO_CORE_TRELLIS_CALLBACK_PROXY_H
