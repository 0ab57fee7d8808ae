#ifndef PELAGO_TRANSFER_SM_RECEIVE_LISTENER_STUB_H
#define PELAGO_TRANSFER_SM_RECEIVE_LISTENER_STUB_H

#include "iremote_stub.h"
#include "pelago_receive_listener.h"

namespace OHOS::Pelago {

// Reads what the engine tells the receiving side and hands it to the operations of PelagoReceiveListener. Kept by the
// engine while it is registered; requests come on IPC threads, several at a time. It checks no permission: the engine
// alone is given the object. It has no state.
class SMReceiveListenerStub : public IRemoteStub<PelagoReceiveListener> {
public:
    // 0; -10 for a wrong token; -34 when there is no receiver, before anything behind it is read; -33 when the preview
    // cannot be read; what IPCObjectStub says to a code that is none of ours. Replies are empty.
    int OnRemoteRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) override;

private:
    struct Row {
        ReceiveListenerCode code;
        int32_t (SMReceiveListenerStub::*handler)(MessageParcel& data);
    };
    static const Row ROWS[];

    int32_t HandleOnStatusChanged(MessageParcel& data);
    int32_t HandleOnPreviewReceive(MessageParcel& data);
    int32_t HandleOnRecvPreviewReceive(MessageParcel& data);
    int32_t HandleOnSendCancelBeforeConfirm(MessageParcel& data);
    int32_t HandleOnErrorBeforeConfirm(MessageParcel& data);
    int32_t HandleOnRecvBytesInfo(MessageParcel& data);
    int32_t HandleOnNotSupportReceive(MessageParcel& data);
    int32_t HandleTriggerBindService(MessageParcel& data);
    int32_t HandleOnSwitchNotifyComponent(MessageParcel& data);
    int32_t HandleOnMotionState(MessageParcel& data);
    int32_t HandleOnSwing(MessageParcel& data);
};

} // namespace OHOS::Pelago

#endif // PELAGO_TRANSFER_SM_RECEIVE_LISTENER_STUB_H
