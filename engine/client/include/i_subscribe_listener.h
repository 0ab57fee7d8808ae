#ifndef PELAGO_ENGINE_I_SUBSCRIBE_LISTENER_H
#define PELAGO_ENGINE_I_SUBSCRIBE_LISTENER_H

#include <string>

#include "iremote_broker.h"
#include "share_device.h"

namespace OHOS::Pelago {

enum class SubscribeListenerCode : uint32_t {
    ON_DEVICE_FOUND = 1,
    ON_DEVICE_LOST = 2,
    ON_DISCOVER_RESULT = 3,
    ON_SWING_STATUS = 4,
};

// What the engine tells about peers to whoever subscribed. Implemented by the service; the engine calls it on IPC
// threads, several at a time, and never from inside a call that it is serving.
class ISubscribeListener : public IRemoteBroker {
public:
    DECLARE_INTERFACE_DESCRIPTOR(u"ohos.pelago.ISubscribeListener");

    virtual void OnDeviceFound(const sptr<ShareDevice>& device) = 0;
    // `device` carries the contact that it was found with: entries of lost devices are found by it.
    virtual void OnDeviceLost(const sptr<ShareDevice>& device) = 0;
    virtual void OnDiscoverResult(int subscribeId, int reason) = 0;
    virtual void OnSwingStatus(int role, std::string& deviceId, int code) = 0;
};

} // namespace OHOS::Pelago

#endif // PELAGO_ENGINE_I_SUBSCRIBE_LISTENER_H
