#include "transfer/sender_action_callback_proxy.h"

#include "core/callback_transaction.h"

namespace OHOS::Pelago {
namespace {

BrokerDelegator<SenderActionCallbackProxy> g_delegator;

constexpr const char* SUBJECT = "SendRequest";
constexpr const char* RECEIVER_FAILURE = "Write RemoteObject failed";
constexpr const char* RECEIVER_OR_CODE_FAILURE = "Write RemoteObject or WriteInt32 failed";

} // namespace

SenderActionCallbackProxy::SenderActionCallbackProxy(const sptr<IRemoteObject>& object)
    : IRemoteProxy<ISenderActionCallback>(object)
{}

template <typename... Fields>
void SenderActionCallbackProxy::CallWithReceiver(
    SenderActionCallbackCode code, const sptr<PelagoReceiver>& receiver, const char* failure, const Fields&... fields)
{
    if (receiver == nullptr) {
        SHARE_LOGE(Log::PROXY, "param receiver is nullptr.");
        return;
    }
    sptr<IRemoteObject> object = receiver->AsObject();
    SendCallback(Remote(), GetDescriptor(), code, SUBJECT, CallbackField{object, failure}, fields...);
}

void SenderActionCallbackProxy::OnStatusChanged(int8_t state)
{
    SendCallback(Remote(), GetDescriptor(), SenderActionCallbackCode::ON_STATUS_CHANGED, SUBJECT,
        CallbackField{state, "WriteInt8 failed"});
}

void SenderActionCallbackProxy::OnPreviewReceive(const sptr<PelagoReceiver>& receiver)
{
    CallWithReceiver(SenderActionCallbackCode::ON_PREVIEW_RECEIVE, receiver, RECEIVER_FAILURE);
}

void SenderActionCallbackProxy::OnSendCancelBeforeConfirm(const sptr<PelagoReceiver>& receiver)
{
    CallWithReceiver(SenderActionCallbackCode::ON_SEND_CANCEL_BEFORE_CONFIRM, receiver, RECEIVER_FAILURE);
}

void SenderActionCallbackProxy::OnErrorBeforeConfirm(const sptr<PelagoReceiver>& receiver, int32_t errorCode)
{
    CallWithReceiver(SenderActionCallbackCode::ON_ERROR_BEFORE_CONFIRM, receiver, RECEIVER_OR_CODE_FAILURE,
        CallbackField{errorCode, RECEIVER_OR_CODE_FAILURE});
}

void SenderActionCallbackProxy::OnRecvBytesInfo(const sptr<PelagoReceiver>& receiver, const std::string& senderName,
    int32_t bytesType, const std::string& bytesData, const std::string& previewData)
{
    CallWithReceiver(SenderActionCallbackCode::ON_RECV_BYTES_INFO, receiver, RECEIVER_FAILURE,
        CallbackField{senderName, "Write senderName failed"}, CallbackField{bytesType, "Write bytesType failed"},
        CallbackField{bytesData, "Write bytesData failed"}, CallbackField{previewData, "Write previewData failed"});
}

} // namespace OHOS::Pelago
