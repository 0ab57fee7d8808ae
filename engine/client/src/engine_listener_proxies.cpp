#include "engine_listener_proxies.h"

#include "remote_call.h"
#include "share_log.h"

namespace OHOS::Pelago {
namespace {

// Calls one operation of a listener and waits for its end, as long as a client may take.
template <typename Code, typename... Fields>
void Tell(const sptr<IRemoteObject>& listener, const std::u16string& token, Code code, const Fields&... fields)
{
    MessageParcel reply;
    int32_t result = Wire::Call(listener, token, code, reply, MessageOption(), fields...);
    if (result != 0) {
        SHARE_LOGD(Log::PROXY, "listener answered %{public}d to code %{public}d", result, static_cast<int>(code));
    }
}

sptr<IRemoteObject> ObjectOf(const sptr<PelagoReceiver>& receiver)
{
    return receiver == nullptr ? nullptr : receiver->AsObject();
}

} // namespace

SubscribeListenerProxy::SubscribeListenerProxy(const sptr<IRemoteObject>& object)
    : IRemoteProxy<ISubscribeListener>(object)
{}

void SubscribeListenerProxy::OnDeviceFound(const sptr<ShareDevice>& device)
{
    Tell(Remote(), GetDescriptor(), SubscribeListenerCode::ON_DEVICE_FOUND, Wire::Present<ShareDevice>{*device});
}

void SubscribeListenerProxy::OnDeviceLost(const sptr<ShareDevice>& device)
{
    Tell(Remote(), GetDescriptor(), SubscribeListenerCode::ON_DEVICE_LOST, Wire::Present<ShareDevice>{*device});
}

void SubscribeListenerProxy::OnDiscoverResult(int subscribeId, int reason)
{
    Tell(Remote(), GetDescriptor(), SubscribeListenerCode::ON_DISCOVER_RESULT, subscribeId, reason);
}

void SubscribeListenerProxy::OnSwingStatus(int role, std::string& deviceId, int code)
{
    Tell(Remote(), GetDescriptor(), SubscribeListenerCode::ON_SWING_STATUS, role, deviceId, code);
}

PublishListenerProxy::PublishListenerProxy(const sptr<IRemoteObject>& object) : IRemoteProxy<IPublishListener>(object)
{}

void PublishListenerProxy::OnPublishResult(int publishId, int reason)
{
    Tell(Remote(), GetDescriptor(), PublishListenerCode::ON_PUBLISH_RESULT, publishId, reason);
}

TransmitCallbackProxy::TransmitCallbackProxy(const sptr<IRemoteObject>& object)
    : IRemoteProxy<ITransmitCallback>(object)
{}

void TransmitCallbackProxy::OnProgess(int8_t percent)
{
    Tell(Remote(), GetDescriptor(), TransmitCallbackCode::ON_PROGESS, percent);
}

void TransmitCallbackProxy::OnSuccess(const std::string& info, const std::vector<std::string>& names)
{
    Tell(Remote(), GetDescriptor(), TransmitCallbackCode::ON_SUCCESS, info, names);
}

void TransmitCallbackProxy::OnStatus(const std::string& info, int status)
{
    Tell(Remote(), GetDescriptor(), TransmitCallbackCode::ON_STATUS, info, status);
}

void TransmitCallbackProxy::OnError(const std::string& info, int errorCode)
{
    Tell(Remote(), GetDescriptor(), TransmitCallbackCode::ON_ERROR, info, errorCode);
}

void TransmitCallbackProxy::OnCorvaneIdHeadImageReceive(const std::string& deviceId, const std::string& headImage)
{
    Tell(Remote(), GetDescriptor(), TransmitCallbackCode::ON_CORVANE_ID_HEAD_IMAGE_RECEIVE, deviceId, headImage);
}

void TransmitCallbackProxy::OnTotalFileLength(int length)
{
    Tell(Remote(), GetDescriptor(), TransmitCallbackCode::ON_TOTAL_FILE_LENGTH, length);
}

void TransmitCallbackProxy::OnSpeed(int speed)
{
    Tell(Remote(), GetDescriptor(), TransmitCallbackCode::ON_SPEED, speed);
}

void TransmitCallbackProxy::OnRecvSuccess()
{
    Tell(Remote(), GetDescriptor(), TransmitCallbackCode::ON_RECV_SUCCESS);
}

void TransmitCallbackProxy::OnMessageReceive(std::string)
{}

void TransmitCallbackProxy::OnImportProgress(int8_t percent)
{
    Tell(Remote(), GetDescriptor(), TransmitCallbackCode::ON_IMPORT_PROGRESS, percent);
}

void TransmitCallbackProxy::OnImportStarted()
{
    Tell(Remote(), GetDescriptor(), TransmitCallbackCode::ON_IMPORT_STARTED);
}

void TransmitCallbackProxy::OnDetailError(int errorCode)
{
    Tell(Remote(), GetDescriptor(), TransmitCallbackCode::ON_DETAIL_ERROR, errorCode);
}

void TransmitCallbackProxy::OnOpenFileFd(const std::string&)
{}

void TransmitCallbackProxy::OnCloseFileFd(const std::string&)
{}

void TransmitCallbackProxy::OnTransByte(uint64_t, uint64_t)
{}

void TransmitCallbackProxy::OnFileFinish(const std::vector<std::string>&, int)
{}

void TransmitCallbackProxy::OnThermalLevelChanged(int lastLevel, int newLevel, int8_t connectionSide, int8_t action)
{
    Tell(Remote(), GetDescriptor(), TransmitCallbackCode::ON_THERMAL_LEVEL_CHANGED, lastLevel, newLevel, connectionSide,
        action);
}

void TransmitCallbackProxy::OnRelease(const std::string& deviceId, bool lost)
{
    Tell(Remote(), GetDescriptor(), TransmitCallbackCode::ON_RELEASE, deviceId, lost);
}

void TransmitCallbackProxy::OnSwitchNotifyComponent(int component)
{
    Tell(Remote(), GetDescriptor(), TransmitCallbackCode::ON_SWITCH_NOTIFY_COMPONENT, component);
}

void TransmitCallbackProxy::OnNudgeCancel(const std::string& deviceId)
{
    Tell(Remote(), GetDescriptor(), TransmitCallbackCode::ON_NUDGE_CANCEL, deviceId);
}

void TransmitCallbackProxy::OnMotionState(int trans, int state, int errorCode)
{
    Tell(Remote(), GetDescriptor(), TransmitCallbackCode::ON_MOTION_STATE, trans, state, errorCode);
}

void TransmitCallbackProxy::OnPopSwing(const std::string& deviceId, bool show)
{
    Tell(Remote(), GetDescriptor(), TransmitCallbackCode::ON_POP_SWING, deviceId, show);
}

ReceiveListenerProxy::ReceiveListenerProxy(const sptr<IRemoteObject>& object)
    : IRemoteProxy<PelagoReceiveListener>(object)
{}

void ReceiveListenerProxy::OnStatusChanged(int8_t state)
{
    Tell(Remote(), GetDescriptor(), ReceiveListenerCode::ON_STATUS_CHANGED, state);
}

void ReceiveListenerProxy::OnPreviewReceive(
    const sptr<PelagoReceiver>& receiver, const std::string& sendType, const RecvPreview& preview)
{
    Tell(Remote(), GetDescriptor(), ReceiveListenerCode::ON_PREVIEW_RECEIVE, ObjectOf(receiver), sendType, preview);
}

void ReceiveListenerProxy::OnPreviewReceive(const sptr<PelagoReceiver>& receiver, const RecvPreview& preview)
{
    Tell(Remote(), GetDescriptor(), ReceiveListenerCode::ON_RECV_PREVIEW_RECEIVE, ObjectOf(receiver), preview);
}

void ReceiveListenerProxy::OnSendCancelBeforeConfirm(const sptr<PelagoReceiver>& receiver)
{
    Tell(Remote(), GetDescriptor(), ReceiveListenerCode::ON_SEND_CANCEL_BEFORE_CONFIRM, ObjectOf(receiver));
}

void ReceiveListenerProxy::OnErrorBeforeConfirm(const sptr<PelagoReceiver>& receiver, int32_t errorCode)
{
    Tell(Remote(), GetDescriptor(), ReceiveListenerCode::ON_ERROR_BEFORE_CONFIRM, ObjectOf(receiver), errorCode);
}

void ReceiveListenerProxy::OnRecvBytesInfo(
    const sptr<PelagoReceiver>& receiver, const std::string& sendType, const RecvPreview& preview)
{
    Tell(Remote(), GetDescriptor(), ReceiveListenerCode::ON_RECV_BYTES_INFO, ObjectOf(receiver), sendType, preview);
}

// The request carries a receiver that nobody looks at; the engine has none to give.
void ReceiveListenerProxy::OnNotSupportReceive()
{
    Tell(Remote(), GetDescriptor(), ReceiveListenerCode::ON_NOT_SUPPORT_RECEIVE, Remote());
}

void ReceiveListenerProxy::TriggerBindService()
{
    Tell(Remote(), GetDescriptor(), ReceiveListenerCode::TRIGGER_BIND_SERVICE);
}

void ReceiveListenerProxy::OnSwitchNotifyComponent(int32_t component)
{
    Tell(Remote(), GetDescriptor(), ReceiveListenerCode::ON_SWITCH_NOTIFY_COMPONENT, component);
}

void ReceiveListenerProxy::OnMotionState(int32_t trans, int32_t state, int32_t code)
{
    Tell(Remote(), GetDescriptor(), ReceiveListenerCode::ON_MOTION_STATE, trans, state, code);
}

void ReceiveListenerProxy::OnPopSwing(const sptr<PelagoReceiver>& receiver, const RecvPreview& preview, bool show)
{
    Tell(Remote(), GetDescriptor(), ReceiveListenerCode::ON_POP_SWING, ObjectOf(receiver), preview, show);
}

} // namespace OHOS::Pelago
