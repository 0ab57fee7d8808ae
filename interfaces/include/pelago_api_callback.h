#ifndef PELAGO_INTERFACES_PELAGO_API_CALLBACK_H
#define PELAGO_INTERFACES_PELAGO_API_CALLBACK_H

#include "iremote_broker.h"
#include "share_device_info.h"

namespace OHOS::Pelago {

enum class PelagoApiCallbackCode : uint32_t {
    ON_SHARE_EVENT_OCCURRED = 1,
};

// What the service tells an application of the share API. Implemented by applications, called synchronously.
class PelagoApiCallback : public IRemoteBroker {
public:
    DECLARE_INTERFACE_DESCRIPTOR(u"ohos.pelago.PelagoApiCallback");

    virtual void OnShareEventOccurred(int32_t eventId, int32_t cbId, const ShareDeviceInfo& device) = 0;
};

} // namespace OHOS::Pelago

#endif // PELAGO_INTERFACES_PELAGO_API_CALLBACK_H
