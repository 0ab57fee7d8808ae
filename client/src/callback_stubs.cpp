#include "callback_stubs.h"

#include <tuple>

#include <unistd.h>

#include "engine_handles.h"
#include "remote_call.h"

namespace OHOS::Pelago {
namespace {

// Reads the arguments of `operation` by their types, in order, and calls it.
template <typename Callback, typename... Args>
int ReadAndCall(Callback& callback, void (Callback::*operation)(Args...), MessageParcel& data)
{
    std::tuple<std::decay_t<Args>...> arguments;
    if (!std::apply([&data](auto&... fields) { return Wire::GetAll(data, fields...); }, arguments)) {
        return CALLBACK_ERROR_BAD_REQUEST;
    }
    std::apply([&](auto&... fields) { (callback.*operation)(fields...); }, arguments);
    return 0;
}

// Closes the descriptors that came with a request.
class ReceivedFiles {
public:
    explicit ReceivedFiles(const SendBean& bean) : bean_(bean)
    {}
    ~ReceivedFiles()
    {
        for (const FileHolder& file : bean_.uriList) {
            if (file.fileFd >= 0) {
                (void)::close(file.fileFd); // whatever it says, the number is gone
            }
        }
    }
    ReceivedFiles(const ReceivedFiles&) = delete;
    ReceivedFiles& operator=(const ReceivedFiles&) = delete;

private:
    const SendBean& bean_;
};

} // namespace

int TrellisCallbackStub::OnRemoteRequest(
    uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option)
{
    using Code = TrellisCallbackCode;
    using Callback = PelagoTrellisServiceCallback;
    if (data.ReadInterfaceToken() != GetDescriptor()) {
        return CALLBACK_ERROR_BAD_TOKEN;
    }
    Callback& self = *this;
    switch (static_cast<Code>(code)) {
        case Code::ON_ENABLE_STATUS_CHANGED:
            return ReadAndCall(self, &Callback::OnEnableStatusChanged, data);
        case Code::ON_DEVICE_FOUND:
            return ReadAndCall(self, &Callback::OnDeviceFound, data);
        case Code::ON_DEVICE_LOST:
            return ReadAndCall(self, &Callback::OnDeviceLost, data);
        case Code::ON_TRANS_STATE_CHANGE:
            return ReadAndCall(self, &Callback::OnTransStateChange, data);
        case Code::ON_SEND:
            return HandleOnSend(data);
        case Code::ON_SEND_BYTES:
            return ReadAndCall(self, &Callback::OnSendBytes, data);
        case Code::ON_CANCEL:
            return ReadAndCall(self, &Callback::OnCancel, data);
        case Code::ON_SEND_FILE:
            return ReadAndCall(self, &Callback::OnSendFile, data);
        case Code::ON_CONNECT_HUB:
            return HandleOnConnectHub(data);
        case Code::ON_CORVANE_ID_HEAD_IMAGE_RECEIVE:
            return ReadAndCall(self, &Callback::OnCorvaneIdHeadImageReceive, data);
        case Code::ON_THERMAL_LEVEL_CHANGED:
            return ReadAndCall(self, &Callback::OnThermalLevelChanged, data);
        case Code::ON_REPORT_SWING_EVENT:
            return ReadAndCall(self, &Callback::OnReportSwingEvent, data);
        case Code::ON_SWING_POP:
            return ReadAndCall(self, &Callback::OnSwingPop, data);
        case Code::ON_SWITCH_NOTIFY_COMPONENT:
            return ReadAndCall(self, &Callback::OnSwitchNotifyComponent, data);
    }
    return IPCObjectStub::OnRemoteRequest(code, data, reply, option);
}

void TrellisCallbackStub::OnShareManagerServiceDied()
{}

int TrellisCallbackStub::HandleOnSend(MessageParcel& data)
{
    ShareDeviceInfo device;
    SendBean bean;
    ReceivedFiles files(bean);
    if (!Wire::GetAll(data, device, bean)) {
        return CALLBACK_ERROR_BAD_REQUEST;
    }
    OnSend(device, bean);
    return 0;
}

// The value travels before the name.
int TrellisCallbackStub::HandleOnConnectHub(MessageParcel& data)
{
    int32_t value = 0;
    std::string name;
    if (!Wire::GetAll(data, value, name)) {
        return CALLBACK_ERROR_BAD_REQUEST;
    }
    OnConnectHub(name, value);
    return 0;
}

int SenderActionCallbackStub::OnRemoteRequest(
    uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option)
{
    using Code = SenderActionCallbackCode;
    if (data.ReadInterfaceToken() != GetDescriptor()) {
        return CALLBACK_ERROR_BAD_TOKEN;
    }
    switch (static_cast<Code>(code)) {
        case Code::ON_STATUS_CHANGED:
            return ReadAndCall<ISenderActionCallback>(*this, &ISenderActionCallback::OnStatusChanged, data);
        case Code::ON_PREVIEW_RECEIVE:
        case Code::ON_SEND_CANCEL_BEFORE_CONFIRM:
        case Code::ON_ERROR_BEFORE_CONFIRM:
        case Code::ON_RECV_BYTES_INFO:
            return HandleWithReceiver(static_cast<Code>(code), data);
    }
    return IPCObjectStub::OnRemoteRequest(code, data, reply, option);
}

int SenderActionCallbackStub::HandleWithReceiver(SenderActionCallbackCode code, MessageParcel& data)
{
    using Code = SenderActionCallbackCode;
    sptr<PelagoReceiver> receiver = iface_cast<PelagoReceiver>(data.ReadRemoteObject());
    if (receiver == nullptr) {
        return CALLBACK_ERROR_BAD_REQUEST;
    }
    int32_t errorCode = 0;
    switch (code) {
        case Code::ON_STATUS_CHANGED: // has no receiver and does not come here
            break;
        case Code::ON_PREVIEW_RECEIVE:
            OnPreviewReceive(receiver);
            return 0;
        case Code::ON_SEND_CANCEL_BEFORE_CONFIRM:
            OnSendCancelBeforeConfirm(receiver);
            return 0;
        case Code::ON_ERROR_BEFORE_CONFIRM:
            if (!Wire::Get(data, errorCode)) {
                return CALLBACK_ERROR_BAD_REQUEST;
            }
            OnErrorBeforeConfirm(receiver, errorCode);
            return 0;
        case Code::ON_RECV_BYTES_INFO:
            return HandleOnRecvBytesInfo(receiver, data);
    }
    return CALLBACK_ERROR_BAD_REQUEST;
}

int SenderActionCallbackStub::HandleOnRecvBytesInfo(const sptr<PelagoReceiver>& receiver, MessageParcel& data)
{
    std::string senderName;
    int32_t bytesType = 0;
    std::string bytesData;
    std::string previewData;
    if (!Wire::GetAll(data, senderName, bytesType, bytesData, previewData)) {
        return CALLBACK_ERROR_BAD_REQUEST;
    }
    OnRecvBytesInfo(receiver, senderName, bytesType, bytesData, previewData);
    return 0;
}

int ShareApiCallbackStub::OnRemoteRequest(
    uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option)
{
    if (data.ReadInterfaceToken() != GetDescriptor()) {
        return CALLBACK_ERROR_BAD_TOKEN;
    }
    switch (static_cast<PelagoApiCallbackCode>(code)) {
        case PelagoApiCallbackCode::ON_SHARE_EVENT_OCCURRED:
            return ReadAndCall<PelagoApiCallback>(*this, &PelagoApiCallback::OnShareEventOccurred, data);
    }
    return IPCObjectStub::OnRemoteRequest(code, data, reply, option);
}

} // namespace OHOS::Pelago
