#include "transfer/sm_receive_listener_stub.h"

#include "i_trellis_service.h"
#include "share_log.h"

namespace OHOS::Pelago {

using Code = ReceiveListenerCode;
using Stub = SMReceiveListenerStub;

const SMReceiveListenerStub::Row SMReceiveListenerStub::ROWS[] = {
    {Code::ON_STATUS_CHANGED, &Stub::HandleOnStatusChanged},
    {Code::ON_PREVIEW_RECEIVE, &Stub::HandleOnPreviewReceive},
    {Code::ON_RECV_PREVIEW_RECEIVE, &Stub::HandleOnRecvPreviewReceive},
    {Code::ON_SEND_CANCEL_BEFORE_CONFIRM, &Stub::HandleOnSendCancelBeforeConfirm},
    {Code::ON_ERROR_BEFORE_CONFIRM, &Stub::HandleOnErrorBeforeConfirm},
    {Code::ON_RECV_BYTES_INFO, &Stub::HandleOnRecvBytesInfo},
    {Code::ON_NOT_SUPPORT_RECEIVE, &Stub::HandleOnNotSupportReceive},
    {Code::TRIGGER_BIND_SERVICE, &Stub::HandleTriggerBindService},
    {Code::ON_SWITCH_NOTIFY_COMPONENT, &Stub::HandleOnSwitchNotifyComponent},
    {Code::ON_MOTION_STATE, &Stub::HandleOnMotionState},
    {Code::ON_POP_SWING, &Stub::HandleOnSwing},
};

namespace {

sptr<PelagoReceiver> ReadReceiver(MessageParcel& data)
{
    return iface_cast<PelagoReceiver>(data.ReadRemoteObject());
}

} // namespace

int SMReceiveListenerStub::OnRemoteRequest(
    uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option)
{
    SHARE_LOGD(Log::STUB, "cmd = %{public}d, flags = %{public}d", static_cast<int>(code), option.GetFlags());
    if (data.ReadInterfaceToken() != GetDescriptor()) {
        SHARE_LOGE(Log::STUB, "SMReceiveListenerStub::OnRemoteRequest failed, descriptor is not matched");
        return ERROR_TOKEN;
    }
    for (const Row& row : ROWS) {
        if (static_cast<uint32_t>(row.code) == code) {
            return (this->*row.handler)(data);
        }
    }
    return IPCObjectStub::OnRemoteRequest(code, data, reply, option);
}

int32_t SMReceiveListenerStub::HandleOnStatusChanged(MessageParcel& data)
{
    OnStatusChanged(data.ReadInt8());
    return 0;
}

int32_t SMReceiveListenerStub::HandleOnPreviewReceive(MessageParcel& data)
{
    sptr<PelagoReceiver> receiver = ReadReceiver(data);
    if (receiver == nullptr) {
        return ERROR_NULL_OBJECT;
    }
    std::string sendType = data.ReadString();
    RecvPreview preview;
    if (!preview.ReadFromParcel(data)) {
        return ERROR_READ_PREVIEW;
    }
    OnPreviewReceive(receiver, sendType, preview);
    return 0;
}

int32_t SMReceiveListenerStub::HandleOnRecvPreviewReceive(MessageParcel& data)
{
    sptr<PelagoReceiver> receiver = ReadReceiver(data);
    if (receiver == nullptr) {
        return ERROR_NULL_OBJECT;
    }
    RecvPreview preview;
    if (!preview.ReadFromParcel(data)) {
        return ERROR_READ_PREVIEW;
    }
    OnPreviewReceive(receiver, preview);
    return 0;
}

int32_t SMReceiveListenerStub::HandleOnSendCancelBeforeConfirm(MessageParcel& data)
{
    sptr<PelagoReceiver> receiver = ReadReceiver(data);
    if (receiver == nullptr) {
        return ERROR_NULL_OBJECT;
    }
    OnSendCancelBeforeConfirm(receiver);
    return 0;
}

int32_t SMReceiveListenerStub::HandleOnErrorBeforeConfirm(MessageParcel& data)
{
    sptr<PelagoReceiver> receiver = ReadReceiver(data);
    if (receiver == nullptr) {
        return ERROR_NULL_OBJECT;
    }
    OnErrorBeforeConfirm(receiver, data.ReadInt32());
    return 0;
}

int32_t SMReceiveListenerStub::HandleOnRecvBytesInfo(MessageParcel& data)
{
    sptr<PelagoReceiver> receiver = ReadReceiver(data);
    if (receiver == nullptr) {
        return ERROR_NULL_OBJECT;
    }
    std::string sendType = data.ReadString();
    RecvPreview preview;
    if (!preview.ReadFromParcel(data)) {
        return ERROR_READ_PREVIEW;
    }
    OnRecvBytesInfo(receiver, sendType, preview);
    return 0;
}

// The receiver must be there, and nobody wants it.
int32_t SMReceiveListenerStub::HandleOnNotSupportReceive(MessageParcel& data)
{
    if (ReadReceiver(data) == nullptr) {
        return ERROR_NULL_OBJECT;
    }
    OnNotSupportReceive();
    return 0;
}

int32_t SMReceiveListenerStub::HandleTriggerBindService(MessageParcel&)
{
    TriggerBindService();
    return 0;
}

int32_t SMReceiveListenerStub::HandleOnSwitchNotifyComponent(MessageParcel& data)
{
    OnSwitchNotifyComponent(data.ReadInt32());
    return 0;
}

int32_t SMReceiveListenerStub::HandleOnMotionState(MessageParcel& data)
{
    int32_t trans = data.ReadInt32();
    int32_t state = data.ReadInt32();
    OnMotionState(trans, state, data.ReadInt32());
    return 0;
}

int32_t SMReceiveListenerStub::HandleOnSwing(MessageParcel& data)
{
    sptr<PelagoReceiver> receiver = ReadReceiver(data);
    if (receiver == nullptr) {
        return ERROR_NULL_OBJECT;
    }
    RecvPreview preview;
    if (!preview.ReadFromParcel(data)) {
        return ERROR_READ_PREVIEW;
    }
    OnPopSwing(receiver, preview, data.ReadBool());
    return 0;
}

} // namespace OHOS::Pelago
