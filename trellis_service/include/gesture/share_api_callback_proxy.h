#ifndef PELAGO_GESTURE_SHARE_API_CALLBACK_PROXY_H
#define PELAGO_GESTURE_SHARE_API_CALLBACK_PROXY_H

#include "iremote_proxy.h"
#include "pelago_api_callback.h"

namespace OHOS::Pelago {

// What the service holds of the callback of an application; made by the broker. Every call is synchronous, from any
// thread; its failure is logged and forgotten.
class ShareApiCallbackProxy : public IRemoteProxy<PelagoApiCallback> {
public:
    explicit ShareApiCallbackProxy(const sptr<IRemoteObject>& object);

    void OnShareEventOccurred(int32_t eventId, int32_t cbId, const ShareDeviceInfo& device) override;
};

} // namespace OHOS::Pelago

#endif // PELAGO_GESTURE_SHARE_API_CALLBACK_PROXY_H
