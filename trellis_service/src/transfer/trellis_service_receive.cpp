#include "core/trellis_service.h"

#include <new>

#include "transfer/sm_receive_callback.h"

// The client that shows an offer: how it gets the offer, and how it follows the sender.
namespace OHOS::Pelago {

TrellisService::ReceiveDeathRecipient::ReceiveDeathRecipient(const wptr<TrellisService>& service) : service_(service)
{}

void TrellisService::ReceiveDeathRecipient::OnRemoteDied(const wptr<IRemoteObject>&)
{
    if (sptr<TrellisService> alive = service_.promote(); alive != nullptr) {
        (void)alive->ReceiveCallbackDeath(); // logs its own failure
    }
}

sptr<PelagoReceiver> TrellisService::GetReceiverActionCallback()
{
    MutexLock lock(receiveMutex_);
    if (receiveListener_ == nullptr) {
        SHARE_LOGE(Log::SERVICE, "receiveListener is null");
        return nullptr;
    }
    return receiveListener_->GetReceiverActionCallback();
}

std::string TrellisService::GetPreviewData()
{
    MutexLock lock(receiveMutex_);
    if (receiveListener_ == nullptr) {
        SHARE_LOGE(Log::SERVICE, "receiveListener is null");
        return {};
    }
    return receiveListener_->GetPreviewData();
}

// A client that comes second is refused, but its death is watched all the same, and unregisters the first.
void TrellisService::RegisterReceiveDeath(const sptr<IRemoteObject>& object)
{
    sptr<ReceiveDeathRecipient> recipient = new (std::nothrow) ReceiveDeathRecipient(this);
    if (recipient == nullptr) {
        return;
    }
    SHARE_LOGD(Log::SERVICE, "ReceiveDeathRecipient OK.");
    if (object->IsProxyObject() && !object->AddDeathRecipient(recipient)) {
        SHARE_LOGE(Log::SERVICE, "Fail to add ReceiveDeathRecipient.");
    }
    RecursiveLock lock(deathReceiveCallbackMutex_);
    deathReceiveCallbackMap_.emplace(object, recipient);
}

// The client is called with both locks held when a cancel has been waiting for it: it hears of that before its own
// registration returns, and must not ask for the preview from inside.
bool TrellisService::RegisterSenderActionCallback(const sptr<ISenderActionCallback>& callback)
{
    SHARE_LOGI(Log::SERVICE, "RegisterSenderActionCallback() enter");
    if (callback == nullptr) {
        SHARE_LOGE(Log::SERVICE, "callback is null in RegisterSenderActionCallback!");
        return false;
    }
    sptr<IRemoteObject> object = callback->AsObject();
    if (object == nullptr) {
        SHARE_LOGE(Log::SERVICE, "callbackObj is null in RegisterSenderActionCallback!");
        return false;
    }
    RegisterReceiveDeath(object);
    MutexLock senderAction(senderActionCallbackMutex_);
    if (senderActionCallback_ != nullptr) {
        SHARE_LOGE(Log::SERVICE, "already registered.");
        return false;
    }
    senderActionCallback_ = callback;
    MutexLock receive(receiveMutex_);
    if (receiveListener_ == nullptr) {
        SHARE_LOGE(Log::SERVICE, "receiveListener is null");
        return false;
    }
    receiveListener_->SetSenderActionCallback(senderActionCallback_);
    SHARE_LOGI(Log::SERVICE, "RegisterSenderActionCallback() exit");
    return true;
}

// The argument only finds the death recipient: any client's call removes the one that is registered.
bool TrellisService::UnRegisterSenderActionCallback(const sptr<ISenderActionCallback>& callback)
{
    SHARE_LOGI(Log::SERVICE, "UnRegisterSenderActionCallback enter");
    if (callback == nullptr) {
        SHARE_LOGE(Log::SERVICE, "callback is null in UnRegisterSenderActionCallback!");
        return false;
    }
    sptr<IRemoteObject> object = callback->AsObject();
    if (object == nullptr) {
        SHARE_LOGE(Log::SERVICE, "callbackObj is null in UnRegisterSenderActionCallback!");
        return false;
    }
    RecursiveLock death(deathReceiveCallbackMutex_);
    if (auto found = deathReceiveCallbackMap_.find(object); found != deathReceiveCallbackMap_.end()) {
        object->RemoveDeathRecipient(found->second);
        deathReceiveCallbackMap_.erase(found);
    }
    MutexLock senderAction(senderActionCallbackMutex_);
    if (senderActionCallback_ == nullptr) {
        SHARE_LOGE(Log::SERVICE, "already unregistered.");
        return false;
    }
    MutexLock receive(receiveMutex_);
    if (receiveListener_ == nullptr) {
        SHARE_LOGE(Log::SERVICE, "receiveListener is null");
        return false;
    }
    receiveListener_->RemoveSenderActionCallback(senderActionCallback_);
    senderActionCallback_ = nullptr;
    SHARE_LOGI(Log::SERVICE, "UnRegisterSenderActionCallback exit");
    return true;
}

bool TrellisService::ReceiveCallbackDeath()
{
    sptr<ISenderActionCallback> callback;
    {
        MutexLock lock(senderActionCallbackMutex_);
        callback = senderActionCallback_;
    }
    return UnRegisterSenderActionCallback(callback);
}

} // namespace OHOS::Pelago
