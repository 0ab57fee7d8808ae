#ifndef PELAGO_DISCOVERY_SM_PUBLISH_LISTENER_STUB_H
#define PELAGO_DISCOVERY_SM_PUBLISH_LISTENER_STUB_H

#include "i_publish_listener.h"
#include "iremote_stub.h"

namespace OHOS::Pelago {

// Reads what the engine reports about the visibility of this device. Made by the service, kept by the engine; requests
// come on IPC threads, several at a time. It checks no permission: the engine alone is given the object. It has no
// state.
class SMPublishListenerStub : public IRemoteStub<IPublishListener> {
public:
    // 0; RESULT_WRONG_TOKEN; what IPCObjectStub says to a code that is none of ours. Codes are looked up by their low
    // byte.
    int OnRemoteRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) override;

    static constexpr int RESULT_WRONG_TOKEN = -10;

private:
    using Handler = int (SMPublishListenerStub::*)(MessageParcel&);
    struct Row {
        PublishListenerCode code;
        Handler handler;
    };
    static const Row ROWS[];

    int HandleOnPublishResult(MessageParcel& data);
};

} // namespace OHOS::Pelago

#endif // PELAGO_DISCOVERY_SM_PUBLISH_LISTENER_STUB_H
