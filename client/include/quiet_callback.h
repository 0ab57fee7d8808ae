#ifndef PELAGO_CLIENT_QUIET_CALLBACK_H
#define PELAGO_CLIENT_QUIET_CALLBACK_H

#include "callback_stubs.h"

namespace OHOS::Pelago {

// A client that is told everything and does nothing: base of those that want to know of some things alone. It has no
// state, and is held and called as its base is.
class QuietTrellisCallback : public TrellisCallbackStub {
public:
    void OnEnableStatusChanged() override
    {}
    void OnDeviceFound(const ShareDeviceInfo&) override
    {}
    void OnDeviceLost(const ShareDeviceInfo&) override
    {}
    void OnTransStateChange(const ShareDeviceInfo&, int64_t, int64_t, int64_t) override
    {}
    void OnSend(const ShareDeviceInfo&, const SendBean&) override
    {}
    void OnSendBytes(const ShareDeviceInfo&, const BytesInfo&) override
    {}
    void OnCancel(const ShareDeviceInfo&) override
    {}
    void OnSendFile(const ShareDeviceInfo&, const DataBean&) override
    {}
    void OnConnectHub(std::string, int32_t) override
    {}
    void OnCorvaneIdHeadImageReceive(const ShareDeviceInfo&, const std::string&) override
    {}
    void OnThermalLevelChanged(int32_t, int32_t, int8_t, int8_t) override
    {}
    void OnSwingPop(const ShareDeviceInfo&) override
    {}
    void OnReportSwingEvent(int32_t, int32_t, int32_t, const std::string&) override
    {}
    void OnSwitchNotifyComponent(int32_t) override
    {}
};

} // namespace OHOS::Pelago

#endif // PELAGO_CLIENT_QUIET_CALLBACK_H
