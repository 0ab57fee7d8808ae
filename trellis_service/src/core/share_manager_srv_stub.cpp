#include "core/share_manager_srv_stub.h"

#include <unistd.h>

#include "ipc_skeleton.h"
#include "permission.h"
#include "share_log.h"
#include "transfer/descriptor_ledger.h"

namespace OHOS::Pelago {
namespace {

// The NUL that travels with a big string.
constexpr size_t BIG_STRING_TERMINATOR_SIZE = 1;

using Code = TrellisServiceCode;
using Right = ShareManagerSrvStub::Right;

int32_t ReplyBool(MessageParcel& reply, bool result, const char* failure = "reply.WriteBool error.")
{
    if (!reply.WriteBool(result)) {
        SHARE_LOGE(Log::STUB, "%{public}s", failure);
        return ERROR_REPLY;
    }
    return 0;
}

int32_t ReplyDeviceList(MessageParcel& reply, const std::vector<ShareDeviceInfo>& devices)
{
    if (!reply.WriteInt32(static_cast<int32_t>(devices.size()))) {
        SHARE_LOGE(Log::STUB, "Write device info counter failed.");
        return ERROR_REPLY;
    }
    for (const ShareDeviceInfo& device : devices) {
        if (!device.WriteToParcel(reply)) {
            SHARE_LOGE(Log::STUB, "Write share device info failed");
            return ERROR_REPLY;
        }
    }
    return 0;
}

// Reads one argument; a failure is told in the words of the handler and ends it with `error`.
template <typename Record>
int32_t ReadRecord(MessageParcel& data, Record& record, const char* failure, int32_t error)
{
    if (!record.ReadFromParcel(data)) {
        SHARE_LOGE(Log::STUB, "%{public}s", failure);
        return error;
    }
    return 0;
}

int32_t ReadText(MessageParcel& data, std::string& text, const char* failure)
{
    if (!data.ReadString(text)) {
        SHARE_LOGE(Log::STUB, "%{public}s", failure);
        return ERROR_READ_STRING;
    }
    return 0;
}

// Null when the request names no object, or one of a kind that the broker does not know. An object of ours that another
// process sends back to us is none either: it never dies, and what is registered with it would outlive whoever did so.
template <typename Callback>
sptr<Callback> ReadCallback(MessageParcel& data)
{
    sptr<IRemoteObject> object = data.ReadRemoteObject();
    if (object != nullptr && !object->IsProxyObject() && IPCSkeleton::GetCallingPid() != ::getpid()) {
        object = nullptr;
    }
    return iface_cast<Callback>(object);
}

int32_t RefuseNullCallback()
{
    SHARE_LOGE(Log::SERVICE, "callback is null!");
    return ERROR_NULL_OBJECT;
}

} // namespace

// The numbers are the protocol. Rows stand at the place of their code less one.
const std::array<ShareManagerSrvStub::Row, TRELLIS_SERVICE_CODE_COUNT> ShareManagerSrvStub::funcMap_{{
#define ROW(code, operation, right) {Code::code, &ShareManagerSrvStub::Handle##operation, Right::right, #operation}
    ROW(SET_SHARE_ENABLE, SetShareEnable, SWITCH),
    ROW(SET_SHARE_ENABLE_WITH_CONFIRM, SetShareEnableWithConfirm, SWITCH),
    ROW(IS_ENABLED, IsEnabled, CAPABILITY),
    ROW(GET_ENABLE_STATE, GetEnableState, CAPABILITY),
    ROW(REGISTER_TRELLIS_CALLBACK, RegisterTrellisCallback, CAPABILITY),
    ROW(UNREGISTER_TRELLIS_CALLBACK, UnRegisterTrellisCallback, CAPABILITY),
    ROW(START_DISCOVERY, StartDiscovery, CAPABILITY),
    ROW(STOP_DISCOVERY, StopDiscovery, CAPABILITY),
    ROW(START_CONNECT, StartConnect, CAPABILITY),
    ROW(STOP_CONNECT, StopConnect, CAPABILITY),
    ROW(GET_SENDING_USER_LIST, GetSendingUserList, CAPABILITY),
    ROW(PREPARE_SEND, PrepareSend, CAPABILITY),
    ROW(SEND, Send, CAPABILITY),
    ROW(SEND_BYTES, SendBytes, CAPABILITY),
    ROW(SEND_FILE, SendFile, CAPABILITY),
    ROW(CANCEL, Cancel, CAPABILITY),
    ROW(REGISTER_SENDER_ACTION_CALLBACK, RegisterSenderActionCallback, CAPABILITY),
    ROW(UNREGISTER_SENDER_ACTION_CALLBACK, UnRegisterSenderActionCallback, CAPABILITY),
    ROW(GET_RECEIVER_ACTION_CALLBACK, GetReceiverActionCallback, CAPABILITY),
    ROW(GET_PREVIEW_DATA, GetPreviewData, CAPABILITY),
    ROW(GET_ALL_USER_LIST, GetAllUserList, CAPABILITY),
    ROW(GET_ACCOUNT_INFO, GetAccountInfo, CAPABILITY),
    ROW(SET_SHARE_ACCOUNT_PERMISSION, SetShareAccountPermission, CAPABILITY),
    ROW(REGISTER_CORVANE_SHARE_API_TRELLIS_CALLBACK, RegisterCorvaneShareApiTrellisCallback, CAPABILITY),
    ROW(UNREGISTER_CORVANE_SHARE_API_TRELLIS_CALLBACK, UnRegisterCorvaneShareApiTrellisCallback, CAPABILITY),
    ROW(REGISTER_CORVANE_SHARE_API_EVENT, RegisterCorvaneShareApiEvent, CAPABILITY),
    ROW(UNREGISTER_CORVANE_SHARE_API_EVENT, UnRegisterCorvaneShareApiEvent, CAPABILITY),
    ROW(NOTIFY_INFO, NotifyInfo, CAPABILITY),
    ROW(APPLY_URI_PERMISSION, ApplyUriPermission, CAPABILITY),
    ROW(SWING_CONFIRM, SwingConfirm, CAPABILITY),
    ROW(IS_APP_FOREGROUND, IsAppForeground, CAPABILITY),
    ROW(REGISTER_SHARE_API_CALLBACK, RegisterShareApiCallback, NONE),
    ROW(UNREGISTER_SHARE_API_CALLBACK, UnregisterShareApiCallback, NONE),
    ROW(REGISTER_SHARE_EVENT_CALLBACK, RegisterShareEventCallback, NONE),
    ROW(UNREGISTER_SHARE_EVENT_CALLBACK, UnregisterShareEventCallback, NONE),
    ROW(IS_FOCUS_PIDS_REGISTER_SWING, IsFocusPidsRegisterSwing, NONE),
#undef ROW
}};

ShareManagerSrvStub::ShareManagerSrvStub()
{
    SHARE_LOGI(Log::STUB, "funcMap_ size %{public}ld.", static_cast<long>(TRELLIS_SERVICE_CODE_COUNT));
}

const ShareManagerSrvStub::Row* ShareManagerSrvStub::FindRow(uint32_t code)
{
    return code >= 1 && code <= funcMap_.size() ? &funcMap_[code - 1] : nullptr;
}

bool ShareManagerSrvStub::IsOuterInterface(uint32_t code)
{
    const Row* row = FindRow(code);
    return row != nullptr && row->right == Right::NONE;
}

// A code that is not known demands the capability too: without it, a caller learns nothing of the codes.
int32_t ShareManagerSrvStub::CheckRight(uint32_t code)
{
    const Row* row = FindRow(code);
    if (row != nullptr && row->right == Right::SWITCH) {
        return Permission::CheckShareSwitchPermission() ? 0 : ERROR_NO_SWITCH_PERMISSION;
    }
    if (IsOuterInterface(code)) {
        return 0;
    }
    return Permission::CheckShareCapabilityPermission() ? 0 : ERROR_NO_CAPABILITY_PERMISSION;
}

int ShareManagerSrvStub::OnRemoteRequest(
    uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option)
{
    SHARE_LOGD(Log::STUB, "cmd = %{public}d, flags = %{public}d", static_cast<int>(code), option.GetFlags());
    if (data.ReadInterfaceToken() != GetDescriptor()) {
        SHARE_LOGE(Log::STUB, "ShareManagerSrvStub::OnRemoteRequest failed, descriptor is not matched");
        return ERROR_TOKEN;
    }
    if (int32_t refusal = CheckRight(code); refusal != 0) {
        return refusal;
    }
    const Row* row = FindRow(code);
    if (row == nullptr) {
        return IPCObjectStub::OnRemoteRequest(code, data, reply, option);
    }
    return (this->*row->handler)(data, reply);
}

bool ShareManagerSrvStub::WriteBigString(MessageParcel& reply, const std::string& text)
{
    size_t size = text.size() + BIG_STRING_TERMINATOR_SIZE;
    if (!reply.WriteUint32(static_cast<uint32_t>(size))) {
        SHARE_LOGE(Log::SERVICE, "Write message size failed.");
        return false;
    }
    if (text.empty()) {
        SHARE_LOGE(Log::SERVICE, "Empty message.");
        return true;
    }
    SHARE_LOGI(Log::SERVICE, "Send message size:%{public}lu.", static_cast<unsigned long>(text.size()));
    if (!reply.WriteRawData(text.c_str(), size)) {
        SHARE_LOGE(Log::SERVICE, "Write message failed.");
        return false;
    }
    return true;
}

// Integers and bools are taken as the parcel gives them: a request that ends early means 0 or false.

int32_t ShareManagerSrvStub::HandleSetShareEnable(MessageParcel& data, MessageParcel& reply)
{
    int32_t enableState = data.ReadInt32();
    int32_t detectableType = data.ReadInt32();
    bool needCheckFirstUse = data.ReadBool();
    return ReplyBool(reply, SetShareEnable(enableState, detectableType, needCheckFirstUse));
}

int32_t ShareManagerSrvStub::HandleSetShareEnableWithConfirm(MessageParcel& data, MessageParcel& reply)
{
    int32_t enableState = data.ReadInt32();
    int32_t detectableType = data.ReadInt32();
    bool needCheckFirstUse = data.ReadBool();
    bool needUserConfirm = data.ReadBool();
    return ReplyBool(reply, SetShareEnableWithConfirm(enableState, detectableType, needCheckFirstUse, needUserConfirm));
}

int32_t ShareManagerSrvStub::HandleIsEnabled(MessageParcel&, MessageParcel& reply)
{
    return ReplyBool(reply, IsEnabled());
}

int32_t ShareManagerSrvStub::HandleGetEnableState(MessageParcel&, MessageParcel& reply)
{
    if (!reply.WriteInt32(GetEnableState())) {
        SHARE_LOGE(Log::STUB, "reply.Writeint32 error.");
        return ERROR_REPLY;
    }
    return 0;
}

// The next two, and those of the sender action callback, hand a missing callback on: the operation answers false. The
// registrations of the share API refuse it here. Clients rely on both.
int32_t ShareManagerSrvStub::HandleRegisterTrellisCallback(MessageParcel& data, MessageParcel& reply)
{
    return ReplyBool(reply, RegisterTrellisCallback(ReadCallback<PelagoTrellisServiceCallback>(data)));
}

int32_t ShareManagerSrvStub::HandleUnRegisterTrellisCallback(MessageParcel& data, MessageParcel& reply)
{
    return ReplyBool(reply, UnRegisterTrellisCallback(ReadCallback<PelagoTrellisServiceCallback>(data)));
}

int32_t ShareManagerSrvStub::HandleStartDiscovery(MessageParcel&, MessageParcel& reply)
{
    return ReplyBool(reply, StartDiscovery());
}

int32_t ShareManagerSrvStub::HandleStopDiscovery(MessageParcel&, MessageParcel& reply)
{
    return ReplyBool(reply, StopDiscovery());
}

int32_t ShareManagerSrvStub::HandleStartConnect(MessageParcel&, MessageParcel& reply)
{
    return ReplyBool(reply, StartConnect(), "StartConnect.reply.WriteBool error.");
}

int32_t ShareManagerSrvStub::HandleStopConnect(MessageParcel&, MessageParcel& reply)
{
    return ReplyBool(reply, StopConnect(), "StopConnect.reply.WriteBool error.");
}

int32_t ShareManagerSrvStub::HandleGetSendingUserList(MessageParcel&, MessageParcel& reply)
{
    return ReplyDeviceList(reply, GetSendingUserList());
}

int32_t ShareManagerSrvStub::HandlePrepareSend(MessageParcel& data, MessageParcel& reply)
{
    ShareDeviceInfo device;
    if (int32_t error = ReadRecord(data, device, "read ShareDeviceInfo failed.", ERROR_READ_DEVICE_INFO); error != 0) {
        return error;
    }
    return ReplyBool(reply, PrepareSend(device));
}

int32_t ShareManagerSrvStub::HandleSend(MessageParcel& data, MessageParcel& reply)
{
    ShareDeviceInfo device;
    if (int32_t error = ReadRecord(data, device, "read deviceInfo failed.", ERROR_READ_DEVICE_INFO); error != 0) {
        return error;
    }
    SendBean bean;
    int32_t error = ReadRecord(data, bean, "read sendBean failed.", ERROR_READ_PAYLOAD);
    // From here on the files are ours, also those of a record that broke off: they close when nobody needs them any
    // more.
    DescriptorShare files = DescriptorLedger::Adopt(bean);
    if (error != 0) {
        return error;
    }
    std::string packageName;
    if (error = ReadText(data, packageName, "read packageName failed."); error != 0) {
        return error;
    }
    return ReplyBool(reply, Send(device, bean, packageName));
}

int32_t ShareManagerSrvStub::HandleSendBytes(MessageParcel& data, MessageParcel& reply)
{
    ShareDeviceInfo device;
    if (int32_t error = ReadRecord(data, device, "read deviceInfo failed.", ERROR_READ_DEVICE_INFO); error != 0) {
        return error;
    }
    BytesInfo bytes;
    if (int32_t error = ReadRecord(data, bytes, "read bytesInfo failed.", ERROR_READ_PAYLOAD); error != 0) {
        return error;
    }
    return ReplyBool(reply, SendBytes(device, bytes));
}

int32_t ShareManagerSrvStub::HandleSendFile(MessageParcel& data, MessageParcel& reply)
{
    ShareDeviceInfo device;
    if (int32_t error = ReadRecord(data, device, "read deviceInfo failed.", ERROR_READ_DEVICE_INFO); error != 0) {
        return error;
    }
    DataBean bean;
    if (int32_t error = ReadRecord(data, bean, "read dataBean failed.", ERROR_READ_PAYLOAD); error != 0) {
        return error;
    }
    std::string packageName;
    if (int32_t error = ReadText(data, packageName, "read packageName failed."); error != 0) {
        return error;
    }
    return ReplyBool(reply, SendFile(device, bean, packageName));
}

int32_t ShareManagerSrvStub::HandleCancel(MessageParcel& data, MessageParcel& reply)
{
    ShareDeviceInfo device;
    if (int32_t error = ReadRecord(data, device, "read ShareDeviceInfo failed.", ERROR_READ_DEVICE_INFO); error != 0) {
        return error;
    }
    return ReplyBool(reply, Cancel(device));
}

int32_t ShareManagerSrvStub::HandleRegisterSenderActionCallback(MessageParcel& data, MessageParcel& reply)
{
    return ReplyBool(reply, RegisterSenderActionCallback(ReadCallback<ISenderActionCallback>(data)));
}

int32_t ShareManagerSrvStub::HandleUnRegisterSenderActionCallback(MessageParcel& data, MessageParcel& reply)
{
    return ReplyBool(reply, UnRegisterSenderActionCallback(ReadCallback<ISenderActionCallback>(data)));
}

int32_t ShareManagerSrvStub::HandleGetReceiverActionCallback(MessageParcel&, MessageParcel& reply)
{
    sptr<PelagoReceiver> receiver = GetReceiverActionCallback();
    if (receiver == nullptr) {
        SHARE_LOGE(Log::STUB, "Get receiver action callback failed.");
        return ERROR_REPLY;
    }
    if (!reply.WriteRemoteObject(receiver->AsObject())) {
        SHARE_LOGE(Log::STUB, "Write receiver action callback failed.");
        return ERROR_REPLY;
    }
    return 0;
}

int32_t ShareManagerSrvStub::HandleGetPreviewData(MessageParcel&, MessageParcel& reply)
{
    std::string preview = GetPreviewData();
    if (preview.empty()) {
        SHARE_LOGE(Log::STUB, "Get preview data failed.");
        return ERROR_REPLY;
    }
    if (!WriteBigString(reply, preview)) {
        SHARE_LOGE(Log::STUB, "Write preview data failed.");
        return ERROR_REPLY;
    }
    return 0;
}

int32_t ShareManagerSrvStub::HandleGetAllUserList(MessageParcel&, MessageParcel& reply)
{
    return ReplyDeviceList(reply, GetAllUserList());
}

int32_t ShareManagerSrvStub::HandleGetAccountInfo(MessageParcel&, MessageParcel& reply)
{
    if (!GetAccountInfo().WriteToParcel(reply)) {
        SHARE_LOGE(Log::STUB, "Write share account info failed");
        return ERROR_REPLY;
    }
    return 0;
}

int32_t ShareManagerSrvStub::HandleSetShareAccountPermission(MessageParcel& data, MessageParcel& reply)
{
    return ReplyBool(reply, SetShareAccountPermission(data.ReadInt32()), "WriteBool failed");
}

int32_t ShareManagerSrvStub::HandleRegisterCorvaneShareApiTrellisCallback(MessageParcel& data, MessageParcel& reply)
{
    auto callback = ReadCallback<PelagoTrellisServiceCallback>(data);
    return callback == nullptr ? RefuseNullCallback()
                               : ReplyBool(reply, RegisterCorvaneShareApiTrellisCallback(callback));
}

int32_t ShareManagerSrvStub::HandleUnRegisterCorvaneShareApiTrellisCallback(MessageParcel& data, MessageParcel& reply)
{
    auto callback = ReadCallback<PelagoTrellisServiceCallback>(data);
    return callback == nullptr ? RefuseNullCallback()
                               : ReplyBool(reply, UnRegisterCorvaneShareApiTrellisCallback(callback));
}

int32_t ShareManagerSrvStub::HandleRegisterCorvaneShareApiEvent(MessageParcel& data, MessageParcel& reply)
{
    std::string eventName;
    if (int32_t error = ReadText(data, eventName, "read eventName failed."); error != 0) {
        return error;
    }
    return ReplyBool(reply, RegisterCorvaneShareApiEvent(eventName));
}

int32_t ShareManagerSrvStub::HandleUnRegisterCorvaneShareApiEvent(MessageParcel& data, MessageParcel& reply)
{
    std::string eventName;
    if (int32_t error = ReadText(data, eventName, "read eventName failed."); error != 0) {
        return error;
    }
    return ReplyBool(reply, UnRegisterCorvaneShareApiEvent(eventName));
}

int32_t ShareManagerSrvStub::HandleNotifyInfo(MessageParcel& data, MessageParcel& reply)
{
    ShareDeviceInfo device;
    if (int32_t error = ReadRecord(data, device, "read ShareDeviceInfo failed.", ERROR_READ_DEVICE_INFO); error != 0) {
        return error;
    }
    return ReplyBool(reply, NotifyInfo(device, data.ReadInt32()));
}

int32_t ShareManagerSrvStub::HandleApplyUriPermission(MessageParcel& data, MessageParcel& reply)
{
    std::string uri;
    if (int32_t error = ReadText(data, uri, "read uriString failed."); error != 0) {
        return error;
    }
    return ReplyBool(reply, ApplyUriPermission(uri));
}

int32_t ShareManagerSrvStub::HandleSwingConfirm(MessageParcel& data, MessageParcel& reply)
{
    ShareDeviceInfo device;
    if (int32_t error = ReadRecord(data, device, "read ShareDeviceInfo failed.", ERROR_READ_DEVICE_INFO); error != 0) {
        return error;
    }
    return ReplyBool(reply, SwingConfirm(device, data.ReadInt32()));
}

int32_t ShareManagerSrvStub::HandleIsAppForeground(MessageParcel& data, MessageParcel& reply)
{
    std::string bundleName;
    if (int32_t error = ReadText(data, bundleName, "read bundleName failed."); error != 0) {
        return error;
    }
    return ReplyBool(reply, IsAppForeground(bundleName));
}

int32_t ShareManagerSrvStub::HandleRegisterShareApiCallback(MessageParcel& data, MessageParcel& reply)
{
    auto callback = ReadCallback<PelagoApiCallback>(data);
    return callback == nullptr ? RefuseNullCallback() : ReplyBool(reply, RegisterShareApiCallback(callback));
}

int32_t ShareManagerSrvStub::HandleUnregisterShareApiCallback(MessageParcel& data, MessageParcel& reply)
{
    auto callback = ReadCallback<PelagoApiCallback>(data);
    return callback == nullptr ? RefuseNullCallback() : ReplyBool(reply, UnregisterShareApiCallback(callback));
}

// The event travels first, the callback's id second.
int32_t ShareManagerSrvStub::HandleRegisterShareEventCallback(MessageParcel& data, MessageParcel& reply)
{
    int32_t eventId = data.ReadInt32();
    return ReplyBool(reply, RegisterShareEventCallback(eventId, data.ReadInt32()));
}

int32_t ShareManagerSrvStub::HandleUnregisterShareEventCallback(MessageParcel& data, MessageParcel& reply)
{
    int32_t eventId = data.ReadInt32();
    return ReplyBool(reply, UnregisterShareEventCallback(eventId, data.ReadInt32()));
}

int32_t ShareManagerSrvStub::HandleIsFocusPidsRegisterSwing(MessageParcel&, MessageParcel& reply)
{
    return ReplyBool(reply, IsFocusPidsRegisterSwing());
}

} // namespace OHOS::Pelago
