#ifndef PELAGO_DISCOVERY_SM_NUDGE_SUBSCRIBE_CALLBACK_H
#define PELAGO_DISCOVERY_SM_NUDGE_SUBSCRIBE_CALLBACK_H

#include "discovery/sm_subscribe_listener_stub.h"

namespace OHOS::Pelago {

// The listener for devices that the collaboration framework found by a tap: the engine reports them here, and they take
// the same way as any other. TrellisService makes one at the first tap and keeps it. Called on IPC threads, several at
// a time. It has no state and does not care for swings.
class SMNudgeSubscribeCallback : public SMSubscribeListenerStub {
public:
    void OnDeviceFound(const sptr<ShareDevice>& device) override;
    void OnDeviceLost(const sptr<ShareDevice>& device) override;
    void OnDiscoverResult(int subscribeId, int reason) override;
    void OnSwingStatus(int role, std::string& deviceId, int code) override;
};

} // namespace OHOS::Pelago

#endif // PELAGO_DISCOVERY_SM_NUDGE_SUBSCRIBE_CALLBACK_H
