#include "core/trellis_callback_proxy.h"

#include "core/callback_transaction.h"

namespace OHOS::Pelago {
namespace {

BrokerDelegator<TrellisCallbackProxy> g_delegator;

constexpr const char* SUBJECT = "SendRequest";
constexpr const char* SUBJECT_CONNECT_HUB = "ConnectHub";

constexpr const char* DEVICE_FAILURE = "Write ShareDevice failed";

} // namespace

TrellisCallbackProxy::TrellisCallbackProxy(const sptr<IRemoteObject>& object)
    : IRemoteProxy<PelagoTrellisServiceCallback>(object)
{}

template <typename... Fields>
void TrellisCallbackProxy::Transact(
    const char* name, TrellisCallbackCode code, const char* subject, const Fields&... fields)
{
    SHARE_LOGD(Log::PROXY, "%{public}sEnter", name);
    if (SendCallback(Remote(), GetDescriptor(), code, subject, fields...)) {
        SHARE_LOGD(Log::PROXY, "%{public}sExit", name);
    }
}

void TrellisCallbackProxy::OnEnableStatusChanged()
{
    Transact("OnEnableStatusChanged() ", TrellisCallbackCode::ON_ENABLE_STATUS_CHANGED, SUBJECT);
}

void TrellisCallbackProxy::OnDeviceFound(const ShareDeviceInfo& device)
{
    Transact("OnDeviceFound() ", TrellisCallbackCode::ON_DEVICE_FOUND, SUBJECT, CallbackField{device, DEVICE_FAILURE});
}

void TrellisCallbackProxy::OnDeviceLost(const ShareDeviceInfo& device)
{
    Transact("OnDeviceLost() ", TrellisCallbackCode::ON_DEVICE_LOST, SUBJECT, CallbackField{device, DEVICE_FAILURE});
}

void TrellisCallbackProxy::OnTransStateChange(
    const ShareDeviceInfo& device, int64_t state, int64_t stateValue, int64_t timeStamp)
{
    Transact("OnTransStateChange() ", TrellisCallbackCode::ON_TRANS_STATE_CHANGE, SUBJECT,
        CallbackField{device, DEVICE_FAILURE}, CallbackField{state, "Write state failed"},
        CallbackField{stateValue, "Write StateValue failed"}, CallbackField{timeStamp, "Write TimeStamp failed"});
}

void TrellisCallbackProxy::OnSend(const ShareDeviceInfo& device, const SendBean& bean)
{
    Transact("OnSend() ", TrellisCallbackCode::ON_SEND, SUBJECT, CallbackField{device, DEVICE_FAILURE},
        CallbackField{bean, "Write SendBean failed"});
}

void TrellisCallbackProxy::OnSendBytes(const ShareDeviceInfo& device, const BytesInfo& bytes)
{
    Transact("OnSendBytes() ", TrellisCallbackCode::ON_SEND_BYTES, SUBJECT, CallbackField{device, DEVICE_FAILURE},
        CallbackField{bytes, "Write BytesInfo failed"});
}

void TrellisCallbackProxy::OnCancel(const ShareDeviceInfo& device)
{
    Transact("OnCancel() ", TrellisCallbackCode::ON_CANCEL, SUBJECT, CallbackField{device, DEVICE_FAILURE});
}

void TrellisCallbackProxy::OnShareManagerServiceDied()
{
    SHARE_LOGD(Log::PROXY, "OnShareManagerServiceDied enter");
    SHARE_LOGD(Log::PROXY, "OnShareManagerServiceDied exit");
}

// The words for a DataBean that cannot be written are those of a SendBean; field reports are searched by them.
void TrellisCallbackProxy::OnSendFile(const ShareDeviceInfo& device, const DataBean& bean)
{
    Transact("OnSendFile() ", TrellisCallbackCode::ON_SEND_FILE, SUBJECT, CallbackField{device, DEVICE_FAILURE},
        CallbackField{bean, "Write SendBean failed"});
}

// The value travels before the name, the reverse of the arguments: clients read it so.
void TrellisCallbackProxy::OnConnectHub(std::string name, int32_t value)
{
    Transact("OnConnectHub() ", TrellisCallbackCode::ON_CONNECT_HUB, SUBJECT_CONNECT_HUB,
        CallbackField{value, "Write state failed"}, CallbackField{name, "Write StateValue failed"});
}

void TrellisCallbackProxy::OnCorvaneIdHeadImageReceive(const ShareDeviceInfo& device, const std::string& headImage)
{
    Transact("OnCorvaneIdHeadImageReceive() ", TrellisCallbackCode::ON_CORVANE_ID_HEAD_IMAGE_RECEIVE, SUBJECT,
        CallbackField{device, DEVICE_FAILURE}, CallbackField{headImage, "Write headImage failed"});
}

// Both bytes fail in the same words.
void TrellisCallbackProxy::OnThermalLevelChanged(
    int32_t lastLevel, int32_t newLevel, int8_t connectionSide, int8_t action)
{
    Transact("OnThermalLevelChanged() ", TrellisCallbackCode::ON_THERMAL_LEVEL_CHANGED, SUBJECT,
        CallbackField{lastLevel, "Write lastLevel failed"}, CallbackField{newLevel, "Write newLevel failed"},
        CallbackField{connectionSide, "Write connectionSide failed"},
        CallbackField{action, "Write connectionSide failed"});
}

void TrellisCallbackProxy::OnSwingPop(const ShareDeviceInfo& device)
{
    Transact("OnSwingPop() ", TrellisCallbackCode::ON_SWING_POP, SUBJECT, CallbackField{device, DEVICE_FAILURE});
}

void TrellisCallbackProxy::OnReportSwingEvent(int32_t gesture, int32_t x, int32_t y, const std::string& concurrentId)
{
    Transact("", TrellisCallbackCode::ON_REPORT_SWING_EVENT, SUBJECT, CallbackField{gesture, "Write gesture failed"},
        CallbackField{x, "Write x failed"}, CallbackField{y, "Write y failed"},
        CallbackField{concurrentId, "Write concurrentId failed"});
}

void TrellisCallbackProxy::OnSwitchNotifyComponent(int32_t component)
{
    Transact("OnSwitchNotifyComponent() ", TrellisCallbackCode::ON_SWITCH_NOTIFY_COMPONENT, SUBJECT,
        CallbackField{component, "Write component failed"});
}

} // namespace OHOS::Pelago
