#ifndef PELAGO_DISCOVERY_SM_SUBSCRIBE_CALLBACK_H
#define PELAGO_DISCOVERY_SM_SUBSCRIBE_CALLBACK_H

#include "discovery/sm_subscribe_listener_stub.h"

namespace OHOS::Pelago {

// The discovery listener: brings found and lost devices and swings from the engine into the service. TrellisService
// owns one for discovery from load on, and one for swings when it subscribes to them. Called on IPC threads, several at
// a time. It has no state and stores nothing.
class SMSubscribeCallback : public SMSubscribeListenerStub {
public:
    void OnDeviceFound(const sptr<ShareDevice>& device) override;
    void OnDeviceLost(const sptr<ShareDevice>& device) override;
    // Logged and nothing else: clients are not told of a failed discovery.
    void OnDiscoverResult(int subscribeId, int reason) override;
    void OnSwingStatus(int role, std::string& deviceId, int code) override;
};

} // namespace OHOS::Pelago

#endif // PELAGO_DISCOVERY_SM_SUBSCRIBE_CALLBACK_H
