#include "transfer/sm_receive_callback.h"

#include "core/trellis_service.h"
#include "transfer/corvane_share_manager.h"

namespace OHOS::Pelago {
namespace {

// The strategy that leaves the drop-down window where it is.
constexpr int32_t POP_UP_IN_DROP_DOWN = 2;

// What the extension finds in the want of an offer. The preview itself is fetched through the service: it can be large.
constexpr const char* PARAM_SEND_TYPE = "sendType";
constexpr const char* PARAM_SENDER_NAME = "senderName";
constexpr const char* PARAM_COUNT = "count";
constexpr const char* PARAM_POP_UP_STRATEGY = "popUpStrategy";
constexpr const char* PARAM_DEVICE_STATUS = "DeviceStatus";
constexpr const char* PARAM_NOTIFY_TYPE = "notifyType";
constexpr const char* PARAM_PREVIEW_INFO = "previewInfo";
constexpr const char* PARAM_PREVIEW_INFO_SUMMARY = "previewInfoSummary";
constexpr const char* INTENT_RECEIVE = "receive";

AAFwk::Want MakeWant(const char* ability)
{
    AAFwk::Want want;
    want.SetElementName(FRONT_END_BUNDLE, ability);
    return want;
}

void PutPreviewTexts(AAFwk::Want& want, const RecvPreview& preview)
{
    want.SetParam(PARAM_PREVIEW_INFO, preview.GetPreviewInfo());
    want.SetParam("previewExtraInfo", preview.GetPreviewExtraInfo());
    want.SetParam(PARAM_POP_UP_STRATEGY, preview.GetPopUpStrategy());
    want.SetParam("packageInfo", preview.GetPackageInfo());
    want.SetParam(INTENT_KEY_SHARE, INTENT_RECEIVE);
    want.SetParam(PARAM_DEVICE_STATUS, preview.GetDeviceStatus() != 0);
    want.SetParam(PARAM_NOTIFY_TYPE, preview.GetTransEventType());
    want.SetParam(PARAM_PREVIEW_INFO_SUMMARY, preview.GetPreviewInfoSummary());
}

} // namespace

sptr<ISenderActionCallback> SMReceiveCallback::SenderActionCallback() const
{
    MutexLock lock(mutex_);
    return senderActionCallback_;
}

// Null also means that the cancel is kept: decided in one step, so that a client that comes just now misses nothing.
sptr<ISenderActionCallback> SMReceiveCallback::SenderActionCallbackOrKeepCancel()
{
    MutexLock lock(mutex_);
    if (senderActionCallback_ == nullptr) {
        cancelBeforeConfirm_ = true;
    }
    return senderActionCallback_;
}

void SMReceiveCallback::StorePreview(const RecvPreview& preview)
{
    MutexLock lock(mutex_);
    previewData_ = preview.GetPreviewData();
}

void SMReceiveCallback::StoreReceiver(const sptr<PelagoReceiver>& receiver)
{
    sptr<PelagoReceiver> last = receiver; // the one before goes after the lock
    MutexLock lock(mutex_);
    std::swap(receiverActionCallback_, last);
}

void SMReceiveCallback::OfferToExtension(
    const sptr<PelagoReceiver>& receiver, const RecvPreview& preview, const AAFwk::Want& want)
{
    StoreReceiver(receiver);
    if (preview.GetPopUpStrategy() != POP_UP_IN_DROP_DOWN) {
        SHARE_LOGI(
            Log::SERVICE, "PopUpStrategy is %{public}d, start to HideDropDownWindow", preview.GetPopUpStrategy());
        CorvaneShareManager::HideDropDownWindow();
    }
    CorvaneShareManager::StartService(want);
    cancelBeforeConfirm_ = false;
}

void SMReceiveCallback::OnPreviewReceive(
    const sptr<PelagoReceiver>& receiver, const std::string& sendType, const RecvPreview& preview)
{
    AAFwk::Want want = MakeWant(ABILITY_SHARE_SERVICE_EXTENSION);
    want.SetParam(PARAM_SEND_TYPE, sendType);
    want.SetParam(PARAM_SENDER_NAME, preview.GetSenderName());
    want.SetParam(PARAM_COUNT, preview.GetFileCounter());
    want.SetParam("totalSize", std::to_string(preview.GetTotalSize()));
    StorePreview(preview);
    PutPreviewTexts(want, preview);
    OfferToExtension(receiver, preview, want);
}

void SMReceiveCallback::OnPreviewReceive(const sptr<PelagoReceiver>& receiver, const RecvPreview& preview)
{
    SHARE_LOGI(Log::SERVICE, "OnPreviewReceive recv preview enter");
    AAFwk::Want want = MakeWant(ABILITY_SHARE_SERVICE_EXTENSION);
    want.SetParam(PARAM_SEND_TYPE, std::to_string(preview.GetRecvType()));
    want.SetParam(PARAM_SENDER_NAME, preview.GetSenderName());
    want.SetParam("fileCount", preview.GetFileCounter());
    want.SetParam("folderCount", preview.GetFolderCounter());
    want.SetParam("totalSize", std::to_string(preview.GetTotalSize()));
    StorePreview(preview);
    want.SetParam("allFileNameData", preview.GetAllFileNameData());
    PutPreviewTexts(want, preview);
    OfferToExtension(receiver, preview, want);
    SHARE_LOGI(Log::SERVICE, "OnPreviewReceive recv preview exit");
}

void SMReceiveCallback::OnRecvBytesInfo(
    const sptr<PelagoReceiver>& receiver, const std::string& sendType, const RecvPreview& preview)
{
    AAFwk::Want want = MakeWant(ABILITY_SHARE_SERVICE_EXTENSION);
    want.SetParam(PARAM_SEND_TYPE, sendType);
    want.SetParam(PARAM_SENDER_NAME, preview.GetSenderName());
    want.SetParam("bytesType", preview.GetBytesType());
    want.SetParam("bytesData", preview.GetBytesData());
    StorePreview(preview);
    want.SetParam(PARAM_POP_UP_STRATEGY, preview.GetPopUpStrategy());
    want.SetParam(INTENT_KEY_SHARE, INTENT_RECEIVE);
    want.SetParam(PARAM_DEVICE_STATUS, preview.GetDeviceStatus() != 0);
    want.SetParam(PARAM_NOTIFY_TYPE, preview.GetTransEventType());
    OfferToExtension(receiver, preview, want);
}

// Neither hides the drop-down window nor forgets a cancel that came early: a swing is confirmed in a window of its own.
void SMReceiveCallback::OnPopSwing(const sptr<PelagoReceiver>& receiver, const RecvPreview& preview, bool show)
{
    SHARE_LOGI(Log::SERVICE, "OnPopSwing invoked");
    AAFwk::Want want = MakeWant(ABILITY_SWING_RECEIVE_CONFIRM);
    want.SetParam(INTENT_KEY_SWING, show ? "swingReceiveConfirm" : "closeSwingReceiveConfirm");
    want.SetParam(PARAM_SENDER_NAME, preview.GetSenderName());
    want.SetParam("nickName", "");
    want.SetParam(PARAM_COUNT, preview.GetFileCounter());
    want.SetParam(PARAM_PREVIEW_INFO, preview.GetPreviewInfo());
    want.SetParam(PARAM_PREVIEW_INFO_SUMMARY, preview.GetPreviewInfoSummary());
    StoreReceiver(receiver);
    CorvaneShareManager::StartService(want);
    SHARE_LOGI(Log::SERVICE, "OnPopSwing recv preview exit");
}

void SMReceiveCallback::OnStatusChanged(int8_t state)
{
    SHARE_LOGI(Log::SERVICE, "OnStatusChanged enter");
    sptr<ISenderActionCallback> callback = SenderActionCallback();
    if (callback == nullptr) {
        SHARE_LOGE(Log::SERVICE, "sender action callback is null.");
        return;
    }
    callback->OnStatusChanged(state);
    SHARE_LOGI(Log::SERVICE, "OnStatusChanged exit");
}

void SMReceiveCallback::OnErrorBeforeConfirm(const sptr<PelagoReceiver>& receiver, int32_t errorCode)
{
    SHARE_LOGI(Log::SERVICE, "OnErrorBeforeConfirm enter");
    sptr<ISenderActionCallback> callback = SenderActionCallback();
    if (callback == nullptr) {
        SHARE_LOGE(Log::SERVICE, "sender action callback is null.");
        return;
    }
    callback->OnErrorBeforeConfirm(receiver, errorCode);
    SHARE_LOGI(Log::SERVICE, "OnErrorBeforeConfirm exit");
}

// The one event that is kept for a client that comes late.
void SMReceiveCallback::OnSendCancelBeforeConfirm(const sptr<PelagoReceiver>& receiver)
{
    SHARE_LOGI(Log::SERVICE, "OnSendCancelBeforeConfirm enter");
    sptr<ISenderActionCallback> callback = SenderActionCallbackOrKeepCancel();
    if (callback == nullptr) {
        SHARE_LOGE(Log::SERVICE, "sender action callback is null.");
        return;
    }
    callback->OnSendCancelBeforeConfirm(receiver);
    SHARE_LOGI(Log::SERVICE, "OnSendCancelBeforeConfirm exit");
}

void SMReceiveCallback::OnNotSupportReceive()
{
    CorvaneShareManager::StartShowTip();
}

// The engine wants the extension up before an offer comes.
void SMReceiveCallback::TriggerBindService()
{
    AAFwk::Want want = MakeWant(ABILITY_SHARE_SERVICE_EXTENSION);
    want.SetParam(INTENT_KEY_SHARE, "preStartHap");
    CorvaneShareManager::PreStartHap(want);
}

void SMReceiveCallback::OnSwitchNotifyComponent(int32_t component)
{
    SHARE_LOGI(Log::SERVICE, "OnSwitchNotifyComponent %{public}d", component);
    AAFwk::Want want = MakeWant(ABILITY_SHARE_SERVICE_EXTENSION);
    want.SetParam(INTENT_KEY_SHARE, INTENT_SWITCH_NOTIFY_COMPONENT);
    want.SetParam(PARAM_NOTIFY_COMPONENT, component);
    CorvaneShareManager::StartService(want);
}

void SMReceiveCallback::OnMotionState(int32_t trans, int32_t state, int32_t code)
{
    SHARE_LOGI(Log::SERVICE, "trans %{public}d, state %{public}d, code %{public}d", trans, state, code);
    TrellisService::HandleOnMotionReceiverState(trans, state, code);
}

void SMReceiveCallback::SetSenderActionCallback(const sptr<ISenderActionCallback>& callback)
{
    SHARE_LOGI(Log::SERVICE, "SetSenderActionCallback enter");
    sptr<PelagoReceiver> receiver;
    bool cancelled = false;
    {
        MutexLock lock(mutex_);
        senderActionCallback_ = callback;
        receiver = receiverActionCallback_;
        cancelled = cancelBeforeConfirm_;
    }
    if (cancelled && callback != nullptr && receiver != nullptr) {
        SHARE_LOGI(Log::SERVICE, "Cancel directly");
        callback->OnSendCancelBeforeConfirm(receiver);
        cancelBeforeConfirm_ = false;
    }
    SHARE_LOGI(Log::SERVICE, "SetSenderActionCallback exit");
}

void SMReceiveCallback::RemoveSenderActionCallback(const sptr<ISenderActionCallback>& callback)
{
    MutexLock lock(mutex_);
    if (senderActionCallback_ != callback) {
        SHARE_LOGE(Log::SERVICE, "not same callback");
        return;
    }
    senderActionCallback_ = nullptr;
    SHARE_LOGI(Log::SERVICE, "RemoveSenderActionCallback exit");
}

sptr<PelagoReceiver> SMReceiveCallback::GetReceiverActionCallback() const
{
    SHARE_LOGI(Log::SERVICE, "GetReceiverActionCallback enter");
    MutexLock lock(mutex_);
    if (receiverActionCallback_ == nullptr) {
        SHARE_LOGE(Log::SERVICE, "receiverActionCallback is null");
        return nullptr;
    }
    SHARE_LOGI(Log::SERVICE, "GetReceiverActionCallback exit");
    return receiverActionCallback_;
}

std::string SMReceiveCallback::GetPreviewData() const
{
    SHARE_LOGI(Log::SERVICE, "GetPreviewData enter");
    MutexLock lock(mutex_);
    if (previewData_.empty()) {
        SHARE_LOGE(Log::SERVICE, "PreviewData is empty.");
    }
    return previewData_;
}

} // namespace OHOS::Pelago
