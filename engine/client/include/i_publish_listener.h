#ifndef PELAGO_ENGINE_I_PUBLISH_LISTENER_H
#define PELAGO_ENGINE_I_PUBLISH_LISTENER_H

#include "iremote_broker.h"

namespace OHOS::Pelago {

enum class PublishListenerCode : uint8_t {
    ON_PUBLISH_RESULT = 1,
};

// What the engine tells about the visibility of this device. Implemented by the service, called on IPC threads.
class IPublishListener : public IRemoteBroker {
public:
    DECLARE_INTERFACE_DESCRIPTOR(u"ohos.pelago.IPublishListener");

    virtual void OnPublishResult(int publishId, int reason) = 0;
};

} // namespace OHOS::Pelago

#endif // PELAGO_ENGINE_I_PUBLISH_LISTENER_H
