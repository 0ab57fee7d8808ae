#ifndef PELAGO_TRANSFER_SM_SEND_TRANSMIT_CALLBACK_STUB_H
#define PELAGO_TRANSFER_SM_SEND_TRANSMIT_CALLBACK_STUB_H

#include "i_transmit_callback.h"
#include "iremote_stub.h"

namespace OHOS::Pelago {

// Reads what the engine reports of one transfer and hands it to the operations of ITransmitCallback. Kept by the engine
// while the transfer lasts; requests come on IPC threads, several at a time. It checks no permission: the engine alone
// is given the object. It has no state.
class SMSendTransmitCallbackStub : public IRemoteStub<ITransmitCallback> {
public:
    // 0; -10 for a wrong token; -17 when the names of a success cannot be read; what IPCObjectStub says to a code that
    // is none of ours.
    int OnRemoteRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) override;

private:
    struct Row {
        TransmitCallbackCode code;
        int (SMSendTransmitCallbackStub::*handler)(MessageParcel& data);
    };
    static const Row ROWS[];

    int HandleOnProgess(MessageParcel& data);
    int HandleOnSuccess(MessageParcel& data);
    int HandleOnStatus(MessageParcel& data);
    int HandleOnError(MessageParcel& data);
    int HandleOnCorvaneIdHeadImageReceive(MessageParcel& data);
    int HandleOnTotalFileLength(MessageParcel& data);
    int HandleOnSpeed(MessageParcel& data);
    int HandleOnRecvSuccess(MessageParcel& data);
    int HandleOnImportProgress(MessageParcel& data);
    int HandleOnImportStarted(MessageParcel& data);
    int HandleOnDetailError(MessageParcel& data);
    int HandleOnThermalLevelChanged(MessageParcel& data);
    int HandleOnRelease(MessageParcel& data);
    int HandleOnSwitchNotifyComponent(MessageParcel& data);
    int HandleOnNudgeCancel(MessageParcel& data);
    int HandleOnMotionState(MessageParcel& data);
    int HandleOnPopSwing(MessageParcel& data);
};

} // namespace OHOS::Pelago

#endif // PELAGO_TRANSFER_SM_SEND_TRANSMIT_CALLBACK_STUB_H
