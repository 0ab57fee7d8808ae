#ifndef PELAGO_INTERFACES_PELAGO_TRELLIS_SERVICE_CALLBACK_H
#define PELAGO_INTERFACES_PELAGO_TRELLIS_SERVICE_CALLBACK_H

#include <string>

#include "bytes_info.h"
#include "data_bean.h"
#include "iremote_broker.h"
#include "send_bean.h"
#include "share_device_info.h"

namespace OHOS::Pelago {

// 8 to 11 are not used. OnShareManagerServiceDied has no code: it is a client's own, for when the service is gone.
enum class TrellisCallbackCode : uint32_t {
    ON_ENABLE_STATUS_CHANGED = 1,
    ON_DEVICE_FOUND = 2,
    ON_DEVICE_LOST = 3,
    ON_TRANS_STATE_CHANGE = 4,
    ON_SEND = 5,
    ON_SEND_BYTES = 6,
    ON_CANCEL = 7,
    ON_SEND_FILE = 12,
    ON_CONNECT_HUB = 13,
    ON_CORVANE_ID_HEAD_IMAGE_RECEIVE = 14,
    ON_THERMAL_LEVEL_CHANGED = 15,
    ON_REPORT_SWING_EVENT = 16,
    ON_SWING_POP = 17,
    ON_SWITCH_NOTIFY_COMPONENT = 18,
};

// What the service tells its clients. Implemented by clients; the service calls it synchronously and waits at most
// CALLBACK_WAIT_SECONDS, with the list of its clients locked: come back soon.
class PelagoTrellisServiceCallback : public IRemoteBroker {
public:
    DECLARE_INTERFACE_DESCRIPTOR(u"ohos.pelago.PelagoTrellisServiceCallback");

    virtual void OnEnableStatusChanged() = 0;
    virtual void OnDeviceFound(const ShareDeviceInfo& device) = 0;
    virtual void OnDeviceLost(const ShareDeviceInfo& device) = 0;
    // `state` is a transfer event; `timeStamp` counts the reports of one physical transfer from 0.
    virtual void OnTransStateChange(
        const ShareDeviceInfo& device, int64_t state, int64_t stateValue, int64_t timeStamp) = 0;
    // The descriptors in `bean` belong to the receiver of the call.
    virtual void OnSend(const ShareDeviceInfo& device, const SendBean& bean) = 0;
    virtual void OnSendBytes(const ShareDeviceInfo& device, const BytesInfo& bytes) = 0;
    virtual void OnCancel(const ShareDeviceInfo& device) = 0;
    virtual void OnShareManagerServiceDied() = 0;
    virtual void OnSendFile(const ShareDeviceInfo& device, const DataBean& bean) = 0;
    virtual void OnConnectHub(std::string name, int32_t value) = 0;
    virtual void OnCorvaneIdHeadImageReceive(const ShareDeviceInfo& device, const std::string& headImage) = 0;
    virtual void OnThermalLevelChanged(int32_t lastLevel, int32_t newLevel, int8_t connectionSide, int8_t action) = 0;
    virtual void OnSwingPop(const ShareDeviceInfo& device) = 0;
    virtual void OnReportSwingEvent(int32_t gesture, int32_t x, int32_t y, const std::string& concurrentId) = 0;
    virtual void OnSwitchNotifyComponent(int32_t component) = 0;
};

// How long the service waits for a client's answer to any of its callbacks.
inline constexpr int CALLBACK_WAIT_SECONDS = 8;

// The name under which OnConnectHub tells how many ordinary clients are registered.
inline constexpr const char* CONNECT_HUB_CALLBACK_COUNT = "trellisCBCount";

} // namespace OHOS::Pelago

#endif // PELAGO_INTERFACES_PELAGO_TRELLIS_SERVICE_CALLBACK_H
