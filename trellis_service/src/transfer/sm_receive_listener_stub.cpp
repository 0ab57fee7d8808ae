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

// Hands the receiver on that stands first in the request: without one nothing behind it is read.
template <typename Tell>
int32_t WithReceiver(MessageParcel& data, Tell&& tell)
{
    sptr<PelagoReceiver> receiver = iface_cast<PelagoReceiver>(data.ReadRemoteObject());
    if (receiver == nullptr) {
        return ERROR_NULL_OBJECT;
    }
    return tell(receiver);
}

// The same for the preview, which stands behind the receiver and, in some, a text.
template <typename Tell>
int32_t WithPreview(MessageParcel& data, Tell&& tell)
{
    RecvPreview preview;
    if (!preview.ReadFromParcel(data)) {
        return ERROR_READ_PREVIEW;
    }
    tell(preview);
    return ERR_NONE;
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
    return ERR_NONE;
}

int32_t SMReceiveListenerStub::HandleOnPreviewReceive(MessageParcel& data)
{
    return WithReceiver(data, [&](const sptr<PelagoReceiver>& receiver) {
        const std::string sendType = data.ReadString();
        return WithPreview(data, [&](const RecvPreview& preview) { OnPreviewReceive(receiver, sendType, preview); });
    });
}

int32_t SMReceiveListenerStub::HandleOnRecvPreviewReceive(MessageParcel& data)
{
    return WithReceiver(data, [&](const sptr<PelagoReceiver>& receiver) {
        return WithPreview(data, [&](const RecvPreview& preview) { OnPreviewReceive(receiver, preview); });
    });
}

int32_t SMReceiveListenerStub::HandleOnSendCancelBeforeConfirm(MessageParcel& data)
{
    return WithReceiver(data, [&](const sptr<PelagoReceiver>& receiver) {
        OnSendCancelBeforeConfirm(receiver);
        return ERR_NONE;
    });
}

int32_t SMReceiveListenerStub::HandleOnErrorBeforeConfirm(MessageParcel& data)
{
    return WithReceiver(data, [&](const sptr<PelagoReceiver>& receiver) {
        OnErrorBeforeConfirm(receiver, data.ReadInt32());
        return ERR_NONE;
    });
}

int32_t SMReceiveListenerStub::HandleOnRecvBytesInfo(MessageParcel& data)
{
    return WithReceiver(data, [&](const sptr<PelagoReceiver>& receiver) {
        const std::string sendType = data.ReadString();
        return WithPreview(data, [&](const RecvPreview& preview) { OnRecvBytesInfo(receiver, sendType, preview); });
    });
}

// The receiver must be there, and nobody wants it.
int32_t SMReceiveListenerStub::HandleOnNotSupportReceive(MessageParcel& data)
{
    return WithReceiver(data, [this](const sptr<PelagoReceiver>&) {
        OnNotSupportReceive();
        return ERR_NONE;
    });
}

int32_t SMReceiveListenerStub::HandleTriggerBindService(MessageParcel&)
{
    TriggerBindService();
    return ERR_NONE;
}

int32_t SMReceiveListenerStub::HandleOnSwitchNotifyComponent(MessageParcel& data)
{
    OnSwitchNotifyComponent(data.ReadInt32());
    return ERR_NONE;
}

int32_t SMReceiveListenerStub::HandleOnMotionState(MessageParcel& data)
{
    int32_t trans = data.ReadInt32();
    int32_t state = data.ReadInt32();
    OnMotionState(trans, state, data.ReadInt32());
    return ERR_NONE;
}

int32_t SMReceiveListenerStub::HandleOnSwing(MessageParcel& data)
{
    return WithReceiver(data, [&](const sptr<PelagoReceiver>& receiver) {
        return WithPreview(data, [&](const RecvPreview& preview) { OnPopSwing(receiver, preview, data.ReadBool()); });
    });
}

} // namespace OHOS::Pelago
