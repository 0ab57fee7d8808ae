#include "trellis_service_proxy.h"

#include "remote_call.h"

namespace OHOS::Pelago {
namespace {

using Code = TrellisServiceCode;

BrokerDelegator<TrellisServiceProxy> g_delegator;

thread_local int32_t g_lastError = 0;

// What LastError says when the service answered with something that is no answer.
constexpr int32_t ERROR_UNREADABLE_REPLY = -2;

// Null stays null: the service decides what that means.
template <typename Callback>
sptr<IRemoteObject> ObjectOf(const sptr<Callback>& callback)
{
    return callback == nullptr ? nullptr : callback->AsObject();
}

// A field that is left out when there is nothing to write: the service reads a missing object as null.
struct OptionalObject {
    sptr<IRemoteObject> object;
};

[[nodiscard]] bool PutField(MessageParcel& data, const OptionalObject& field)
{
    return field.object == nullptr || data.WriteRemoteObject(field.object);
}

template <typename Field>
[[nodiscard]] bool PutField(MessageParcel& data, const Field& field)
{
    return Wire::Put(data, field);
}

// Takes one field out of an answer; LastError says when it is not there.
template <typename Value>
[[nodiscard]] bool ReadAnswer(MessageParcel& reply, Value& value)
{
    const bool read = Wire::Get(reply, value);
    g_lastError = read ? g_lastError : ERROR_UNREADABLE_REPLY;
    return read;
}

} // namespace

TrellisServiceProxy::TrellisServiceProxy(const sptr<IRemoteObject>& object) : IRemoteProxy<ITrellisService>(object)
{}

int32_t TrellisServiceProxy::LastError()
{
    return g_lastError;
}

template <typename... Fields>
bool TrellisServiceProxy::Transact(TrellisServiceCode code, MessageParcel& reply, const Fields&... fields)
{
    sptr<IRemoteObject> remote = Remote();
    MessageParcel data;
    g_lastError = Wire::ERROR_NOT_WRITTEN;
    if (remote == nullptr || !data.WriteInterfaceToken(GetDescriptor()) || !(PutField(data, fields) && ... && true)) {
        return false;
    }
    MessageOption option(MessageOption::TF_SYNC, CALL_WAIT_SECONDS);
    g_lastError = remote->SendRequest(static_cast<uint32_t>(code), data, reply, option);
    return g_lastError == 0;
}

template <typename... Fields>
bool TrellisServiceProxy::CallForBool(TrellisServiceCode code, const Fields&... fields)
{
    MessageParcel reply;
    bool result = false;
    return Transact(code, reply, fields...) && ReadAnswer(reply, result) && result;
}

std::vector<ShareDeviceInfo> TrellisServiceProxy::CallForDevices(TrellisServiceCode code)
{
    MessageParcel reply;
    int32_t count = 0;
    if (!Transact(code, reply) || !ReadAnswer(reply, count)) {
        return {};
    }
    std::vector<ShareDeviceInfo> devices;
    for (int32_t i = 0; i < count; ++i) {
        ShareDeviceInfo device;
        if (!ReadAnswer(reply, device)) {
            return {};
        }
        devices.push_back(std::move(device));
    }
    return devices;
}

bool TrellisServiceProxy::SetShareEnable(int32_t enableState, int32_t detectableType, bool needCheckFirstUse)
{
    return CallForBool(Code::SET_SHARE_ENABLE, enableState, detectableType, needCheckFirstUse);
}

bool TrellisServiceProxy::SetShareEnableWithConfirm(
    int32_t enableState, int32_t detectableType, bool needCheckFirstUse, bool needUserConfirm)
{
    return CallForBool(
        Code::SET_SHARE_ENABLE_WITH_CONFIRM, enableState, detectableType, needCheckFirstUse, needUserConfirm);
}

bool TrellisServiceProxy::IsEnabled()
{
    return CallForBool(Code::IS_ENABLED);
}

int32_t TrellisServiceProxy::GetEnableState()
{
    MessageParcel reply;
    int32_t state = 0;
    return Transact(Code::GET_ENABLE_STATE, reply) && ReadAnswer(reply, state) ? state : 0;
}

bool TrellisServiceProxy::IsFocusPidsRegisterSwing()
{
    return CallForBool(Code::IS_FOCUS_PIDS_REGISTER_SWING);
}

bool TrellisServiceProxy::RegisterTrellisCallback(const sptr<PelagoTrellisServiceCallback>& callback)
{
    return CallForBool(Code::REGISTER_TRELLIS_CALLBACK, OptionalObject{ObjectOf(callback)});
}

bool TrellisServiceProxy::UnRegisterTrellisCallback(const sptr<PelagoTrellisServiceCallback>& callback)
{
    return CallForBool(Code::UNREGISTER_TRELLIS_CALLBACK, OptionalObject{ObjectOf(callback)});
}

bool TrellisServiceProxy::StartDiscovery()
{
    return CallForBool(Code::START_DISCOVERY);
}

bool TrellisServiceProxy::StopDiscovery()
{
    return CallForBool(Code::STOP_DISCOVERY);
}

bool TrellisServiceProxy::StartConnect()
{
    return CallForBool(Code::START_CONNECT);
}

bool TrellisServiceProxy::StopConnect()
{
    return CallForBool(Code::STOP_CONNECT);
}

std::vector<ShareDeviceInfo> TrellisServiceProxy::GetAllUserList()
{
    return CallForDevices(Code::GET_ALL_USER_LIST);
}

std::vector<ShareDeviceInfo> TrellisServiceProxy::GetSendingUserList()
{
    return CallForDevices(Code::GET_SENDING_USER_LIST);
}

bool TrellisServiceProxy::PrepareSend(const ShareDeviceInfo& device)
{
    return CallForBool(Code::PREPARE_SEND, device);
}

bool TrellisServiceProxy::Send(const ShareDeviceInfo& device, SendBean& bean, const std::string& packageName)
{
    return CallForBool(Code::SEND, device, bean, packageName);
}

bool TrellisServiceProxy::SendFile(const ShareDeviceInfo& device, const DataBean& bean, const std::string& packageName)
{
    return CallForBool(Code::SEND_FILE, device, bean, packageName);
}

bool TrellisServiceProxy::SendBytes(const ShareDeviceInfo& device, const BytesInfo& bytes)
{
    return CallForBool(Code::SEND_BYTES, device, bytes);
}

bool TrellisServiceProxy::Cancel(const ShareDeviceInfo& device)
{
    return CallForBool(Code::CANCEL, device);
}

bool TrellisServiceProxy::RegisterSenderActionCallback(const sptr<ISenderActionCallback>& callback)
{
    return CallForBool(Code::REGISTER_SENDER_ACTION_CALLBACK, OptionalObject{ObjectOf(callback)});
}

bool TrellisServiceProxy::UnRegisterSenderActionCallback(const sptr<ISenderActionCallback>& callback)
{
    return CallForBool(Code::UNREGISTER_SENDER_ACTION_CALLBACK, OptionalObject{ObjectOf(callback)});
}

sptr<PelagoReceiver> TrellisServiceProxy::GetReceiverActionCallback()
{
    MessageParcel reply;
    if (!Transact(Code::GET_RECEIVER_ACTION_CALLBACK, reply)) {
        return nullptr;
    }
    return iface_cast<PelagoReceiver>(reply.ReadRemoteObject());
}

std::string TrellisServiceProxy::GetPreviewData()
{
    MessageParcel reply;
    if (!Transact(Code::GET_PREVIEW_DATA, reply)) {
        return {};
    }
    uint32_t size = reply.ReadUint32();
    const void* text = size > 1 ? reply.ReadRawData(size) : nullptr;
    if (text == nullptr) {
        g_lastError = ERROR_UNREADABLE_REPLY;
        return {};
    }
    return std::string(static_cast<const char*>(text), size - 1); // without the NUL that travels with it
}

ShareAccountInfo TrellisServiceProxy::GetAccountInfo()
{
    MessageParcel reply;
    ShareAccountInfo account;
    return Transact(Code::GET_ACCOUNT_INFO, reply) && ReadAnswer(reply, account) ? account : ShareAccountInfo();
}

bool TrellisServiceProxy::SetShareAccountPermission(int32_t accountPermission)
{
    return CallForBool(Code::SET_SHARE_ACCOUNT_PERMISSION, accountPermission);
}

bool TrellisServiceProxy::RegisterCorvaneShareApiTrellisCallback(const sptr<PelagoTrellisServiceCallback>& callback)
{
    return CallForBool(Code::REGISTER_CORVANE_SHARE_API_TRELLIS_CALLBACK, OptionalObject{ObjectOf(callback)});
}

bool TrellisServiceProxy::UnRegisterCorvaneShareApiTrellisCallback(const sptr<PelagoTrellisServiceCallback>& callback)
{
    return CallForBool(Code::UNREGISTER_CORVANE_SHARE_API_TRELLIS_CALLBACK, OptionalObject{ObjectOf(callback)});
}

bool TrellisServiceProxy::RegisterCorvaneShareApiEvent(const std::string& eventName)
{
    return CallForBool(Code::REGISTER_CORVANE_SHARE_API_EVENT, eventName);
}

bool TrellisServiceProxy::UnRegisterCorvaneShareApiEvent(const std::string& eventName)
{
    return CallForBool(Code::UNREGISTER_CORVANE_SHARE_API_EVENT, eventName);
}

bool TrellisServiceProxy::NotifyInfo(const ShareDeviceInfo& device, int32_t infoReason)
{
    return CallForBool(Code::NOTIFY_INFO, device, infoReason);
}

bool TrellisServiceProxy::ApplyUriPermission(const std::string& uriString)
{
    return CallForBool(Code::APPLY_URI_PERMISSION, uriString);
}

bool TrellisServiceProxy::SwingConfirm(const ShareDeviceInfo& device, int32_t choice)
{
    return CallForBool(Code::SWING_CONFIRM, device, choice);
}

bool TrellisServiceProxy::IsAppForeground(const std::string& bundleName)
{
    return CallForBool(Code::IS_APP_FOREGROUND, bundleName);
}

bool TrellisServiceProxy::RegisterShareApiCallback(const sptr<PelagoApiCallback>& callback)
{
    return CallForBool(Code::REGISTER_SHARE_API_CALLBACK, OptionalObject{ObjectOf(callback)});
}

bool TrellisServiceProxy::UnregisterShareApiCallback(const sptr<PelagoApiCallback>& callback)
{
    return CallForBool(Code::UNREGISTER_SHARE_API_CALLBACK, OptionalObject{ObjectOf(callback)});
}

bool TrellisServiceProxy::RegisterShareEventCallback(int32_t eventId, int32_t cbId)
{
    return CallForBool(Code::REGISTER_SHARE_EVENT_CALLBACK, eventId, cbId);
}

bool TrellisServiceProxy::UnregisterShareEventCallback(int32_t eventId, int32_t cbId)
{
    return CallForBool(Code::UNREGISTER_SHARE_EVENT_CALLBACK, eventId, cbId);
}

} // namespace OHOS::Pelago
