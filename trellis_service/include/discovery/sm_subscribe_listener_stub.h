#ifndef PELAGO_DISCOVERY_SM_SUBSCRIBE_LISTENER_STUB_H
#define PELAGO_DISCOVERY_SM_SUBSCRIBE_LISTENER_STUB_H

#include "i_subscribe_listener.h"
#include "iremote_stub.h"

namespace OHOS::Pelago {

// Reads what the engine reports about peers and hands it to the operations of ISubscribeListener. Made by whoever
// subscribes, kept by the engine for as long as the subscription stands; requests come on IPC threads, several at a
// time. It checks no permission: the engine alone is given the object. It has no state.
class SMSubscribeListenerStub : public IRemoteStub<ISubscribeListener> {
public:
    // 0; RESULT_WRONG_TOKEN; RESULT_BAD_DEVICE when a report names no device or an unreadable one; what IPCObjectStub
    // says to a code that is none of ours.
    int OnRemoteRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) override;

    static constexpr int RESULT_WRONG_TOKEN = -10;
    static constexpr int RESULT_BAD_DEVICE = -16;

private:
    using Handler = int (SMSubscribeListenerStub::*)(MessageParcel&);
    struct Row {
        SubscribeListenerCode code;
        Handler handler;
    };
    static const Row ROWS[];

    int HandleOnDeviceFound(MessageParcel& data);
    int HandleOnDeviceLost(MessageParcel& data);
    int HandleOnDiscoverResult(MessageParcel& data);
    int HandleOnSwingStatus(MessageParcel& data);
};

} // namespace OHOS::Pelago

#endif // PELAGO_DISCOVERY_SM_SUBSCRIBE_LISTENER_STUB_H
